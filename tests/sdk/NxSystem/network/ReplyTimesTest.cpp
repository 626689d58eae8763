#include <gtest/gtest.h>

#include "network/ReplyTimes.h"

namespace {

using namespace std::chrono_literals;
using Duration = ReplyTimes::Duration;

void Learn(ReplyTimes& times, int replies, Duration waited) {
    for (int i = 0; i < replies; ++i) {
        times.Learn(waited);
    }
}

Duration Length(ReplyTimes::Span span) {
    return span.until - span.from;
}

int WaitsThatPollAtOnce(ReplyTimes& times, int waits, Duration waited) {
    int result = 0;
    for (int i = 0; i < waits; ++i) {
        result += Length(times.AtOnce()) > 0us ? 1 : 0;
        times.Learn(waited);
    }
    return result;
}

}  // namespace

TEST(ReplyTimesTest, PollsForADeviceThatRepliesAtOnce) {
    ReplyTimes times;
    EXPECT_EQ(WaitsThatPollAtOnce(times, 1000, 20us), 1000);
    EXPECT_TRUE(times.AtOnce().Contains(0us));
    EXPECT_TRUE(times.AtOnce().Contains(20us));
    EXPECT_EQ(Length(times.WhenDue()), 0us);
}

TEST(ReplyTimesTest, SoonStopsPollingAtOnceForADeviceThatRepliesLate) {
    ReplyTimes times;
    EXPECT_EQ(WaitsThatPollAtOnce(times, 4, 150us), 4);
    // Some still do, to notice that it has become fast.
    const int polling = WaitsThatPollAtOnce(times, 320, 150us);
    EXPECT_GT(polling, 0);
    EXPECT_LE(polling, 10);
    times.Learn(20us);
    EXPECT_GT(Length(times.AtOnce()), 0us);
}

TEST(ReplyTimesTest, PollsWhenTheReplyIsDue) {
    ReplyTimes times;
    EXPECT_EQ(Length(times.WhenDue()), 0us);
    Learn(times, 10, 1000us);
    EXPECT_FALSE(times.WhenDue().Contains(0us));
    EXPECT_FALSE(times.WhenDue().Contains(500us));
    EXPECT_TRUE(times.WhenDue().Contains(990us));
    EXPECT_TRUE(times.WhenDue().Contains(1010us));
    EXPECT_FALSE(times.WhenDue().Contains(1500us));
    // A fifth of the time.
    EXPECT_LE(Length(times.WhenDue()), 200us);
}

TEST(ReplyTimesTest, ExpectsTheEarliestOfRepliesThatVary) {
    ReplyTimes times;
    for (int i = 0; i < 20; ++i) {
        times.Learn(i % 2 == 0 ? 1400us : 1000us);
    }
    EXPECT_TRUE(times.WhenDue().Contains(1000us));
    times.Learn(5s);
    times.Learn(1000us);
    EXPECT_TRUE(times.WhenDue().Contains(1000us));
}

TEST(ReplyTimesTest, FollowsADeviceThatBecomesSlowerForGood) {
    ReplyTimes times;
    Learn(times, 10, 500us);
    Learn(times, 100, 2000us);
    EXPECT_TRUE(times.WhenDue().Contains(2000us));
    EXPECT_FALSE(times.WhenDue().Contains(500us));
}

TEST(ReplyTimesTest, SleepsForRepliesThatAreDueTooSoonToSleepLong) {
    ReplyTimes times;
    Learn(times, 10, 299us);
    EXPECT_EQ(Length(times.WhenDue()), 0us);
    Learn(times, 100, 310us);
    EXPECT_GT(Length(times.WhenDue()), 0us);
}

TEST(ReplyTimesTest, SleepsWhileAnotherProgramRunsOnThisCpu) {
    ReplyTimes times;
    Learn(times, 10, 1000us);
    times.Learn(20us);
    EXPECT_GT(Length(times.AtOnce()), 0us);
    times.LearnFromPolling(30us, 16);
    times.LearnFromPolling(30us, 16);
    const int polling = WaitsThatPollAtOnce(times, 1200, 50us);
    // Some still do, to notice that the other one has gone.
    EXPECT_GT(polling, 0);
    EXPECT_LE(polling, 5);
    times.LearnFromPolling(1us, 1);
    EXPECT_EQ(WaitsThatPollAtOnce(times, 320, 50us), 320);
}

TEST(ReplyTimesTest, SleepsUntilALateReplyWhileAnotherProgramRunsOnThisCpu) {
    ReplyTimes times;
    Learn(times, 10, 1000us);
    EXPECT_GT(Length(times.WhenDue()), 0us);
    times.LearnFromPolling(30us, 16);
    times.LearnFromPolling(30us, 16);
    EXPECT_EQ(Length(times.WhenDue()), 0us);
}

TEST(ReplyTimesTest, SleepsWhileABusyProgramTakesThisCpuForLong) {
    ReplyTimes times;
    Learn(times, 10, 1000us);
    times.LearnFromPolling(3ms, 1);
    times.LearnFromPolling(3ms, 1);
    EXPECT_EQ(Length(times.WhenDue()), 0us);
}

TEST(ReplyTimesTest, TriesAgainWhetherRepliesAreLateOrTheCpuIsShared) {
    for (int before = 0; before < 40; ++before) {
        ReplyTimes times;
        Learn(times, before, 20us);
        times.LearnFromPolling(30us, 16);
        times.LearnFromPolling(30us, 16);
        EXPECT_GT(WaitsThatPollAtOnce(times, 1200, 150us), 0) << before;
    }
}

TEST(ReplyTimesTest, KeepsPollingAfterOneLongTurn) {
    ReplyTimes times;
    times.LearnFromPolling(30us, 16);
    EXPECT_EQ(WaitsThatPollAtOnce(times, 100, 20us), 100);
}

TEST(ReplyTimesTest, KeepsPollingForRepliesToSingleDatagrams) {
    ReplyTimes times;
    times.LearnFromPolling(30us, 1);
    times.LearnFromPolling(30us, 1);
    EXPECT_EQ(WaitsThatPollAtOnce(times, 100, 20us), 100);
}
