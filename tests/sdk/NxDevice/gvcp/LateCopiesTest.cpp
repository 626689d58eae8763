#include "gvcp/LateCopies.h"

#include <gtest/gtest.h>

using std::chrono::milliseconds;

namespace {

const LateCopies::Time kStart{std::chrono::hours(1)};

LateCopies::Write Block(std::uint16_t id, std::uint32_t address) {
    return {.id = id, .address = address, .size = 536};
}

LateCopies::Write Register(std::uint16_t id, std::uint32_t address) {
    return {.id = id, .address = address, .size = 4, .mayStartOperation = true};
}

TEST(LateCopiesTest, DelayNothingAfterCommandsThatWereSentOnce) {
    LateCopies copies;
    copies.Add(Block(1, 0x1000), 0, kStart, kStart, kStart);
    EXPECT_EQ(copies.SafeTime(Block(2, 0x1000), kStart), kStart);
}

TEST(LateCopiesTest, DelayAWriteToTheSamePlaceOnly) {
    LateCopies copies;
    copies.Add(Block(1, 0x1000), 1, kStart, kStart + milliseconds(4), kStart + milliseconds(4));
    const LateCopies::Time now = kStart + milliseconds(5);
    EXPECT_EQ(copies.SafeTime(Block(2, 0x1000), now), kStart + milliseconds(4) + copies.MaxAge());
    EXPECT_GT(copies.SafeTime(Block(2, 0x1000 + 532), now), now);
    EXPECT_EQ(copies.SafeTime(Block(2, 0x1000 + 536), now), now);
    EXPECT_EQ(copies.SafeTime(Register(2, 0x2000), now), now);
}

TEST(LateCopiesTest, DelayEveryWriteAfterOneThatMayStartAnOperation) {
    LateCopies copies;
    copies.Add(Register(1, 0x2000), 1, kStart, kStart, kStart);
    EXPECT_GT(copies.SafeTime(Block(2, 0x1000), kStart), kStart);
}

TEST(LateCopiesTest, DelayNothingAfterARead) {
    LateCopies copies;
    copies.Add({.id = 1, .address = 0x1000}, 3, kStart, kStart, kStart);
    EXPECT_EQ(copies.SafeTime(Block(2, 0x0FFC), kStart), kStart);
}

TEST(LateCopiesTest, LearnFromALateAcknowledgeHowLateThingsMayBe) {
    LateCopies copies;
    copies.Add(Block(1, 0x1000), 1, kStart, kStart + milliseconds(4), kStart + milliseconds(4));
    EXPECT_FALSE(copies.NoteLateAck(9, kStart));
    EXPECT_TRUE(copies.NoteLateAck(1, kStart + milliseconds(400)));
    EXPECT_EQ(copies.MaxAge(), milliseconds(600));
    EXPECT_EQ(copies.SafeTime(Block(2, 0x1000), kStart + milliseconds(401)),
              kStart + milliseconds(604));
}

TEST(LateCopiesTest, WaitForADeviceThatCarriesOutOneCopyAfterTheOther) {
    LateCopies copies;
    const LateCopies::Time answered = kStart + milliseconds(1200);
    copies.Add(Register(1, 0x2000), 2, kStart, kStart + milliseconds(900), answered);
    const auto next = Register(2, 0x2000);
    EXPECT_EQ(copies.SafeTime(next, answered), answered + milliseconds(1800));
    const LateCopies::Time second = answered + milliseconds(1200);
    EXPECT_EQ(copies.NoteLateAck(1, second), milliseconds(1200));
    EXPECT_EQ(copies.SafeTime(next, second), second + milliseconds(1800));
    // The last one.
    const LateCopies::Time third = second + milliseconds(1200);
    EXPECT_TRUE(copies.NoteLateAck(1, third));
    EXPECT_LE(copies.SafeTime(next, third), second + milliseconds(1800));
}

// A device, or a network, that stood still until then has not passed the other copy on either.
TEST(LateCopiesTest, CountFromTheAnswerOn) {
    LateCopies copies;
    const LateCopies::Time answered = kStart + milliseconds(240);
    copies.Add(Block(1, 0x1000), 1, kStart, kStart + milliseconds(40), answered);
    EXPECT_EQ(copies.SafeTime(Block(2, 0x1000), answered), answered + copies.MaxAge());
}

TEST(LateCopiesTest, KeepMaxAgeWhileCopiesArrive) {
    LateCopies copies;
    LateCopies::Time now = kStart;
    const LateCopies::Duration before = copies.MaxAge();
    for (std::uint16_t id = 1; id < 100; ++id) {
        copies.Add(Block(id, 0x1000), 1, now, now, now);
        EXPECT_TRUE(copies.NoteLateAck(id, now + milliseconds(60)));
        now = copies.SafeTime(Block(id, 0x1000), now + milliseconds(60));
        EXPECT_EQ(copies.SafeTime(Block(id, 0x1000), now), now);
    }
    EXPECT_EQ(copies.MaxAge(), before);
}

TEST(LateCopiesTest, LowerMaxAgeWhenCopiesNeverArrive) {
    LateCopies copies;
    LateCopies::Time now = kStart;
    const LateCopies::Duration before = copies.MaxAge();
    for (std::uint16_t id = 1; id < 100; ++id) {
        copies.Add(Block(id, 0x1000), 1, now, now, now);
        now = copies.SafeTime(Block(id, 0x1000), now);
        EXPECT_EQ(copies.SafeTime(Block(id, 0x1000), now), now);
    }
    EXPECT_LT(copies.MaxAge(), before);
    EXPECT_GE(copies.MaxAge(), milliseconds(20));
}

TEST(LateCopiesTest, LearnFromACopyThatComesAfterTheWait) {
    LateCopies copies;
    copies.Add(Block(1, 0x1000), 1, kStart, kStart, kStart);
    const LateCopies::Time late = kStart + milliseconds(300);
    EXPECT_EQ(copies.SafeTime(Block(2, 0x1000), late), late);
    EXPECT_TRUE(copies.NoteLateAck(1, late));
    EXPECT_EQ(copies.MaxAge(), milliseconds(450));
}

}  // namespace
