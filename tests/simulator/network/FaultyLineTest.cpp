#include "simulator/network/FaultyLine.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using simulator::Datagram;
using simulator::DatagramFaults;
using simulator::FaultyLine;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Datagram Numbered(std::uint8_t number) {
    return {{1, 2}, {number}};
}

std::vector<int> Numbers(const std::vector<Datagram>& datagrams) {
    std::vector<int> numbers;
    for (const Datagram& datagram : datagrams) {
        numbers.push_back(datagram.bytes.at(0));
    }
    return numbers;
}

/// What comes out of a line for 200 datagrams, a millisecond apart.
std::vector<int> PassMany(const DatagramFaults& faults, std::uint32_t seed) {
    FaultyLine line(faults, seed);
    FaultyLine::Clock::time_point now{};
    std::vector<int> numbers;
    const auto add = [&numbers](const std::vector<Datagram>& datagrams) {
        for (const int number : Numbers(datagrams)) {
            numbers.push_back(number);
        }
    };
    for (std::uint8_t number = 0; number < 200; ++number) {
        add(line.TakeDue(now));
        add(line.Pass(Numbered(number), now));
        now += milliseconds(1);
    }
    add(line.TakeDue(now + std::chrono::hours(1)));
    return numbers;
}

}  // namespace

TEST(FaultyLineTest, PassesEverythingOnceWhenThereAreNoFaults) {
    const std::vector<int> numbers = PassMany({}, 1);
    ASSERT_EQ(numbers.size(), 200U);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
}

TEST(FaultyLineTest, DoesTheSameForTheSameSeedAndOtherThingsForAnother) {
    const DatagramFaults faults{10, 10, 10, 10, milliseconds(20)};
    EXPECT_EQ(PassMany(faults, 7), PassMany(faults, 7));
    EXPECT_NE(PassMany(faults, 7), PassMany(faults, 8));
}

TEST(FaultyLineTest, LosesTheSameDatagramsWhateverTheOtherFaultsAre) {
    const auto lost = [](DatagramFaults faults) {
        const std::vector<int> numbers = PassMany(faults, 3);
        std::vector<int> missing;
        for (int number = 0; number < 200; ++number) {
            if (std::find(numbers.begin(), numbers.end(), number) == numbers.end()) {
                missing.push_back(number);
            }
        }
        return missing;
    };
    const auto alone = lost({20, 0, 0, 0, milliseconds(0)});
    EXPECT_EQ(alone, lost({20, 30, 30, 30, milliseconds(5)}));
    EXPECT_GT(alone.size(), 20U);
    EXPECT_LT(alone.size(), 60U);
}

TEST(FaultyLineTest, LosesEverythingOrDoublesEverything) {
    EXPECT_THAT(PassMany({100, 0, 0, 0, milliseconds(0)}, 1), IsEmpty());
    EXPECT_EQ(PassMany({0, 100, 0, 0, milliseconds(0)}, 1).size(), 400U);
}

TEST(FaultyLineTest, LetsTheNextDatagramGoFirstWhenReordering) {
    // With this seed the first of two datagrams is drawn and the second is not.
    const DatagramFaults faults{0, 0, 50, 0, milliseconds(0)};
    std::uint32_t seed = 0;
    const FaultyLine::Clock::time_point now{};
    for (;; ++seed) {
        FaultyLine line(faults, seed);
        const bool firstHeld = line.Pass(Numbered(1), now).empty();
        const auto out = Numbers(line.Pass(Numbered(2), now));
        if (firstHeld && !out.empty()) {
            EXPECT_THAT(out, ElementsAre(2, 1));
            EXPECT_FALSE(line.NextDue());
            break;
        }
    }
}

TEST(FaultyLineTest, LetsAReorderedDatagramGoWhenNoneFollows) {
    FaultyLine line({0, 0, 100, 0, milliseconds(0)}, 1);
    const FaultyLine::Clock::time_point now{};
    EXPECT_THAT(line.Pass(Numbered(1), now), IsEmpty());
    EXPECT_EQ(line.NextDue(), now + FaultyLine::kReorderLimit);
    EXPECT_THAT(line.TakeDue(now + milliseconds(49)), IsEmpty());
    EXPECT_THAT(Numbers(line.TakeDue(now + milliseconds(50))), ElementsAre(1));
}

TEST(FaultyLineTest, DelaysByTheTimeSet) {
    FaultyLine line({0, 0, 0, 100, milliseconds(30)}, 1);
    const FaultyLine::Clock::time_point now{};
    EXPECT_THAT(line.Pass(Numbered(1), now), IsEmpty());
    EXPECT_THAT(line.Pass(Numbered(2), now + milliseconds(10)), IsEmpty());
    EXPECT_THAT(Numbers(line.TakeDue(now + milliseconds(30))), ElementsAre(1));
    EXPECT_THAT(Numbers(line.TakeDue(now + milliseconds(40))), ElementsAre(2));
}

TEST(FaultyLineTest, SwapsNeighboursWhenAllAreDrawnForReordering) {
    FaultyLine line({0, 0, 100, 0, milliseconds(0)}, 1);
    std::vector<int> numbers;
    for (std::uint8_t number = 0; number < 4; ++number) {
        for (const int passed : Numbers(line.Pass(Numbered(number), {}))) {
            numbers.push_back(passed);
        }
    }
    EXPECT_THAT(numbers, ElementsAre(1, 0, 3, 2));
}

TEST(FaultyLineTest, DoublesInPlace) {
    FaultyLine line({0, 100, 0, 0, milliseconds(0)}, 1);
    EXPECT_THAT(Numbers(line.Pass(Numbered(1), {})), ElementsAre(1, 1));
}

TEST(FaultyLineTest, SendsACopyLater) {
    FaultyLine line({0, 0, 0, 0, milliseconds(70), 100}, 1);
    const FaultyLine::Clock::time_point now{};
    EXPECT_THAT(Numbers(line.Pass(Numbered(7), now)), ElementsAre(7));
    EXPECT_EQ(line.NextDue(), now + milliseconds(70));
    EXPECT_THAT(line.TakeDue(now + milliseconds(69)), IsEmpty());
    EXPECT_THAT(Numbers(line.TakeDue(now + milliseconds(70))), ElementsAre(7));
    EXPECT_FALSE(line.NextDue());
}
