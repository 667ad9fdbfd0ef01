#include "core/store.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace korva {

namespace {

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override { StoreClear(); }
    void TearDown() override { StoreClear(); }

    static std::string text_of(const StoreRecord* record) {
        return record == nullptr ? "(none)" : std::string(record->payload(), record->length);
    }
    static std::vector<std::string> names_of(int32_t kind) {
        std::vector<std::string> names;
        for (StoreRecord* record = StoreNext(kind, nullptr); record != nullptr;
             record = StoreNext(kind, record)) {
            names.emplace_back(record->name);
        }
        return names;
    }
    // Names of one bucket: h = h * 31 + byte gives "Aa" and "BB" the same number.
    static constexpr const char* kSameHash[] = {"AaAa", "AaBB", "BBAa", "BBBB"};
};

TEST_F(StoreTest, NameAndKindTogetherAreTheKey) {
    StorePut("x", kKindScalar, "one", 3);
    StorePut("x", kKindMatrix, "two", 3);
    EXPECT_EQ(text_of(StoreFind("x", kKindScalar)), "one");
    EXPECT_EQ(text_of(StoreFind("x", kKindMatrix)), "two");
    EXPECT_EQ(StoreFind("x", kKindProgram), nullptr);
    EXPECT_EQ(StoreFind("X", kKindScalar), nullptr);
    // Of any kind the newest comes first.
    StoreRecord* first = StoreFindAnyType("x");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->type, kKindMatrix);
    EXPECT_EQ(StoreNextOfName(first, kKindAny)->type, kKindScalar);
    EXPECT_EQ(StoreNextOfName(first, kKindProgram), nullptr);
}

TEST_F(StoreTest, EqualHashesAreNotEqualNames) {
    for (const char* name : kSameHash) StorePut(name, kKindScalar, name, 4);
    for (const char* name : kSameHash) EXPECT_EQ(text_of(StoreFind(name, kKindScalar)), name);
    StoreDelete(StoreFind("BBAa", kKindScalar));
    EXPECT_EQ(StoreFind("BBAa", kKindScalar), nullptr);
    EXPECT_EQ(text_of(StoreFind("AaAa", kKindScalar)), "AaAa");
    EXPECT_EQ(text_of(StoreFind("BBBB", kKindScalar)), "BBBB");
}

TEST_F(StoreTest, TheEleventhHitMovesToTheFront) {
    for (const char* name : kSameHash) StorePut(name, kKindScalar, "", 0);
    StoreRecord* oldest = StoreFind("AaAa", kKindScalar);
    for (int hit = 2; hit <= 10; hit++) StoreFind("AaAa", kKindScalar);
    EXPECT_NE(oldest->previousByName, nullptr);
    StoreFind("AaAa", kKindScalar);
    EXPECT_EQ(oldest->previousByName, nullptr);
    for (const char* name : kSameHash) EXPECT_NE(StoreFind(name, kKindScalar), nullptr);
}

TEST_F(StoreTest, ARecordIsUsedAgainWithinItsSlack) {
    const std::string bytes(3000, 'x');
    auto put = [&](uint32_t n) { return StorePut("m", kKindScalar, bytes.data(), n); };
    StoreRecord* record = put(1000);
    EXPECT_EQ(record->capacity, 1000u);
    // Half of 700 is 350: 1000 is not more than 1050. Half of 600 is 300: 900 is less than 1000.
    EXPECT_EQ(put(700), record);
    EXPECT_EQ(record->length, 700u);
    EXPECT_EQ(put(1000), record);
    EXPECT_EQ(put(600)->capacity, 600u);
    // One byte more than the capacity makes a new one.
    EXPECT_EQ(put(601)->capacity, 601u);
    // At least 128 bytes are granted, and at most 1024.
    put(130);
    EXPECT_EQ(put(2)->capacity, 130u);
    EXPECT_EQ(put(1)->capacity, 1u);
    put(3000);
    EXPECT_EQ(put(2400)->capacity, 2400u + 600u);
    const std::string more(6000, 'y');
    StorePut("m", kKindScalar, more.data(), 6000);
    EXPECT_EQ(StorePut("m", kKindScalar, more.data(), 4976)->capacity, 6000u);
    EXPECT_EQ(StorePut("m", kKindScalar, more.data(), 4975)->capacity, 4975u);
    EXPECT_EQ(names_of(kKindScalar).size(), 1u);
}

