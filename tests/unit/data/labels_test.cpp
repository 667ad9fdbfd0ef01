// Value-label tables, sound and hostile, and characteristics.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>

#include "core/missing.h"
#include "core/session.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "data/dataset.h"
#include "data/labels.h"

namespace korva {
namespace {

// A payload with the given entries, texts in the order of creation.
std::vector<uint8_t> payload(std::vector<int32_t> offsets, std::vector<int32_t> values,
                             const std::string& text) {
    std::vector<int32_t> words = {int32_t(offsets.size()), int32_t(text.size())};
    words.insert(words.end(), offsets.begin(), offsets.end());
    words.insert(words.end(), values.begin(), values.end());
    std::vector<uint8_t> bytes(words.size() * 4 + text.size());
    std::memcpy(bytes.data(), words.data(), words.size() * 4);
    std::memcpy(bytes.data() + words.size() * 4, text.data(), text.size());
    return bytes;
}

class Labels : public testing::Test {
protected:
    void SetUp() override {
        session.OutputThreshold = kThresholdCapture;
        StoreClear();
        ASSERT_TRUE(StartDataset(1 << 20, 2048));
    }
    void TearDown() override {
        session.OutputThreshold = kThresholdNormal;
        EndDataset();
        StoreClear();
    }

    bool store(const std::vector<uint8_t>& bytes) {
        ReturnCode rc = -1;
        const bool sound = store_value_table("t", bytes, &rc);
        EXPECT_EQ(rc, sound ? 0 : -1);
        return sound;
    }

