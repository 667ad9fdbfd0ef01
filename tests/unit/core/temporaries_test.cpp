#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>

#include "core/commands.h"
#include "unit/core/engine_fixture.h"

namespace korva {

namespace {

class TemporariesTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        char path[] = "/tmp/korva_temp_XXXXXX";
        ASSERT_NE(mkdtemp(path), nullptr);
        directory = path;
        setenv("KORVATMP", path, 1);
    }
    void TearDown() override {
        EndTemporaries();
        EXPECT_EQ(rmdir(directory.c_str()), 0) << "a temporary file was left";
        unsetenv("KORVATMP");
        EngineTest::TearDown();
    }
    static bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }
    static std::string new_file() {
        char path[kMaxFileNameBytes + 1];
        NewTempFile(path);
        close(open(path, O_CREAT | O_WRONLY, 0600));
        return path;
    }
    static std::string new_name() {
        char name[kMaxNameBytes + 1];
        NewTempName(name);
        return name;
    }
    std::string directory;
};

TEST_F(TemporariesTest, NamesCountInBase36AndWrap) {
    EXPECT_EQ(new_name(), "__000000");
    macros.TempNameCounter = 35;
    EXPECT_EQ(new_name(), "__00000Z");
    EXPECT_EQ(new_name(), "__000010");
    EXPECT_EQ(TempNameNumber("__000010"), 36);
    macros.TempNameCounter = INT32_MAX;
    EXPECT_EQ(TempNameNumber(new_name()), INT32_MAX);
    EXPECT_EQ(new_name(), "__000000");
    for (const char* other : {"__00000", "__00000a", "x_000000", "__ZZZZZZ", "__0000000", ""}) {
        EXPECT_EQ(TempNameNumber(other), -1) << other;
    }
}

TEST_F(TemporariesTest, FileNamesHoldSessionAndCountInBase34) {
    ASSERT_TRUE(StartTemporaries());
    EXPECT_EQ(macros.SessionNumber, 0);
    EXPECT_TRUE(exists(directory + "/ST_00000000.tmp"));
    char path[kMaxFileNameBytes + 1];
    NewTempFile(path);
    EXPECT_EQ(path, directory + "/ST_00000001.tmp");
    macros.TempFileCounter = 33;
    NewTempFile(path);
    EXPECT_EQ(path, directory + "/ST_00000010.tmp");
    macros.TempFileCounter = 1544000000;
    NewTempFile(path);
    EXPECT_EQ(path, directory + "/ST_00000001.tmp");
}

TEST_F(TemporariesTest, TwoSessionsTakeTwoNumbers) {
    const std::string taken = directory + "/ST_00000000.tmp";
    const int other = open(taken.c_str(), O_CREAT | O_RDWR, 0600);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    ASSERT_TRUE(StartTemporaries());
    EXPECT_EQ(macros.SessionNumber, 1);
    const std::string file = new_file();
    EXPECT_EQ(file, directory + "/ST_01000001.tmp");
    EndTemporaries();
    EXPECT_FALSE(exists(file));
    EXPECT_TRUE(exists(taken));
    // The other session is killed: its number and its files are free again.
    close(other);
    const std::string left = directory + "/ST_00000005.tmp";
    close(open(left.c_str(), O_CREAT | O_RDWR, 0600));
    ASSERT_TRUE(StartTemporaries());
    EXPECT_EQ(macros.SessionNumber, 0);
    EXPECT_FALSE(exists(left));
    EXPECT_TRUE(exists(taken));
    EndTemporaries();
}

TEST_F(TemporariesTest, ALevelDropsWhatItMade) {
    ASSERT_TRUE(StartTemporaries());
    const std::string before = new_name();
    const std::string file_before = new_file();
    for (int32_t kind : {int32_t(kKindScalar), int32_t(kKindMatrix), int32_t(kKindValueLabel)}) {
        StorePut(before, kind, "", 0);
    }
    const int32_t names = macros.TempNameCounter, files = macros.TempFileCounter;
    const std::string inside = new_name();
    const std::string file_inside = new_file();
    StorePut(inside, kKindScalar, "", 0);
    StorePut(inside, kKindMatrix + 2, "", 0);
    StorePut(inside, kKindValueLabel, "", 0);
    StorePut(inside, kKindPostfile, "", 0);
    StorePut(inside, kKindProgram, "", 0);
    StorePut("plain", kKindScalar, "", 0);

    DropTemporariesSince(names, files, false);
    EXPECT_TRUE(exists(file_inside));
    DropTemporariesSince(names, files, true);
    EXPECT_FALSE(exists(file_inside));
    EXPECT_TRUE(exists(file_before));
    ASSERT_NE(StoreFindAnyType(inside), nullptr);
    EXPECT_EQ(StoreFindAnyType(inside)->type, kKindProgram);  // programs are no temporaries
    EXPECT_NE(StoreFind(before, kKindScalar), nullptr);
    EXPECT_NE(StoreFind(before, kKindMatrix), nullptr);
    EXPECT_NE(StoreFind("plain", kKindScalar), nullptr);
}

TEST_F(TemporariesTest, ACounterThatWrappedInALevelLosesNothing) {
    macros.TempNameCounter = 5;
    const std::string old = new_name();
    StorePut(old, kKindScalar, "", 0);
    macros.TempNameCounter = INT32_MAX;
    const int32_t names = macros.TempNameCounter;
    const std::string last = new_name(), first = new_name();
    StorePut(last, kKindScalar, "", 0);
    StorePut(first, kKindScalar, "", 0);
    DropTemporariesSince(names, 0, false);
    EXPECT_EQ(StoreFind(last, kKindScalar), nullptr);
    EXPECT_EQ(StoreFind(first, kKindScalar), nullptr);
    EXPECT_NE(StoreFind(old, kKindScalar), nullptr);
}

TEST_F(TemporariesTest, TempvarSetsAllOrNothing) {
    EXPECT_EQ(run(CmdTempvar, 0, " a b"), 0);
    EXPECT_EQ(expanded("`a' `b'"), "__000000 __000001");
    EXPECT_EQ(run(CmdTempvar, 0, " c a.b"), 198);
    EXPECT_EQ(LocalValue("c"), "");
    EXPECT_EQ(run(CmdTempvar, 0, ""), 198);
    ASSERT_TRUE(StartTemporaries());
    EXPECT_EQ(run(CmdTempvar, 1, " f"), 0);
    EXPECT_EQ(LocalValue("f"), directory + "/ST_00000001.tmp");
}

}  // namespace

}  // namespace korva
