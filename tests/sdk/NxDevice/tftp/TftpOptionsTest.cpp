#include "tftp/protocol/TftpOptions.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

TftpOptions Wanted() {
    TftpOptions wanted;
    wanted.blockSize = 1468;
    wanted.windowSize = 16;
    wanted.timeout = 1;
    wanted.transferSize = 5000;
    return wanted;
}

TftpPacket OptionAck(const std::vector<TftpOption>& options) {
    TftpPacket packet;
    packet.opcode = TftpOpcode::kOptionAck;
    packet.options = options;
    return packet;
}

TEST(TftpOptionsTest, AsksForNothingByDefault) {
    EXPECT_TRUE(TftpOptions().ToRequest().empty());
}

TEST(TftpOptionsTest, AsksForWhatDiffersFromTheDefaults) {
    const std::vector<TftpOption> expected = {
        {"tsize", "5000"}, {"blksize", "1468"}, {"timeout", "1"}, {"windowsize", "16"}};
    EXPECT_EQ(Wanted().ToRequest(), expected);
}

TEST(TftpOptionsTest, TakesSmallerValuesInAnyOrder) {
    TftpOptions agreed;
    ASSERT_EQ(
        Wanted().Agree(
            OptionAck({{"windowsize", "1"}, {"blksize", "8"}, {"tsize", "0"}, {"timeout", "1"}}),
            agreed),
        "");
    EXPECT_EQ(agreed.blockSize, 8U);
    EXPECT_EQ(agreed.windowSize, 1U);
    EXPECT_EQ(agreed.timeout, 1U);
    EXPECT_EQ(agreed.transferSize, 0U);
}

TEST(TftpOptionsTest, UsesTheDefaultsForWhatIsNotGranted) {
    TftpOptions agreed = Wanted();
    ASSERT_EQ(Wanted().Agree(OptionAck({{"windowsize", "4"}}), agreed), "");
    EXPECT_EQ(agreed.blockSize, 512U);
    EXPECT_EQ(agreed.windowSize, 4U);
    EXPECT_FALSE(agreed.transferSize.has_value());
    ASSERT_EQ(Wanted().Agree(OptionAck({}), agreed), "");
    EXPECT_EQ(agreed.windowSize, 1U);
}

TEST(TftpOptionsTest, RefusesValuesOutOfRange) {
    const std::vector<TftpOption> bad = {
        {"blksize", "7"},        {"blksize", "1469"},
        {"blksize", "0"},        {"blksize", ""},
        {"blksize", "-8"},       {"blksize", "512x"},
        {"blksize", " 512"},     {"blksize", "99999999999999999999"},
        {"windowsize", "0"},     {"windowsize", "17"},
        {"windowsize", "65536"}, {"timeout", "2"},
        {"timeout", "0"},        {"tsize", "many"},
        {"multicast", "1"},      {"utimeout", "1000"}};
    for (const TftpOption& option : bad) {
        TftpOptions agreed;
        agreed.blockSize = 77;
        EXPECT_NE(Wanted().Agree(OptionAck({option}), agreed), "") << option.name << option.value;
        EXPECT_EQ(agreed.blockSize, 77U);
    }
}

TEST(TftpOptionsTest, RefusesOptionsThatWereNotAskedFor) {
    for (const TftpOption& option : std::vector<TftpOption>{{"blksize", "512"},
                                                            {"windowsize", "1"},
                                                            {"timeout", "1"},
                                                            {"tsize", "0"},
                                                            {"multicast", "224.0.0.5,1758,1"}}) {
        TftpOptions agreed;
        EXPECT_EQ(
            TftpOptions().Agree(OptionAck({option}), agreed),
            "it granted option " + option.name + "=" + option.value + ", which was not requested");
    }
}

TEST(TftpOptionsTest, RefusesAMalformedAnswer) {
    TftpPacket packet = OptionAck({});
    packet.optionsValid = false;
    TftpOptions agreed;
    EXPECT_EQ(Wanted().Agree(packet, agreed), "its option acknowledgement is malformed");
}

TEST(TftpOptionsTest, ShowsOnlyABoundedPrintablePartOfABadOption) {
    TftpOptions agreed;
    const std::string problem =
        Wanted().Agree(OptionAck({{"blksize", "\x1b[2J" + std::string(60000, '1')}}), agreed);
    EXPECT_EQ(problem, "it granted option blksize=?[2J" + std::string(48, '1') +
                           "..., which is not a number");
}

}  // namespace
