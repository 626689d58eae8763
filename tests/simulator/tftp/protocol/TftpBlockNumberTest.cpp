#include "simulator/tftp/protocol/TftpBlockNumber.h"

#include <gtest/gtest.h>

namespace simulator {
namespace {

TEST(TftpBlockNumberTest, WrapsToZero) {
    const TftpBlockNumber numbers(0);
    EXPECT_EQ(numbers.OnWire(65535), 65535);
    EXPECT_EQ(numbers.OnWire(65536), 0);
    EXPECT_EQ(numbers.OnWire(65537), 1);
    EXPECT_EQ(numbers.OnWire(3 * 65536 + 5), 5);
}

TEST(TftpBlockNumberTest, WrapsToOne) {
    const TftpBlockNumber numbers(1);
    EXPECT_EQ(numbers.OnWire(0), 0);
    EXPECT_EQ(numbers.OnWire(65535), 65535);
    EXPECT_EQ(numbers.OnWire(65536), 1);
    EXPECT_EQ(numbers.OnWire(2 * 65535 + 1), 1);
}

TEST(TftpBlockNumberTest, MeasuresDistancesAcrossTheWrap) {
    for (const std::uint16_t rollover : {std::uint16_t{0}, std::uint16_t{1}}) {
        const TftpBlockNumber numbers(rollover);
        for (const std::uint64_t reference : {65530ULL, 65535ULL, 65536ULL, 65540ULL, 131070ULL}) {
            for (std::int64_t distance = -20; distance <= 20; ++distance) {
                const std::uint64_t block = reference + static_cast<std::uint64_t>(distance);
                EXPECT_EQ(numbers.Distance(reference, numbers.OnWire(block)), distance)
                    << reference << " rollover " << rollover;
            }
        }
    }
}

TEST(TftpBlockNumberTest, KnowsNoDataBlockZeroWhereNumbersWrapToOne) {
    const TftpBlockNumber numbers(1);
    EXPECT_EQ(numbers.Distance(0, 0), 0);
    EXPECT_EQ(numbers.Distance(5, 0), -5);
    EXPECT_EQ(numbers.Distance(65535, 0), std::nullopt);
}

}  // namespace
}  // namespace simulator
