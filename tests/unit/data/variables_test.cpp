// Adding, dropping, moving and recasting variables against a model that has columns of its own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>

#include "core/macro.h"
#include "core/session.h"
#include "core/store.h"
#include "core/upcalls.h"
#include "data/cells.h"
#include "data/labels.h"

namespace korva {
namespace {

struct Column {
    std::string name;
    StorageType type = kByte;
    std::string label;
    std::vector<double> numbers;
    std::vector<std::string> texts;
};

class Variables : public testing::Test {
protected:
    void SetUp() override {
        session.BreakFlag = 0;
        session.OutputThreshold = kThresholdCapture;
        StoreClear();
        ASSERT_TRUE(StartDataset(102400, 2048));
    }
    void TearDown() override {
        session.OutputThreshold = kThresholdNormal;
        EndDataset();
        StoreClear();
    }

    void add(const std::string& name, StorageType type = kByte) {
        ASSERT_EQ(addvar(name, type), 0);
    }

    std::string names() {
        std::string all;
        for (int i = 0; i < dataset.nvar; i++) all += std::string(dataset.names[i]) + " ";
        return all;
    }

    void sort_by(std::vector<int> keys) {
        keys.push_back(0);
        std::copy(keys.begin(), keys.end(), dataset.sortlist);
    }

    std::vector<int> sorted_by() {
        std::vector<int> keys;
        for (uint16_t* key = dataset.sortlist; *key != 0; key++) keys.push_back(*key);
        return keys;
    }
};

// The dataset beside its model; operations are done to both.
class Model {
public:
    explicit Model(uint32_t seed) : random_(seed) {}

    void step() {
        const int nvar = int(columns_.size());
        switch (random_() % 9) {
        case 0:
        case 1:
        case 2: add(); break;
        case 3:
            if (nvar > 0) drop();
            break;
        case 4:
            if (nvar > 1) move();
            break;
        case 5:
            if (nvar > 0) recast();
            break;
        case 6:
            if (nobs_ < 200) extend();
            break;
        case 7:
            if (nvar > 0) reorder();
            break;
        default: std::shuffle(order().begin(), order().end(), random_); apply_order();
        }
    }

    void compare() {
        ASSERT_EQ(check_dataset(), "");
        ASSERT_EQ(dataset.nvar, int(columns_.size()));
        ASSERT_EQ(dataset.nobs, nobs_);
        for (int v = 1; v <= dataset.nvar; v++) {
            const Column& column = columns_[size_t(v) - 1];
            ASSERT_STREQ(dataset.names[v - 1], column.name.c_str());
            ASSERT_EQ(dataset.types[v - 1], column.type);
            ASSERT_EQ(variable_label(v), column.label);
            for (int obs = 1; obs <= nobs_; obs++) {
                if (type_is_string(column.type)) {
                    ASSERT_EQ(cell_text(v, obs), column.texts[size_t(obs) - 1]);
                } else {
                    ASSERT_EQ(get(v, obs), column.numbers[size_t(obs) - 1]);
                }
            }
        }
        std::vector<std::string> keys;
        for (uint16_t* key = dataset.sortlist; *key != 0; key++) {
            keys.emplace_back(dataset.names[*key - 1]);
        }
        ASSERT_EQ(keys, keys_);
    }

    int refused = 0;

private:
    StorageType any_type() {
        const StorageType numeric[] = {kByte, kInt, kLong, kFloat, kDouble};
        return random_() % 3 == 0 ? StorageType(1 + random_() % 40) : numeric[random_() % 5];
    }

    double any_number() {
        return random_() % 5 == 0 ? missing_value(int(random_() % 27))
                                  : double(random_() % 200) - 99;
    }

