#include "file_access/OperationPoll.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

using std::chrono::microseconds;
using std::chrono::seconds;

namespace {

class OperationPollTest : public testing::Test {
  protected:
    const OperationPoll::Clock::time_point mStart{};
    OperationPoll mWait{"Write", "192.0.2.7 on eth9", mStart};
    microseconds mPause{};
};

}  // namespace

TEST_F(OperationPollTest, LetsADeviceEraseItsFlashForAMinute) {
    EXPECT_TRUE(mWait.Next(mStart, mPause).IsOK());
    EXPECT_TRUE(mWait.Next(mStart + seconds(11), mPause).IsOK());
    EXPECT_TRUE(mWait.Next(mStart + seconds(59), mPause).IsOK());
}

TEST_F(OperationPollTest, GivesUpAfterAMinuteAndTellsNobodyToCutThePower) {
    const NxResult result = mWait.Next(mStart + seconds(60), mPause);
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_STREQ(result.GetDescription().GetAscii(),
                 "192.0.2.7 on eth9 is still busy with Write after 60 s; keep it powered, check "
                 "its status and try again later");
}

TEST_F(OperationPollTest, AsksAtOnceAtFirstAndThenTwentyTimesASecond) {
    EXPECT_TRUE(mWait.Next(mStart, mPause).IsOK());
    EXPECT_EQ(mPause, microseconds(200));
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(mWait.Next(mStart, mPause).IsOK());
    }
    EXPECT_EQ(mPause, microseconds(50000));
}
