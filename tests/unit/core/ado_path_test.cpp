// The search along the ado-path: its elements, the letter directories, and do-files by name.
#include "core/ado_path.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/macro.h"
#include "core/session.h"
#include "core/store.h"

namespace korva {
namespace {

namespace fs = std::filesystem;

class AdoPath : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/ado_pathXXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        root_ = name;
        old_place_ = fs::current_path();
        fs::current_path(root_);
        old_macrolen_ = session.macrolen;
        session.macrolen = 165200;
        old_directories_ = directories;
    }
    void TearDown() override {
        fs::current_path(old_place_);
        fs::remove_all(root_);
        DropMacro("S_ADO");
        session.macrolen = old_macrolen_;
        directories = old_directories_;
    }
    void make(const std::string& path) {
        fs::create_directories(fs::path(root_ + "/" + path).parent_path());
        std::ofstream(root_ + "/" + path) << "x\n";
    }
    // The hit below the root; "" when there is none.
    std::string find(const char* name, const char* extension = "ado", int occurrence = 1) {
        std::string path;
        if (!FindOnPath(name, extension, occurrence, &path)) return "";
        return path.starts_with(root_) ? path.substr(root_.size()) : path;
    }
    std::string root_;
    fs::path old_place_;
    SystemDirectories old_directories_;
    int32_t old_macrolen_ = 0;
};

TEST_F(AdoPath, WalksElementsInOrderEachDirectoryBeforeItsLetter) {
    make("one/c/cmd.ado");
    make("two/cmd.ado");
    make("two/c/cmd.ado");
    SetMacro("S_ADO", root_ + "/one;;  \"" + root_ + "/two\" ; " + root_ + "/three");
    EXPECT_EQ(find("cmd"), "/one/c/cmd.ado");
    EXPECT_EQ(find("cmd", "ado", 2), "/two/cmd.ado");
    EXPECT_EQ(find("cmd", "ado", 3), "/two/c/cmd.ado");
    EXPECT_EQ(find("cmd", "ado", 4), "");
    EXPECT_EQ(find("cmd", "hlp"), "");
}

TEST_F(AdoPath, CodewordsStandForDirectoriesAndThePointForThisOne) {
    make("lib/ado/base/x/x1.ado");
    make("here.ado");
    StartDirectories(root_ + "/lib/");
    SetMacro("S_ADO", "BASE;.");
    EXPECT_EQ(find("x1"), "/lib/ado/base/x/x1.ado");
    EXPECT_EQ(find("here"), "./here.ado");
    SetMacro("S_ADO", "base");  // a codeword is in capitals: this is a directory
    EXPECT_EQ(find("x1"), "");
}

TEST_F(AdoPath, ANameMayHoldADirectory) {
    make("one/sub/cmd.ado");
    make("one/sub/d/deep.ado");
    SetMacro("S_ADO", "`\"" + root_ + "/one\"'");
    EXPECT_EQ(find("sub/cmd"), "/one/sub/cmd.ado");
    EXPECT_EQ(find("sub\\deep"), "/one/sub/d/deep.ado");
    EXPECT_EQ(find((root_ + "/one/sub/cmd").c_str()), "/one/sub/cmd.ado");
}

TEST_F(AdoPath, AnEmptyOrOverlongPathFindsNothing) {
    make("one/cmd.ado");
    EXPECT_EQ(find("cmd"), "");
    SetMacro("S_ADO", "/" + std::string(500, 'x') + ";" + root_ + "/one");
    EXPECT_EQ(find("cmd"), "");  // the walk ends at a path beyond 499 characters
    SetMacro("S_ADO", root_ + "/one/cmd.ado;\"" + root_ + "/one");  // a file; a quote left open
    EXPECT_EQ(find("cmd"), "/one/cmd.ado");
}

TEST_F(AdoPath, DoFilesAreTakenFromHereFirst) {
    make("one/job.do");
    make("one/k/keep.txt");
    make("local.do");
    make("dir.v1/plain.do");
    SetMacro("S_ADO", root_ + "/one");
    std::string path;
    EXPECT_TRUE(FindDoFile("job", &path));
    EXPECT_EQ(path, root_ + "/one/job.do");
    make("job.do");
    EXPECT_TRUE(FindDoFile("job", &path));
    EXPECT_EQ(path, "job.do");
    EXPECT_TRUE(FindDoFile("keep.txt", &path));
    EXPECT_EQ(path, root_ + "/one/k/keep.txt");
    EXPECT_TRUE(FindDoFile("dir.v1\\plain", &path));  // the point is not the file's extension
    EXPECT_EQ(path, "dir.v1/plain.do");
    EXPECT_FALSE(FindDoFile("absent", &path));
    EXPECT_EQ(path, "absent.do");
}

TEST_F(AdoPath, PlatformPathKeepsNamesThatExistAsTyped) {
    make("a/b.txt");
    make("odd\\name");
    EXPECT_EQ(PlatformPath("a\\b.txt"), "a/b.txt");
    EXPECT_EQ(PlatformPath("odd\\name"), "odd\\name");
    EXPECT_EQ(PlatformPath("a\\new.txt"), "a\\new.txt");
    EXPECT_FALSE(FileExists("a"));
    EXPECT_TRUE(FileExists("a/b.txt"));
}

TEST_F(AdoPath, DirectoriesChangeByCodeword) {
    EXPECT_TRUE(SetSystemDirectory("PLUS", root_));
    EXPECT_EQ(SystemDirectory("PLUS"), root_ + "/");
    EXPECT_FALSE(SetSystemDirectory("NOWHERE", root_));
    EXPECT_TRUE(SystemDirectory("NOWHERE").empty());
}

}  // namespace
}  // namespace korva
