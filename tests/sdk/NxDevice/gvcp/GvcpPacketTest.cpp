#include "gvcp/GvcpPacket.h"

#include <array>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Bytes.h"

using namespace std::string_literals;

namespace {

TEST(GvcpPacketTest, EncodesReadReg) {
    std::vector<std::byte> packet =
        GvcpPacket::ReadRegisters(std::array<std::uint32_t, 2>{0x0A00, 0x12345678});
    GvcpPacket::SetId(packet, 0xABCD);
    EXPECT_EQ(TextOf(packet),
              "\x42\x01\x00\x80\x00\x08\xAB\xCD"
              "\x00\x00\x0A\x00\x12\x34\x56\x78"s);
}

TEST(GvcpPacketTest, EncodesWriteReg) {
    std::vector<std::byte> packet = GvcpPacket::WriteRegisters(
        std::array{GvcpPacket::RegisterValue{.address = 0x0A00, .value = 2}});
    GvcpPacket::SetId(packet, 1);
    EXPECT_EQ(TextOf(packet),
              "\x42\x01\x00\x82\x00\x08\x00\x01"
              "\x00\x00\x0A\x00\x00\x00\x00\x02"s);
}

TEST(GvcpPacketTest, EncodesReadMem) {
    EXPECT_EQ(TextOf(GvcpPacket::ReadMemory(0x0200, 512)),
              "\x42\x01\x00\x84\x00\x08\x00\x00"
              "\x00\x00\x02\x00\x00\x00\x02\x00"s);
}

TEST(GvcpPacketTest, EncodesWriteMemPaddedToFourBytes) {
    EXPECT_EQ(TextOf(GvcpPacket::WriteMemory(0x9000, BytesOf("abcde"s))),
              "\x42\x01\x00\x86\x00\x0C\x00\x00"
              "\x00\x00\x90\x00"
              "abcde\x00\x00\x00"s);
}

TEST(GvcpPacketTest, ParsesAnAcknowledge) {
    const std::string datagram = "\x80\x06\x00\x83\x00\x04\x12\x34\x00\x00\x00\x01more"s;
    const auto ack = GvcpPacket::ParseAck(BytesOf(datagram));
    ASSERT_TRUE(ack.has_value());
    EXPECT_EQ(ack->status, GvcpPacket::kStatusAccessDenied);
    EXPECT_EQ(ack->code, 0x83);
    EXPECT_EQ(ack->id, 0x1234);
    EXPECT_EQ(TextOf(ack->payload), "\x00\x00\x00\x01"s);
}

TEST(GvcpPacketTest, ParsesAPendingAcknowledge) {
    const std::string datagram = "\x00\x00\x00\x89\x00\x04\x00\x07\x00\x00\x03\xE8"s;
    const auto ack = GvcpPacket::ParseAck(BytesOf(datagram));
    ASSERT_TRUE(ack.has_value());
    EXPECT_EQ(ack->code, GvcpPacket::kPendingAck);
    EXPECT_EQ(GvcpPacket::PendingMilliseconds(*ack), 1000);
}

TEST(GvcpPacketTest, TakesNoTimeFromAPendingAcknowledgeThatCarriesNone) {
    const std::string datagram = "\x00\x00\x00\x89\x00\x02\x00\x07\x00\x00"s;
    const auto ack = GvcpPacket::ParseAck(BytesOf(datagram));
    ASSERT_TRUE(ack.has_value());
    EXPECT_EQ(GvcpPacket::PendingMilliseconds(*ack), 0);
}

TEST(GvcpPacketTest, RefusesDatagramsThatAreShorterThanTheySay) {
    EXPECT_FALSE(GvcpPacket::ParseAck({}).has_value());
    EXPECT_FALSE(GvcpPacket::ParseAck(BytesOf("\x00\x00\x00\x81\x00\x00\x00"s)).has_value());
    EXPECT_FALSE(
        GvcpPacket::ParseAck(BytesOf("\x00\x00\x00\x81\x00\x04\x00\x01\x00\x00\x00"s)).has_value());
}

TEST(GvcpPacketTest, NamesStatuses) {
    EXPECT_EQ(GvcpPacket::StatusName(0x8006), "ACCESS_DENIED 0x8006");
    EXPECT_EQ(GvcpPacket::StatusName(0x8123), "status 0x8123");
}

}  // namespace
