#include "tftp/protocol/TftpPacing.h"

#include <gtest/gtest.h>

namespace {

void ArriveWhole(TftpPacing& pacing, int windows) {
    for (int i = 0; i < windows; ++i) {
        pacing.OnCleanWindow();
    }
}

TEST(TftpPacingTest, SendsAWholeWindowInOneGoUntilABlockIsLost) {
    TftpPacing pacing(64);
    ArriveWhole(pacing, 3);
    EXPECT_EQ(pacing.Burst(), 64U);
    pacing.OnLoss();
    EXPECT_EQ(pacing.Burst(), 32U);
}

TEST(TftpPacingTest, NeverSendsLessThanABlock) {
    TftpPacing pacing(3);
    for (int i = 0; i < 10; ++i) {
        pacing.OnLoss();
    }
    EXPECT_EQ(pacing.Burst(), 1U);
}

TEST(TftpPacingTest, IsQuicklyBackAtWhatDidNotLoseABlock) {
    TftpPacing pacing(64);
    pacing.OnLoss();
    ArriveWhole(pacing, 5);
    EXPECT_EQ(pacing.Burst(), 63U);
}

TEST(TftpPacingTest, GrowsMoreSlowlyAfterEachLossButAlwaysGrows) {
    TftpPacing pacing(8);
    pacing.OnLoss();
    pacing.OnLoss();
    // 2 has lost nothing, 4 has: one step to 3, and from there four whole windows for each.
    ArriveWhole(pacing, 1);
    EXPECT_EQ(pacing.Burst(), 3U);
    ArriveWhole(pacing, 3);
    EXPECT_EQ(pacing.Burst(), 3U);
    ArriveWhole(pacing, 1);
    EXPECT_EQ(pacing.Burst(), 4U);

    for (int i = 0; i < 100; ++i) {
        pacing.OnLoss();
    }
    ArriveWhole(pacing, 64 * 7);
    EXPECT_EQ(pacing.Burst(), 8U);
}

}  // namespace
