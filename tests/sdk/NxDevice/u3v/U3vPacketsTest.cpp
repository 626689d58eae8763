#include "u3v/U3vPackets.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::byte> Bytes(std::initializer_list<int> values) {
    std::vector<std::byte> bytes;
    for (const int value : values) {
        bytes.push_back(static_cast<std::byte>(value));
    }
    return bytes;
}

}  // namespace

TEST(U3vPacketsTest, ReadMemoryCommandMatchesTheStandardsLayout) {
    EXPECT_EQ(U3vPackets::ReadMemory(0x1234, 0x0102030405060708, 0x0400),
              Bytes({'U',  '3',  'V',  'C',  0x00, 0x40, 0x00, 0x08, 0x0C, 0x00, 0x34, 0x12,
                     0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0x00, 0x00, 0x00, 0x04}));
}

TEST(U3vPacketsTest, WriteMemoryCommandMatchesTheStandardsLayout) {
    EXPECT_EQ(U3vPackets::WriteMemory(0xFFFF, 0x10, Bytes({0xAA, 0xBB, 0xCC})),
              Bytes({'U',  '3',  'V',  'C',  0x00, 0x40, 0x02, 0x08, 0x0B, 0x00, 0xFF, 0xFF,
                     0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xAA, 0xBB, 0xCC}));
}

TEST(U3vPacketsTest, ParsesAnAcknowledge) {
    const auto bytes = Bytes({'U', '3', 'V', 'C', 0x06, 0x80, 0x03, 0x08, 0x04, 0x00, 0x34, 0x12,
                              0x00, 0x00, 0x20, 0x00, 0x99});
    U3vPackets::Ack ack;
    ASSERT_TRUE(U3vPackets::ParseAck(bytes, ack));
    EXPECT_EQ(ack.status, 0x8006);
    EXPECT_EQ(ack.command, U3vPackets::kWriteMemoryAck);
    EXPECT_EQ(ack.id, 0x1234);
    ASSERT_EQ(ack.payload.size(), 4U);
    EXPECT_EQ(ack.payload[2], std::byte{0x20});
}

TEST(U3vPacketsTest, RefusesWhatIsNoWholeAcknowledge) {
    const auto whole = Bytes(
        {'U', '3', 'V', 'C', 0, 0, 0x01, 0x08, 0x04, 0x00, 0x34, 0x12, 0x01, 0x02, 0x03, 0x04});
    U3vPackets::Ack ack;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(U3vPackets::ParseAck(std::span(whole).first(length), ack)) << length;
    }
    auto stranger = whole;
    stranger[0] = std::byte{'u'};
    EXPECT_FALSE(U3vPackets::ParseAck(stranger, ack));
    auto tooLong = whole;
    tooLong[9] = std::byte{0xFF};
    EXPECT_FALSE(U3vPackets::ParseAck(tooLong, ack));
    EXPECT_TRUE(U3vPackets::ParseAck(whole, ack));
}

TEST(U3vPacketsTest, NamesStatusesAsTheStandardDoes) {
    EXPECT_EQ(U3vPackets::DescribeStatus(0x8006), "ACCESS_DENIED 0x8006");
    EXPECT_EQ(U3vPackets::DescribeStatus(0xA001), "RESEND_NOT_SUPPORTED 0xa001");
    EXPECT_EQ(U3vPackets::DescribeStatus(0x0001), "0x0001");
}
