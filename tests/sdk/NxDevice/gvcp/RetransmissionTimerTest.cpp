#include "gvcp/RetransmissionTimer.h"

#include <gtest/gtest.h>

using std::chrono::microseconds;
using std::chrono::milliseconds;

namespace {

TEST(RetransmissionTimerTest, StartsCautiouslyAndLearnsFromFastAnswers) {
    RetransmissionTimer timer;
    EXPECT_EQ(timer.Wait(1), RetransmissionTimer::kInitial);
    for (int i = 0; i < 10; ++i) {
        timer.Learn(microseconds(200));
    }
    EXPECT_EQ(timer.Wait(1), RetransmissionTimer::kShortest);
}

TEST(RetransmissionTimerTest, GrowsFromTheSecondResendOnUpToItsLimit) {
    RetransmissionTimer timer;
    timer.Learn(microseconds(200));
    EXPECT_EQ(timer.Wait(1), milliseconds(4));
    EXPECT_EQ(timer.Wait(2), milliseconds(4));
    EXPECT_EQ(timer.Wait(3), milliseconds(8));
    EXPECT_EQ(timer.Wait(6), milliseconds(64));
    EXPECT_EQ(timer.Wait(20), RetransmissionTimer::kLongest);
}

TEST(RetransmissionTimerTest, WaitsLongerForADeviceThatTakesLonger) {
    RetransmissionTimer timer;
    for (int i = 0; i < 50; ++i) {
        timer.Learn(milliseconds(400));
    }
    EXPECT_GE(timer.Wait(1), milliseconds(400));
    EXPECT_LE(timer.Wait(1), milliseconds(500));
}

TEST(RetransmissionTimerTest, LearnsFromNeedlessResendsToADeviceThatNeverAnswersInTime) {
    RetransmissionTimer timer;
    for (int i = 0; i < 10; ++i) {
        timer.WasTooShort();
    }
    EXPECT_EQ(timer.Wait(1), RetransmissionTimer::kLongestAfterNeedless);
}

TEST(RetransmissionTimerTest, ResendsNoSoonerThanItIsTold) {
    RetransmissionTimer timer(milliseconds(40));
    timer.Learn(microseconds(200));
    EXPECT_EQ(timer.Wait(1), milliseconds(40));
}

TEST(RetransmissionTimerTest, DoublesAfterANeedlessResendUntilItLearnsAgain) {
    RetransmissionTimer timer;
    timer.Learn(milliseconds(10));
    const RetransmissionTimer::Duration before = timer.Wait(1);
    timer.WasTooShort();
    EXPECT_EQ(timer.Wait(1), 2 * before);
    timer.Learn(milliseconds(10));
    EXPECT_LT(timer.Wait(1), 2 * before);
}

}  // namespace