    std::string label(double value) {
        const char* text = find_value_label("t", value);
        return text != nullptr ? text : "(none)";
    }
};

TEST_F(Labels, LookUpByValueAndByText) {
    // 3 "three" and then 1 "one", .a "gone" and -2 "one".
    const std::string text("three\0one\0gone\0one\0", 19);
    ASSERT_TRUE(store(payload({15, 6, 0, 10}, {-2, 1, 3, 0x7FFFFFE6}, text)));
    EXPECT_EQ(label(3), "three");
    EXPECT_EQ(label(1), "one");
    EXPECT_EQ(label(-2), "one");
    EXPECT_EQ(label(missing_value(1)), "gone");
    for (double other : {0.0, 2.0, 1.5, 4294967297.0, -3.0, kSysMissing, missing_value(2)}) {
        EXPECT_EQ(label(other), "(none)") << other;
    }
    EXPECT_EQ(longest_value_label("t"), 5);

    double value = 0;
    bool exists = false;
    EXPECT_TRUE(find_label_value("t", "one", &value, &exists));
    EXPECT_EQ(value, -2);
    EXPECT_TRUE(find_label_value("t", "gone", &value, &exists));
    EXPECT_EQ(value, missing_value(1));
    EXPECT_FALSE(find_label_value("t", "thr", &value, &exists));
    EXPECT_TRUE(exists);
    EXPECT_FALSE(find_label_value("u", "one", &value, &exists));
    EXPECT_FALSE(exists);
    EXPECT_EQ(find_value_label("", 1), nullptr);
    EXPECT_EQ(StoreFind("t", kKindValueLabel)->user_word, 8 + 32 + 19u);
}

TEST_F(Labels, UnsoundTablesAreRefusedAndLeaveTheOldOne) {
    ASSERT_TRUE(store(payload({0}, {1}, std::string("old\0", 4))));
    const std::string text("a\0b\0", 4);
    EXPECT_FALSE(store({}));
    EXPECT_FALSE(store({1, 0, 0, 0, 4, 0, 0}));
    EXPECT_FALSE(store(payload({0, 4}, {1, 2}, text)));  // an offset behind the text
    EXPECT_FALSE(store(payload({0, -1}, {1, 2}, text)));
    EXPECT_FALSE(store(payload({0, 2}, {2, 2}, text)));  // not ascending
    EXPECT_FALSE(store(payload({0, 2}, {2, 1}, text)));
    EXPECT_FALSE(store(payload({0, 2}, {1, 2}, std::string("a\0b", 3))));  // not terminated
    EXPECT_FALSE(store(payload({0}, {1}, "")));
    std::vector<uint8_t> bytes = payload({0, 2}, {1, 2}, text);
    bytes.pop_back();
    EXPECT_FALSE(store(bytes));
    for (int32_t n : {-1, 65537, 0x7FFFFFFF, 0x20000000}) {
        bytes = payload({0, 2}, {1, 2}, text);
        std::memcpy(bytes.data(), &n, 4);
        EXPECT_FALSE(store(bytes)) << n;
    }
    EXPECT_EQ(label(1), "old");
    EXPECT_TRUE(store(payload({}, {}, "")));  // a table may be empty
    EXPECT_EQ(label(1), "(none)");
    // Bytes behind the table are not kept.
    bytes = payload({0, 2}, {1, 2}, text);
    bytes.resize(bytes.size() + 100, 7);
    ASSERT_TRUE(store(bytes));
    EXPECT_EQ(StoreFind("t", kKindValueLabel)->length, 28u);
}

TEST_F(Labels, RandomBytesNeverMakeAnUnsoundTable) {
    std::mt19937 random(5);
    const std::vector<uint8_t> sound = payload({0, 2, 4}, {1, 2, 9}, std::string("a\0b\0c\0", 6));
    for (int trial = 0; trial < 20000; trial++) {
        std::vector<uint8_t> bytes = sound;
        for (int k = 0; k < 3; k++) bytes[random() % bytes.size()] = uint8_t(random() % 16);
        ReturnCode rc = 0;
        if (!store_value_table("t", bytes, &rc)) continue;
        longest_value_label("t");  // reads every text; the sanitizer build would tell
        for (int value = -1; value < 20; value++) find_value_label("t", value);
    }
}

TEST_F(Labels, ALongCharacteristicIsCutAndAnEmptyOneIsNone) {
    ASSERT_EQ(set_characteristic("_dta", "long", std::string(67784, 'c')), 0);
    EXPECT_EQ(characteristic("_dta", "long"), std::string(67783, 'c'));
    ASSERT_EQ(set_characteristic("_dta", "long", ""), 0);
    EXPECT_EQ(characteristic("_dta", "long"), "");
    EXPECT_TRUE(characteristic_names("_dta").empty());
    ASSERT_EQ(set_characteristic("x", "a", "1"), 0);
    ASSERT_EQ(set_characteristic("x", "b", "2"), 0);
    ASSERT_EQ(set_characteristic("y", "a", "3"), 0);
    ASSERT_EQ(set_characteristic("x", "a", "longer than before"), 0);
    EXPECT_EQ(characteristic("x", "a"), "longer than before");
    EXPECT_EQ(characteristic("x", "b"), "2");
    EXPECT_EQ(characteristic("y", "a"), "3");
    EXPECT_EQ(characteristic_names("x").size(), 2u);
}

TEST_F(Labels, RenamedOwnersKeepTheirOrder) {
    ASSERT_EQ(addvar("x", kByte), 0);
    ASSERT_EQ(set_variable_label(1, "label"), 0);
    for (const char* name : {"c1", "c2", "c3"}) ASSERT_EQ(set_characteristic("x", name, name), 0);
    rename_owner_objects("x", "z");
    EXPECT_TRUE(characteristic_names("x").empty());
    const std::vector<std::string_view> expected = {"c3", "c2", "c1"};
    EXPECT_EQ(characteristic_names("z"), expected);
    EXPECT_EQ(characteristic("z", "c2"), "c2");
    EXPECT_NE(StoreFind("z", kKindVariableLabel), nullptr);
    drop_owner_objects("z");
    EXPECT_EQ(StoreFindAnyType("z"), nullptr);
}

TEST_F(Labels, UnderscoresDoNotCountAsAChange) {
    const auto changed = [](std::string_view owner, std::string_view name, std::string_view text) {
        dataset.changed = 0;
        EXPECT_EQ(set_characteristic(owner, name, text), 0);
        return dataset.changed != 0;
    };
    EXPECT_FALSE(changed("_dta", "_TStvar", "t"));
    EXPECT_TRUE(changed("_dta", "note1", "t"));
    EXPECT_FALSE(changed("_merge", "note1", "t"));
    EXPECT_TRUE(changed("x", "note1", "t"));
    EXPECT_FALSE(changed("x", "nothing", ""));
    EXPECT_TRUE(changed("x", "note1", ""));
}

// Random changes against a map; the block of texts keeps the order of creation.
TEST_F(Labels, ChangesAreThoseOfAMap) {
    std::mt19937 random(7);
    std::map<int32_t, std::string> model;
    for (int round = 0; round < 300; round++) {
        std::vector<std::string> texts(1 + random() % 8);
        std::vector<LabelChange> changes;
        const LabelMode mode = random() % 2 != 0 ? LabelMode::Modify : LabelMode::Add;
        std::map<int32_t, std::string> expected = model;
        bool refused = false;
        for (std::string& text : texts) {
            const int32_t key = int32_t(random() % 400) - 200;
            text.assign(random() % 6, char('a' + random() % 26));
            changes.push_back({key, text});
            refused = refused || (mode == LabelMode::Add && expected.count(key) != 0);
            expected[key] = text;
            if (mode == LabelMode::Modify && text.empty()) expected.erase(key);
        }
        const ReturnCode rc = change_label_table("t", &changes, mode);
        EXPECT_EQ(rc, refused ? 180 : 0);
        if (!refused) model = expected;

        LabelTable table;
        const bool exists = open_label_table("t", &table);
        ASSERT_TRUE(exists || model.empty());
        if (!exists) continue;
        ASSERT_EQ(size_t(table.n), model.size());
        int i = 0;
        for (const auto& [key, text] : model) {
            ASSERT_EQ(table.values[i], key);
            ASSERT_EQ(table.label(i), text);
            i++;
        }
    }
    StoreClear();
    std::vector<LabelChange> both = {{3, "three"}, {1, "one"}};
    ASSERT_EQ(change_label_table("t", &both, LabelMode::Add), 0);
    LabelTable table;
    ASSERT_TRUE(open_label_table("t", &table));
    EXPECT_EQ(std::string(table.text, size_t(table.text_bytes)), std::string("three\0one\0", 10));
    const StoreRecord* record = StoreFind("t", kKindValueLabel);
    EXPECT_EQ(record->user_word, 8u + 16u + 10u);
}

}  // namespace
}  // namespace korva