TEST_F(StoreTest, AValueMayComeFromItsOwnRecord) {
    StorePutText("m", kKindGlobalMacro, "0123456789");
    StoreRecord* record = StoreFind("m", kKindGlobalMacro);
    StorePutText("m", kKindGlobalMacro, std::string_view(record->payload() + 3, 5));
    EXPECT_STREQ(StoreFind("m", kKindGlobalMacro)->payload(), "34567");
    const std::string large(5000, 'z');
    StorePutText("m", kKindGlobalMacro, large);
    record = StoreFind("m", kKindGlobalMacro);
    StorePutText("m", kKindGlobalMacro, std::string_view(record->payload() + 4990, 10));
    record = StoreFind("m", kKindGlobalMacro);
    EXPECT_STREQ(record->payload(), "zzzzzzzzzz");
    EXPECT_EQ(record->capacity, 11u);
}

TEST_F(StoreTest, KindsAreListedNewestFirstAndDroppedWhole) {
    for (const char* name : {"a", "b", "c"}) StorePut(name, kKindHeld, "", 0);
    StorePut("b", kKindScalar, "", 0);
    EXPECT_EQ(names_of(kKindHeld), (std::vector<std::string>{"c", "b", "a"}));
    StoreDelete(StoreFind("b", kKindHeld));
    EXPECT_EQ(names_of(kKindHeld), (std::vector<std::string>{"c", "a"}));
    StoreDeleteType(kKindHeld);
    EXPECT_TRUE(names_of(kKindHeld).empty());
    EXPECT_NE(StoreFind("b", kKindScalar), nullptr);
}

TEST_F(StoreTest, RenameAndChangeOfKindKeepThePayload) {
    StorePut("old", kKindReturnScalar, "value", 5, 7);
    StoreRecord* record = StoreFind("old", kKindReturnScalar);
    StoreRename(record, "new");
    EXPECT_EQ(StoreFind("old", kKindReturnScalar), nullptr);
    StoreChangeType(record, kKindResultScalar);
    EXPECT_TRUE(names_of(kKindReturnScalar).empty());
    record = StoreFind("new", kKindResultScalar);
    EXPECT_EQ(text_of(record), "value");
    EXPECT_EQ(record->user_word, 7u);
    StoreRename(record, std::string_view(record->name).substr(1));
    EXPECT_NE(StoreFind("ew", kKindResultScalar), nullptr);
}

TEST_F(StoreTest, LongNamesAreCut) {
    const std::string name(40, 'n');
    StorePut(name, kKindScalar, "", 0);
    EXPECT_NE(StoreFind(name.substr(0, 32), kKindScalar), nullptr);
    EXPECT_NE(StoreFind(name, kKindScalar), nullptr);
    EXPECT_EQ(StoreFind(name.substr(0, 31), kKindScalar), nullptr);
}

TEST_F(StoreTest, BytesAreAccountedFor) {
    EXPECT_EQ(StoreBytes(), 0u);
    StorePut("a", kKindScalar, "12345678", 8);
    EXPECT_EQ(StoreBytes(), sizeof(StoreRecord) + 8);
    StorePut("b", 0, "", 0);  // the lowest and the highest kind are kinds too
    StorePut("c", kKindEnd - 1, "", 0);
    StoreClear();
    EXPECT_EQ(StoreBytes(), 0u);
    EXPECT_EQ(StoreFindAnyType("a"), nullptr);
}

TEST(StoreKindWords, BandsHaveTheirWords) {
    EXPECT_STREQ(StoreKindWord(2), "global macro");
    EXPECT_STREQ(StoreKindWord(24), "matrix r(");
    EXPECT_STREQ(StoreKindWord(49), "held estimates");
    EXPECT_STREQ(StoreKindWord(3058), "held estimates");
    EXPECT_STREQ(StoreKindWord(kKindLocalMacro + kLevels - 1), "local macro");
    EXPECT_STREQ(StoreKindWord(kKindReturnMatrix + 3 * kLevels - 1), "matrix return(");
}

}  // namespace

}  // namespace korva
