#include "gvcp/StrayWrites.h"

#include <gtest/gtest.h>

using std::chrono::milliseconds;

namespace {

const StrayWrites::Time kStart{std::chrono::hours(1)};

StrayWrites::Write Block(std::uint16_t id, std::uint32_t address) {
    return {.id = id, .address = address, .size = 536};
}

StrayWrites::Write Register(std::uint16_t id, std::uint32_t address) {
    return {.id = id, .address = address, .size = 4, .mayStartOperation = true};
}

TEST(StrayWritesTest, DelayNothingAfterCommandsThatWereSentOnce) {
    StrayWrites strays;
    strays.Add(Block(1, 0x1000), 0, kStart, kStart, kStart);
    EXPECT_EQ(strays.SafeTime(Block(2, 0x1000), kStart), kStart);
}

TEST(StrayWritesTest, DelayAWriteToTheSamePlaceOnly) {
    StrayWrites strays;
    strays.Add(Block(1, 0x1000), 1, kStart, kStart + milliseconds(4), kStart + milliseconds(4));
    const StrayWrites::Time now = kStart + milliseconds(5);
    EXPECT_EQ(strays.SafeTime(Block(2, 0x1000), now), kStart + milliseconds(4) + strays.Patience());
    EXPECT_GT(strays.SafeTime(Block(2, 0x1000 + 532), now), now);
    EXPECT_EQ(strays.SafeTime(Block(2, 0x1000 + 536), now), now);
    EXPECT_EQ(strays.SafeTime(Register(2, 0x2000), now), now);
}

TEST(StrayWritesTest, DelayEveryWriteAfterOneThatMayStartAnOperation) {
    StrayWrites strays;
    strays.Add(Register(1, 0x2000), 1, kStart, kStart, kStart);
    EXPECT_GT(strays.SafeTime(Block(2, 0x1000), kStart), kStart);
}

TEST(StrayWritesTest, DelayNothingAfterARead) {
    StrayWrites strays;
    strays.Add({.id = 1, .address = 0x1000}, 3, kStart, kStart, kStart);
    EXPECT_EQ(strays.SafeTime(Block(2, 0x0FFC), kStart), kStart);
}

TEST(StrayWritesTest, LearnFromALateAcknowledgeHowLateThingsMayBe) {
    StrayWrites strays;
    strays.Add(Block(1, 0x1000), 1, kStart, kStart + milliseconds(4), kStart + milliseconds(4));
    EXPECT_FALSE(strays.NoteLateAck(9, kStart));
    EXPECT_TRUE(strays.NoteLateAck(1, kStart + milliseconds(400)));
    EXPECT_EQ(strays.Patience(), milliseconds(600));
    EXPECT_EQ(strays.SafeTime(Block(2, 0x1000), kStart + milliseconds(401)),
              kStart + milliseconds(604));
}

TEST(StrayWritesTest, WaitForADeviceThatCarriesOutOneCopyAfterTheOther) {
    StrayWrites strays;
    const StrayWrites::Time answered = kStart + milliseconds(1200);
    strays.Add(Register(1, 0x2000), 2, kStart, kStart + milliseconds(900), answered);
    const auto next = Register(2, 0x2000);
    EXPECT_EQ(strays.SafeTime(next, answered), answered + milliseconds(1800));
    const StrayWrites::Time second = answered + milliseconds(1200);
    EXPECT_EQ(strays.NoteLateAck(1, second), milliseconds(1200));
    EXPECT_EQ(strays.SafeTime(next, second), second + milliseconds(1800));
    // The last one.
    const StrayWrites::Time third = second + milliseconds(1200);
    EXPECT_TRUE(strays.NoteLateAck(1, third));
    EXPECT_LE(strays.SafeTime(next, third), second + milliseconds(1800));
}

// A device, or a network, that stood still until then has not passed the other copy on either.
TEST(StrayWritesTest, CountFromTheAnswerOn) {
    StrayWrites strays;
    const StrayWrites::Time answered = kStart + milliseconds(240);
    strays.Add(Block(1, 0x1000), 1, kStart, kStart + milliseconds(40), answered);
    EXPECT_EQ(strays.SafeTime(Block(2, 0x1000), answered), answered + strays.Patience());
}

TEST(StrayWritesTest, StayPatientWhileCopiesCome) {
    StrayWrites strays;
    StrayWrites::Time now = kStart;
    const StrayWrites::Duration before = strays.Patience();
    for (std::uint16_t id = 1; id < 100; ++id) {
        strays.Add(Block(id, 0x1000), 1, now, now, now);
        EXPECT_TRUE(strays.NoteLateAck(id, now + milliseconds(60)));
        now = strays.SafeTime(Block(id, 0x1000), now + milliseconds(60));
        EXPECT_EQ(strays.SafeTime(Block(id, 0x1000), now), now);
    }
    EXPECT_EQ(strays.Patience(), before);
}

TEST(StrayWritesTest, GrowImpatientWhenCopiesNeverCome) {
    StrayWrites strays;
    StrayWrites::Time now = kStart;
    const StrayWrites::Duration before = strays.Patience();
    for (std::uint16_t id = 1; id < 100; ++id) {
        strays.Add(Block(id, 0x1000), 1, now, now, now);
        now = strays.SafeTime(Block(id, 0x1000), now);
        EXPECT_EQ(strays.SafeTime(Block(id, 0x1000), now), now);
    }
    EXPECT_LT(strays.Patience(), before);
    EXPECT_GE(strays.Patience(), milliseconds(20));
}

}  // namespace
