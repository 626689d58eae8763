#include "simulator/tftp/protocol/TftpRetryTimer.h"

#include <gtest/gtest.h>

namespace simulator {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const TftpRetryTimer::Time kStart{seconds(100)};

TEST(TftpRetryTimerTest, BeginsWithTheInitialTimeoutAndDoublesIt) {
    TftpRetryTimer timer{TftpSettings{}};
    EXPECT_EQ(timer.Deadline(), TftpRetryTimer::Time::max());
    timer.Sent(kStart);
    EXPECT_EQ(timer.Deadline(), kStart + seconds(1));
    EXPECT_TRUE(timer.Repeat(kStart + seconds(1)));
    EXPECT_EQ(timer.Deadline(), kStart + seconds(3));
    EXPECT_TRUE(timer.Repeat(kStart + seconds(3)));
    EXPECT_EQ(timer.Deadline(), kStart + seconds(7));
    EXPECT_TRUE(timer.Repeat(kStart + seconds(7)));
    EXPECT_EQ(timer.Deadline(), kStart + seconds(11)) << "bounded";
}

TEST(TftpRetryTimerTest, FollowsTheMeasuredRoundTrip) {
    TftpRetryTimer timer{TftpSettings{}};
    auto now = kStart;
    for (int trip = 0; trip < 30; ++trip) {
        timer.Sent(now);
        now += milliseconds(200);
        timer.Answered(now);
    }
    EXPECT_GE(timer.Deadline() - now, milliseconds(200));
    EXPECT_LE(timer.Deadline() - now, milliseconds(250));
}

TEST(TftpRetryTimerTest, IsNotHastierThanItsMinimum) {
    TftpRetryTimer timer{TftpSettings{}};
    auto now = kStart;
    for (int trip = 0; trip < 30; ++trip) {
        timer.Sent(now);
        timer.Answered(now);
    }
    EXPECT_EQ(timer.Deadline() - now, milliseconds(100));
}

TEST(TftpRetryTimerTest, MeasuresNothingOnARepeatedPacket) {
    TftpRetryTimer timer{TftpSettings{}};
    timer.Sent(kStart);
    ASSERT_TRUE(timer.Repeat(kStart + seconds(1)));
    timer.Answered(kStart + seconds(1));
    EXPECT_EQ(timer.Deadline(), kStart + seconds(2));
}

TEST(TftpRetryTimerTest, GivesUpAfterItsRetries) {
    TftpRetryTimer timer{TftpSettings{}};
    timer.Sent(kStart);
    unsigned int repeats = 0;
    while (timer.Repeat(timer.Deadline())) {
        ++repeats;
    }
    EXPECT_EQ(repeats, TftpSettings{}.maxRetries);
}

TEST(TftpRetryTimerTest, KeepsANegotiatedTimeoutButNotBeyondTheLongestSilence) {
    TftpRetryTimer timer{TftpSettings{}};
    timer.Fix(seconds(12));
    timer.Sent(kStart);
    EXPECT_EQ(timer.Deadline(), kStart + seconds(12));
    EXPECT_TRUE(timer.Repeat(timer.Deadline()));
    EXPECT_EQ(timer.Deadline(), kStart + seconds(24));
    EXPECT_TRUE(timer.Repeat(timer.Deadline()));
    EXPECT_EQ(timer.Deadline(), kStart + seconds(30));
    EXPECT_FALSE(timer.Repeat(timer.Deadline()));

    TftpRetryTimer slow{TftpSettings{}};
    slow.Fix(seconds(255));
    slow.Sent(kStart);
    EXPECT_EQ(slow.Deadline(), kStart + seconds(30));
}

}  // namespace
}  // namespace simulator
