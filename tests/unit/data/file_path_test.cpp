// From typed file names to paths.
#include <gtest/gtest.h>

#include "data/file_path.h"

namespace korva {
namespace {

TEST(FilePath, TheLastPartAloneDecidesOnTheExtension) {
    EXPECT_EQ(with_extension("wages", ".dta"), "wages.dta");
    EXPECT_EQ(with_extension("wages.old", ".dta"), "wages.old");
    EXPECT_EQ(with_extension("v1.2/wages", ".dta"), "v1.2/wages.dta");
    EXPECT_EQ(with_extension("v1.2\\wages", ".dta"), "v1.2\\wages.dta");
    EXPECT_EQ(with_extension("../wages", ".dta"), "../wages.dta");
}

}  // namespace
}  // namespace korva
