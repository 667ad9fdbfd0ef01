// From typed file names to paths.
#include <gtest/gtest.h>

#include "core/file_path.h"

namespace korva {
namespace {

TEST(FilePath, TheLastPartAloneDecidesOnTheExtension) {
    EXPECT_EQ(WithExtension("wages", ".dta"), "wages.dta");
    EXPECT_EQ(WithExtension("wages.old", ".dta"), "wages.old");
    EXPECT_EQ(WithExtension("v1.2/wages", ".dta"), "v1.2/wages.dta");
    EXPECT_EQ(WithExtension("v1.2\\wages", ".dta"), "v1.2\\wages.dta");
    EXPECT_EQ(WithExtension("../wages", ".dta"), "../wages.dta");
}

}  // namespace
}  // namespace korva
