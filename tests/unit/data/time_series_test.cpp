// Values of time-series operators against a plain look-up by panel and time.
#include "data/time_series.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "core/missing.h"
#include "core/session.h"
#include "core/startup.h"
#include "core/store.h"
#include "data/cells.h"
#include "data/labels.h"
#include "data/skeleton.h"

namespace korva {
namespace {

using Place = std::pair<double, double>;  // panel and time

class TimeSeries : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartEngineTables(2048, 1 << 20));
        session.OutputThreshold = kThresholdCapture;
        ASSERT_EQ(addvar("id", kInt), 0);
        ASSERT_EQ(addvar("t", kLong), 0);
        ASSERT_EQ(addvar("x", kDouble), 0);
        ASSERT_EQ(set_characteristic("_dta", "_TStvar", "t"), 0);
        ASSERT_EQ(set_characteristic("_dta", "_TSpanel", "id"), 0);
        ResetSkeleton();
    }
    void TearDown() override {
        session.OutputThreshold = kThresholdNormal;
        EndEngineTables();
        StoreClear();
    }

    // Panels of uneven length; `skip` of ten steps leave a gap. Times and panels at the end of each
    // are missing here and there.
    void fill(int nobs, int panel_length, int skip) {
        std::mt19937 random(20);
        if (dataset.nobs < nobs) ASSERT_EQ(extend_observations(nobs), 0);
        int id = 1, t = -5;
        for (int obs = 1; obs <= nobs; obs++) {
            if (int(random() % uint32_t(panel_length)) == 0) id++, t = int(random() % 7);
            t += int(random() % 10) < skip ? 1 + int(random() % 40) : 1;
            put(1, obs, obs > nobs - 3 ? kSysMissing : id);
            put(2, obs, t);
            put(3, obs, random() % 9 == 0 ? kSysMissing : double(random() % 1000) / 7);
        }
        for (int obs = 1; obs < nobs - 3; obs++) {
            if (get(1, obs) != get(1, obs + 1) && obs % 2) put(2, obs, kSysMissing);
        }
        dataset.sortlist[0] = 1;
        dataset.sortlist[1] = 2;
        dataset.sortlist[2] = 0;
        ASSERT_EQ(find_time(), 0);
        for (int obs = 1; obs <= nobs; obs++) {
            if (!is_missing(get(1, obs)) && !is_missing(get(2, obs))) {
                rows[{get(1, obs), get(2, obs)}] = obs;
            }
        }
    }

    double lagged(int obs, int64_t shift, int first, int last) const {
        if (shift == 0) return get(3, obs);
        const auto found = rows.find({get(1, obs), get(2, obs) - double(shift)});
        const bool there = found != rows.end() && !is_missing(get(1, obs)) &&
                           found->second >= first && found->second <= last;
        return there ? get(3, found->second) : kSysMissing;
    }

    double expected(const TsOperator& op, int season, int difference, int obs, int64_t shift,
                    int first, int last) const {
        int64_t step = 1;
        if (season < op.n_seasons) {
            step = op.seasons[season++];
        } else if (difference == op.n_differences) {
            return lagged(obs, shift, first, last);
        } else {
            difference++;
        }
        const double now = expected(op, season, difference, obs, shift, first, last);
        const double then = expected(op, season, difference, obs, shift + step, first, last);
        return is_missing(now) || is_missing(then) ? kSysMissing : now - then;
    }

    void check_all(const char* text, int first, int last) {
        std::vector<const TsOperator*> operators;
        reset_expression_pools();
        ASSERT_EQ(parse_operators(text, &operators), 0);
        const TsOperator& op = *operators[0];
        int64_t present = 0;
        for (int obs = first; obs <= last; obs += kBlockObs) {
            double values[kBlockObs];
            const int n = std::min(kBlockObs, last - obs + 1);
            ts_gather(&op, 3, obs, n, first, last, values);
            for (int i = 0; i < n; i++) {
                const double value = expected(op, 0, 0, obs + i, op.lag, first, last);
                ASSERT_EQ(values[i], value) << text << " at " << obs + i;
                present += !is_missing(value);
            }
        }
        n_present += present;
    }

    std::map<Place, int> rows;
    int64_t n_present = 0;
};

TEST_F(TimeSeries, ValuesAreThoseOfTheirTimes) {
    for (const int skip : {0, 2}) {
        rows.clear();
        n_present = 0;
        fill(3000, 60, skip);
        for (const char* text : {"L", "F", "L2", "F3", "L33", "L300", "D", "D3", "S12", "S2S5",
                                 "L2D", "F2D2S3", "S1S1S1", "F40", "L12S4D"}) {
            check_all(text, 1, 3000);
            check_all(text, 700, 1100);
        }
        EXPECT_GT(n_present, 3000);
    }
}

TEST_F(TimeSeries, RepeatedTimesAndNoOrderEndInSomeValue) {
    fill(600, 50, 2);
    for (int obs = 1; obs <= 600; obs++) put(2, obs, obs * 7919 % 13 / 2.0);
    std::vector<const TsOperator*> operators;
    ASSERT_EQ(parse_operators("L(1/3)D", &operators), 0);
    double values[kBlockObs];
    for (const TsOperator* op : operators) ts_gather(op, 3, 200, kBlockObs, 1, 600, values);
}

TEST_F(TimeSeries, TimeMustBeNumericAndPresent) {
    fill(10, 5, 0);
    ASSERT_EQ(addvar("s", 3), 0);
    ASSERT_EQ(set_characteristic("_dta", "_TSpanel", "s"), 0);
    EXPECT_EQ(find_time(), 109);
    ASSERT_EQ(set_characteristic("_dta", "_TSpanel", ""), 0);
    EXPECT_EQ(find_time(), 5);
    ASSERT_EQ(set_characteristic("_dta", "_TStvar", "gone"), 0);
    EXPECT_EQ(find_time(), 111);
}

}  // namespace
}  // namespace korva
