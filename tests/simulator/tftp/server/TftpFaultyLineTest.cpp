#include "simulator/tftp/server/TftpFaultyLine.h"

#include <gmock/gmock.h>

namespace simulator {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

const TftpFaultyLine::Time kStart{std::chrono::seconds(100)};

std::vector<int> Through(TftpFaultyLine& line, int count) {
    std::vector<int> out;
    const auto take = [&](TftpFaultyLine::Time now) {
        for (const auto& datagram : line.Take(now)) {
            out.push_back(datagram.at(0));
        }
    };
    for (int datagram = 0; datagram < count; ++datagram) {
        line.Put({static_cast<std::uint8_t>(datagram)}, kStart);
        take(kStart);
    }
    while (line.NextAt() != TftpFaultyLine::Time::max()) {
        take(line.NextAt());
    }
    return out;
}

TEST(TftpFaultyLineTest, PassesEverythingWithoutFaults) {
    TftpFaultyLine line({}, 0);
    EXPECT_THAT(Through(line, 4), ElementsAre(0, 1, 2, 3));
}

TEST(TftpFaultyLineTest, LosesEverythingAtAHundredPercent) {
    TftpFaults faults;
    faults.lossPercent = 100;
    TftpFaultyLine line(faults, 0);
    EXPECT_THAT(Through(line, 4), IsEmpty());
}

TEST(TftpFaultyLineTest, LosesAboutTheGivenShare) {
    TftpFaults faults;
    faults.lossPercent = 25;
    TftpFaultyLine line(faults, 0);
    const std::size_t passed = Through(line, 200).size();
    EXPECT_GT(passed, 120U);
    EXPECT_LT(passed, 180U);
}

TEST(TftpFaultyLineTest, DoublesInPlace) {
    TftpFaults faults;
    faults.duplicatePercent = 100;
    TftpFaultyLine line(faults, 0);
    EXPECT_THAT(Through(line, 2), ElementsAre(0, 0, 1, 1));
}

TEST(TftpFaultyLineTest, SwapsNeighbours) {
    TftpFaults faults;
    faults.reorderPercent = 100;
    TftpFaultyLine line(faults, 0);
    EXPECT_THAT(Through(line, 4), ElementsAre(1, 0, 3, 2));
}

TEST(TftpFaultyLineTest, LetsAHeldBackDatagramGoWhenNoneOvertakesIt) {
    TftpFaults faults;
    faults.reorderPercent = 100;
    TftpFaultyLine line(faults, 0);
    line.Put({7}, kStart);
    EXPECT_THAT(line.Take(kStart), IsEmpty());
    EXPECT_EQ(line.NextAt(), kStart + faults.delay);
    EXPECT_THAT(line.Take(kStart + faults.delay), ElementsAre(ElementsAre(7)));
}

TEST(TftpFaultyLineTest, SendsACopyLater) {
    TftpFaults faults;
    faults.lateCopyPercent = 100;
    faults.delay = milliseconds(70);
    TftpFaultyLine line(faults, 0);
    line.Put({7}, kStart);
    EXPECT_THAT(line.Take(kStart), ElementsAre(ElementsAre(7)));
    EXPECT_EQ(line.NextAt(), kStart + milliseconds(70));
    EXPECT_THAT(line.Take(kStart + milliseconds(69)), IsEmpty());
    EXPECT_THAT(line.Take(kStart + milliseconds(70)), ElementsAre(ElementsAre(7)));
}

TEST(TftpFaultyLineTest, RepeatsItselfWithTheSameSeedAndDiffersWithAnother) {
    TftpFaults faults;
    faults.lossPercent = 20;
    faults.duplicatePercent = 20;
    faults.reorderPercent = 20;
    faults.seed = 42;
    TftpFaultyLine first(faults, 3);
    TftpFaultyLine again(faults, 3);
    TftpFaultyLine otherLine(faults, 4);
    faults.seed = 43;
    TftpFaultyLine otherSeed(faults, 3);
    const std::vector<int> fate = Through(first, 100);
    EXPECT_EQ(Through(again, 100), fate);
    EXPECT_NE(Through(otherLine, 100), fate);
    EXPECT_NE(Through(otherSeed, 100), fate);
}

}  // namespace
}  // namespace simulator
