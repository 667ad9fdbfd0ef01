// A replaced file is the old one or the new one, and nothing is left beside it.
#include "core/file_replace.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "unit/core/engine_fixture.h"

namespace korva {
namespace {

namespace fs = std::filesystem;

class FileReplace : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        char name[] = "/tmp/korva_replace_XXXXXX";
        directory = mkdtemp(name);
    }
    void TearDown() override {
        fs::permissions(directory, fs::perms::owner_all);
        fs::remove_all(directory);
        EngineTest::TearDown();
    }
    std::string Path(const char* name) const { return directory + "/" + name; }
    void Put(const char* name, const char* text) { std::ofstream(Path(name)) << text; }
    std::string Text(const char* name) const {
        std::ostringstream text;
        text << std::ifstream(Path(name)).rdbuf();
        return text.str();
    }
    int Files() const {
        return int(std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
    }
    static ReturnCode Replace(const std::string& path, std::string_view text) {
        FileReplacement file;
        if (ReturnCode rc = BeginReplace(&file, path)) return rc;
        if (ReturnCode rc = WriteReplacement(&file, text.data(), text.size())) return rc;
        return CommitReplace(&file);
    }
    std::string directory;
};

TEST_F(FileReplace, WritesNewAndOldFilesThroughLinksAndKeepsTheRights) {
    EXPECT_EQ(Replace(Path("a"), "first"), 0);
    chmod(Path("a").c_str(), 0640);
    fs::create_symlink("a", Path("link"));
    EXPECT_EQ(Replace(Path("link"), "second"), 0);
    EXPECT_EQ(Text("a"), "second");
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    struct stat status;
    ASSERT_EQ(stat(Path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    fs::create_symlink("later", Path("dangling"));
    EXPECT_EQ(Replace(Path("dangling"), "third"), 0);
    EXPECT_EQ(Text("later"), "third");
    EXPECT_EQ(Files(), 4);
}

TEST_F(FileReplace, RefusesWhatMayNotBeWritten) {
    Put("closed", "old");
    chmod(Path("closed").c_str(), 0444);
    fs::create_symlink("loop", Path("loop"));
    EXPECT_EQ(Replace(Path("closed"), "new"), 608);
    EXPECT_EQ(Replace(directory, "new"), 603);
    EXPECT_EQ(Replace("/dev/null", "new"), 603);
    EXPECT_EQ(Replace(Path("loop"), "new"), 603);
    EXPECT_EQ(Replace(Path("closed/x"), "new"), 603);
    EXPECT_EQ(Replace(Path("none/x"), "new"), 603);
    EXPECT_EQ(Replace("", "new"), 603);
    if (geteuid() != 0) {
        chmod(directory.c_str(), 0500);
        EXPECT_EQ(Replace(Path("x"), "new"), 603);
    }
    EXPECT_EQ(Text("closed"), "old");
    EXPECT_EQ(Files(), 2);
}

TEST_F(FileReplace, AFullDiskOrAnAbandonedFileLeavesTheOldOne) {
    Put("a", "old");
    {
        FileReplacement file;
        ASSERT_EQ(BeginReplace(&file, Path("a")), 0);
        ASSERT_EQ(WriteReplacement(&file, "new", 3), 0);
        EXPECT_EQ(Files(), 2);
    }
    EXPECT_EQ(Files(), 1);

    struct rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const struct rlimit small = {1000, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const ReturnCode rc = Replace(Path("a"), std::string(5000, 'x'));
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(rc, 699);
    EXPECT_EQ(Text("a"), "old");
    EXPECT_EQ(Files(), 1);
}

TEST_F(FileReplace, AMissingTargetDirectoryAtTheEndLeavesNothing) {
    fs::create_directory(Path("d"));
    FileReplacement file;
    ASSERT_EQ(BeginReplace(&file, Path("d/a")), 0);
    fs::create_directory(Path("d/a"));  // what no file can be renamed over
    EXPECT_EQ(CommitReplace(&file), 694);
    EXPECT_EQ(file.fd, -1);
    fs::remove(Path("d/a"));
    EXPECT_TRUE(fs::is_empty(Path("d")));
}

}  // namespace
}  // namespace korva