    void add() {
        Column column;
        column.name = "v" + std::to_string(next_++);
        column.type = any_type();
        if (addvar(column.name, column.type) != 0) {
            refused++;
            return;
        }
        if (random_() % 2) {
            column.label = "label of " + column.name;
            set_variable_label(dataset.nvar, column.label);
        }
        for (int obs = 1; obs <= nobs_; obs++) {
            column.numbers.push_back(any_number());
            column.texts.push_back(std::string(random_() % (column.type % 50 + 1), 'a' + obs % 26));
            if (!type_is_string(column.type)) column.texts.back().clear();
            put(dataset.nvar, obs, column.numbers.back());
            putstr(dataset.nvar, obs, column.texts.back());
        }
        columns_.push_back(column);
        if (columns_.size() == 4) {
            keys_ = {columns_[2].name, columns_[0].name, columns_[3].name};
            uint16_t keys[] = {3, 1, 4, 0};
            std::memcpy(dataset.sortlist, keys, sizeof keys);
        }
    }

    void drop() {
        std::vector<int32_t> list;
        const int share = 1 + int(random_() % 4);
        for (size_t v = columns_.size(); v >= 1; v--) {
            if (random_() % uint32_t(share * 3) == 0) list.push_back(int32_t(v));
        }
        std::shuffle(list.begin(), list.end(), random_);
        if (!list.empty()) list.push_back(list[0]);  // twice is once
        if (std::set<int32_t>(list.begin(), list.end()).size() == columns_.size()) return;
        ASSERT_EQ(drop_variables(list), 0);
        std::vector<Column> left;
        for (size_t v = 1; v <= columns_.size(); v++) {
            if (std::count(list.begin(), list.end(), int32_t(v)) == 0) {
                left.push_back(columns_[v - 1]);
                continue;
            }
            const auto key = std::find(keys_.begin(), keys_.end(), columns_[v - 1].name);
            keys_.erase(key, keys_.end());
        }
        columns_ = left;
    }

    void move() {
        const int from = 1 + int(random_() % columns_.size());
        const int to = 1 + int(random_() % columns_.size());
        if (move_variable(from, to) != 0) {
            refused++;
            return;
        }
        const Column column = columns_[size_t(from) - 1];
        columns_.erase(columns_.begin() + from - 1);
        columns_.insert(columns_.begin() + to - 1, column);
    }

    void reorder() {
        std::vector<int32_t> places(columns_.size());
        for (size_t i = 0; i < places.size(); i++) places[i] = int32_t(i) + 1;
        const size_t half = places.size() / 2;
        const bool all = random_() % 2;
        std::shuffle(places.begin() + int(all ? 0 : half), places.end(), random_);
        if (reorder_variables(places) != 0) {
            refused++;
            return;
        }
        std::vector<Column> moved;
        for (int32_t var : places) moved.push_back(columns_[size_t(var) - 1]);
        columns_ = moved;
    }

    void recast() {
        const int var = 1 + int(random_() % columns_.size());
        const StorageType type = any_type();
        if (recast_variable(var, type) != 0) {
            refused++;
            return;
        }
        Column& column = columns_[size_t(var) - 1];
        for (int i = 0; i < nobs_; i++) {
            std::string& text = column.texts[size_t(i)];
            const bool was_text = type_is_string(column.type);
            if (!type_is_string(type)) {
                if (was_text) column.numbers[size_t(i)] = kSysMissing;
                text.clear();
            } else {
                text = was_text ? text.substr(0, type) : "";
            }
        }
        column.type = type;
    }

    void extend() {
        const int more = 1 + int(random_() % 40);
        if (extend_observations(nobs_ + more) != 0) {
            refused++;
            return;
        }
        nobs_ += more;
        for (Column& column : columns_) {
            column.numbers.resize(size_t(nobs_), kSysMissing);
            column.texts.resize(size_t(nobs_));
        }
    }

    std::vector<int>& order() {
        order_.resize(size_t(nobs_));
        for (int i = 0; i < nobs_; i++) order_[size_t(i)] = i;
        return order_;
    }

    // The observations in the order of order_, by their slots alone.
    void apply_order() {
        const std::vector<uint32_t> slots(dataset.slot, dataset.slot + nobs_);
        const std::vector<Column> before = columns_;
        for (size_t i = 0; i < size_t(nobs_); i++) {
            dataset.slot[i] = slots[size_t(order_[i])];
            for (size_t v = 0; v < columns_.size(); v++) {
                columns_[v].numbers[i] = before[v].numbers[size_t(order_[i])];
                columns_[v].texts[i] = before[v].texts[size_t(order_[i])];
            }
        }
    }

