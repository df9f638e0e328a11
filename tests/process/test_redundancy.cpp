// Reports of the supplies' redundancy: each process counts its own.
#include <algorithm>
#include <array>

#include "process_test.h"

namespace {

constexpr int kReporters = 3;

struct Orders {
    struct One {
        std::atomic<int> wanted;  // reports so far
        std::atomic<int> done;
    };
    std::array<One, kReporters> reporter;
    std::atomic<int> redundancy;  // what is reported
    std::atomic<bool> end;
};

class Redundancy : public AreaTest {
  protected:
    void SetUp() override {
        CreateArea();
        for (int i = 0; i < kReporters; ++i) {
            reporters_.emplace_back(setup_, [this, i] {
                Orders::One &mine = orders_->reporter[i];
                EXPECT_TRUE(Eventually([&] {
                    while (mine.done < mine.wanted) {
                        if (MW_SetPemOtherStatus(1, orders_->redundancy, 0) != 0) return true;
                        ++mine.done;
                    }
                    return orders_->end.load();
                }));
                EXPECT_EQ(mine.done, mine.wanted);
            });
        }
    }
    void TearDown() override {
        orders_->end = true;
        for (Process &reporter : reporters_) {
            const Outcome outcome = reporter.Wait();
            EXPECT_TRUE(outcome.Succeeded()) << outcome;
        }
    }

    // Has one process report so many times.
    void Report(int reporter, uint32_t redundancy, int times = 1) {
        Orders::One &one = orders_->reporter[reporter];
        orders_->redundancy = static_cast<int>(redundancy);
        one.wanted += times;
        ASSERT_TRUE(Eventually([&] { return one.done == one.wanted; }));
    }

    // What a process of its own reads.
    uint32_t Stored() {
        Shared<uint32_t> status;
        EXPECT_SUCCEEDS(setup_, [&] { EXPECT_EQ(MW_GetRedundanceStatus(&*status), 0); });
        return *status;
    }

    Shared<Orders> orders_;
    std::vector<Process> reporters_;
};

TEST_F(Redundancy, TwoReportsOfEachProcessTogetherPublishNoLoss) {
    Report(0, MW_PEM_REDUNDANT);
    for (int i = 0; i < kReporters; ++i) Report(i, MW_PEM_REDUNDANCY_LOST, 2);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANT);
    Report(1, MW_PEM_REDUNDANCY_LOST);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANCY_LOST);
}

TEST_F(Redundancy, AProcessThatSeesItAgainRestartsItsOwnCountOnly) {
    Report(0, MW_PEM_REDUNDANCY_LOST, 2);
    Report(1, MW_PEM_REDUNDANCY_LOST, 2);
    Report(0, MW_PEM_REDUNDANT);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANT);
    Report(0, MW_PEM_REDUNDANCY_LOST, 2);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANT);
    Report(1, MW_PEM_REDUNDANCY_LOST);  // its third
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANCY_LOST);
}

TEST_F(Redundancy, AfterItsThirdReportAProcessPublishesEachFurtherOne) {
    Report(2, MW_PEM_REDUNDANCY_LOST, 3);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANCY_LOST);
    Report(0, MW_PEM_REDUNDANT);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANT);
    Report(1, MW_PEM_REDUNDANCY_LOST, 2);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANT);
    Report(2, MW_PEM_REDUNDANCY_LOST);
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANCY_LOST);
}

TEST_F(Redundancy, AProcessThatStartsLaterBeginsWithNoReports) {
    Report(0, MW_PEM_REDUNDANT);
    for (int i = 0; i < 3; ++i) {
        EXPECT_SUCCEEDS(setup_, [] { EXPECT_EQ(MW_SetPemOtherStatus(1, MW_PEM_REDUNDANCY_LOST, 0), 0); });
    }
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANT);
}

TEST_F(Redundancy, ProcessesThatReportAtTheSameTimeMissNone) {
    constexpr int kTimes = 500;
    orders_->redundancy = MW_PEM_REDUNDANCY_LOST;
    for (auto &one : orders_->reporter) one.wanted = kTimes;
    ASSERT_TRUE(Eventually([&] {
        return std::all_of(orders_->reporter.begin(), orders_->reporter.end(),
                           [](const auto &one) { return one.done == kTimes; });
    }));
    EXPECT_EQ(Stored(), MW_PEM_REDUNDANCY_LOST);
}

}  // namespace
