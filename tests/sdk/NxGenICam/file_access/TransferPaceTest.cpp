#include "file_access/TransferPace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

using std::chrono::seconds;

TEST(TransferPaceTest, GivesTwoMinutesAndASecondForEveryFourKibibytes) {
    const TransferPace::Clock::time_point start{};
    const TransferPace pace(start);
    EXPECT_TRUE(pace.Check(0, start + seconds(120)).IsOK());
    EXPECT_TRUE(pace.Check(409600, start + seconds(220)).IsOK());
    const NxResult slow = pace.Check(409600, start + seconds(221));
    EXPECT_EQ(slow.GetCode(), kNxTimeout);
    EXPECT_STREQ(slow.GetDescription().GetAscii(), "only 409600 bytes were transferred in 221 s");
}