    std::mt19937 random_;
    std::vector<Column> columns_;
    std::vector<std::string> keys_;
    std::vector<int> order_;
    int nobs_ = 0;
    int next_ = 0;
};

TEST_F(Variables, RandomOperationsAgreeWithAModel) {
    int refused = 0;
    for (uint32_t seed = 1; seed <= 12; seed++) {
        StoreClear();
        ASSERT_TRUE(StartDataset(seed % 3 == 0 ? 40000 : 200000, 2048));
        Model model(seed);
        for (int i = 0; i < 250; i++) {
            model.step();
            model.compare();
            if (HasFatalFailure()) FAIL() << "seed " << seed << " step " << i;
        }
        refused += model.refused;
    }
    EXPECT_GT(refused, 0);
}

TEST_F(Variables, NamesThatAreRefused) {
    for (const char* name :
         {"with", "_n", "_N", "float", "str1", "str007x1", "byte", "_cons", "if"}) {
        const bool free = std::string(name) == "str007x1";
        EXPECT_EQ(check_new_name(name), free ? 0 : 198) << name;
    }
    for (const char* name : {"", "1a", "a b", "a.b", "a-b"}) EXPECT_EQ(check_new_name(name), 198);
    EXPECT_EQ(check_new_name("str"), 0);
    EXPECT_EQ(check_new_name("str0"), 0);
    EXPECT_EQ(check_new_name(std::string(32, 'a')), 0);
    EXPECT_EQ(check_new_name(std::string(33, 'a')), 198);
    add("mpg");
    EXPECT_EQ(addvar("mpg", kByte), 110);
    EXPECT_EQ(addvar("mp", kByte), 0);
    EXPECT_EQ(addvar_internal("(e)", kByte), 0);
    EXPECT_EQ(find_variable_exact("mpg"), 1);
    EXPECT_EQ(find_variable_exact("mpgx"), 0);
    EXPECT_EQ(find_variable_exact("(e)"), 3);
}

TEST_F(Variables, OneVariableIsHeldInReserve) {
    ASSERT_TRUE(StartDataset(10 << 20, 2048));
    for (int i = 1; i <= 2047; i++) ASSERT_EQ(addvar("v" + std::to_string(i), kByte), 0) << i;
    EXPECT_EQ(addvar("v2048", kByte), 900);
    EXPECT_EQ(addvar_internal("(e)", kByte), 0);
    EXPECT_EQ(addvar_internal("more", kByte), 900);
    EXPECT_EQ(dataset.nvar, 2048);
    EXPECT_EQ(check_dataset(), "");
}

TEST_F(Variables, MarkerOfTheEstimationSample) {
    add("x");
    ASSERT_EQ(addvar_internal(kEstimationSample, kByte), 0);
    add("y", 3);
    ASSERT_EQ(extend_observations(3), 0);
    EXPECT_EQ(get(2, 3), 0);
    EXPECT_EQ(get(1, 3), kSysMissing);
    EXPECT_EQ(cell_text(3, 3), "");
    // It does not stay alone.
    ASSERT_EQ(drop_variables({1, 3}), 0);
    EXPECT_EQ(dataset.nvar, 0);
    EXPECT_EQ(dataset.nobs, 0);
}

TEST_F(Variables, SortKeysFollowTheirVariables) {
    for (const char* name : {"a", "b", "c", "d"}) add(name);
    sort_by({4, 2, 1});
    ASSERT_EQ(move_variable(4, 1), 0);  // d a b c
    EXPECT_EQ(names(), "d a b c ");
    EXPECT_EQ(sorted_by(), (std::vector<int>{1, 3, 2}));
    ASSERT_EQ(drop_variables({4, 3}), 0);  // the second key goes
    EXPECT_EQ(sorted_by(), std::vector<int>{1});
    sort_by({1, 2});
    ASSERT_EQ(drop_variables({1}), 0);
    EXPECT_EQ(sorted_by(), std::vector<int>{});
    sort_by({1});
    forget_sort_from(9);
    EXPECT_EQ(sorted_by(), std::vector<int>{1});
    forget_sort_from(1);
    EXPECT_EQ(sorted_by(), std::vector<int>{});
}

TEST_F(Variables, WhatCountsAsAChange) {
    add("a");
    add("_x");
    add("c");
    dataset.changed = 0;
    ASSERT_EQ(move_variable(1, 1), 0);
    EXPECT_EQ(dataset.changed, 0);
    ASSERT_EQ(move_variable(2, 1), 0);
    EXPECT_EQ(dataset.changed, 0);
    ASSERT_EQ(drop_variables({1}), 0);
    EXPECT_EQ(dataset.changed, 0);
    ASSERT_EQ(drop_variables({1}), 0);
    EXPECT_EQ(dataset.changed, 1);
}

TEST_F(Variables, FormatsOfARecast) {
    add("x");
    std::strcpy(dataset.formats[0], "%5.2f");
    std::strcpy(dataset.label_names[0], "yesno");
    ASSERT_EQ(recast_variable(1, kDouble), 0);
    EXPECT_STREQ(dataset.formats[0], "%5.2f");
    EXPECT_STREQ(dataset.label_names[0], "yesno");
    add("s", 4);
    std::strcpy(dataset.formats[1], "%-9s");
    ASSERT_EQ(recast_variable(2, 20), 0);
    EXPECT_STREQ(dataset.formats[1], "%-20s");
    ASSERT_EQ(recast_variable(2, 2), 0);
    EXPECT_STREQ(dataset.formats[1], "%-9s");
}

TEST_F(Variables, ABreakLeavesEveryRowAsItWas) {
    add("a", 3);
    add("b", kInt);
    add("c", kDouble);
    ASSERT_EQ(extend_observations(4), 0);
    for (int obs = 1; obs <= 4; obs++) {
        putstr(1, obs, "abc");
        put(2, obs, obs);
        put(3, obs, -obs);
    }
    session.BreakFlag = 1;
    EXPECT_EQ(move_variable(1, 3), kBreak);
    EXPECT_EQ(reorder_variables({3, 1, 2}), kBreak);
    EXPECT_EQ(recast_variables({2, 3}, kLong), kBreak);
    EXPECT_EQ(recast_variable(2, kLong), kBreak);
    EXPECT_EQ(recast_variable(1, 9), kBreak);
    session.BreakFlag = 0;
    EXPECT_EQ(names(), "a b c ");
    EXPECT_EQ(check_dataset(), "");
    for (int obs = 1; obs <= 4; obs++) {
        EXPECT_EQ(cell_text(1, obs), "abc");
        EXPECT_EQ(get(2, obs), obs);
        EXPECT_EQ(get(3, obs), -obs);
    }
}

TEST_F(Variables, LabelsAndCharacteristicsGoWithTheirVariable) {
    add("a");
    add("b");
    ASSERT_EQ(set_variable_label(1, std::string(90, 'x')), 0);
    EXPECT_EQ(variable_label(1), std::string(80, 'x'));
    ASSERT_EQ(set_characteristic("a", "note1", "text"), 0);
    ASSERT_EQ(drop_variables({1}), 0);
    add("a");
    EXPECT_EQ(variable_label(2), "");
    EXPECT_EQ(characteristic("a", "note1"), "");
    ASSERT_EQ(set_variable_label(2, "x"), 0);
    ASSERT_EQ(set_variable_label(2, ""), 0);
    EXPECT_EQ(StoreFind("a", kKindVariableLabel), nullptr);
}

TEST_F(Variables, TemporariesGoWithTheirLevel) {
    add("keep");
    char name[kMaxNameBytes + 1];
    NewTempName(name);
    add(name);
    const int32_t at_entry = TempNameNumber(name) + 1;
    NewTempName(name);
    add(name, kDouble);
    dataset.changed = 0;
    DropTemporaryVariables(at_entry);
    EXPECT_EQ(dataset.nvar, 2);
    EXPECT_EQ(find_variable_exact(name), 0);
    EXPECT_EQ(dataset.changed, 0);
}

}  // namespace
}  // namespace korva
