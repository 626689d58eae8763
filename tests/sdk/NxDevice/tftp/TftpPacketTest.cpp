#include "tftp/protocol/TftpPacket.h"

#include <string>

#include <gtest/gtest.h>

#include "Bytes.h"

namespace {

using namespace std::string_literals;

bool Parse(const std::string& datagram, TftpPacket& packet) {
    return TftpPacket::Parse(BytesOf(datagram), packet);
}

TEST(TftpPacketTest, ParsesData) {
    const std::string datagram = "\0\3\xab\xcdhello"s;
    TftpPacket packet;
    ASSERT_TRUE(Parse(datagram, packet));
    EXPECT_EQ(packet.opcode, TftpOpcode::kData);
    EXPECT_EQ(packet.number, 0xabcd);
    EXPECT_EQ(TextOf(packet.data), "hello");
}

TEST(TftpPacketTest, ParsesEmptyData) {
    const std::string datagram = "\0\3\0\1"s;
    TftpPacket packet;
    ASSERT_TRUE(Parse(datagram, packet));
    EXPECT_EQ(packet.opcode, TftpOpcode::kData);
    EXPECT_TRUE(packet.data.empty());
}

TEST(TftpPacketTest, ParsesAnAcknowledgementPaddedOrNot) {
    for (const std::string& datagram : {"\0\4\xff\xff"s, "\0\4\xff\xff\0\0\0\0"s}) {
        TftpPacket packet;
        ASSERT_TRUE(Parse(datagram, packet));
        EXPECT_EQ(packet.opcode, TftpOpcode::kAck);
        EXPECT_EQ(packet.number, 65535);
    }
}

TEST(TftpPacketTest, ParsesAnErrorWithOrWithoutItsZero) {
    for (const std::string& datagram :
         {"\0\5\0\1no such file\0"s, "\0\5\0\1no such file"s, "\0\5\0\1no such file\0beyond"s}) {
        TftpPacket packet;
        ASSERT_TRUE(Parse(datagram, packet));
        EXPECT_EQ(packet.opcode, TftpOpcode::kError);
        EXPECT_EQ(packet.number, 1);
        EXPECT_EQ(packet.text, "no such file");
    }
}

TEST(TftpPacketTest, MakesErrorTextsPrintableAndBoundsThem) {
    TftpPacket packet;
    ASSERT_TRUE(Parse("\0\5\0\0\x1b[31mred\n\xff\x80"s + "\0"s, packet));
    EXPECT_EQ(packet.text, "?[31mred?\xff?");
    ASSERT_TRUE(Parse("\0\5\0\0\u202egel\u00f6scht\u009b2J"s, packet));
    EXPECT_EQ(packet.text, "?gel\u00f6scht?2J");
    ASSERT_TRUE(Parse("\0\5\0\0"s + std::string(60000, 'x'), packet));
    EXPECT_EQ(packet.text, std::string(200, 'x') + "...");
}

TEST(TftpPacketTest, ParsesOptionsInAnyOrderAndCase) {
    TftpPacket packet;
    ASSERT_TRUE(Parse("\0\6WindowSize\0"s + "16\0"s + "blksize\0"s + "1428\0"s, packet));
    EXPECT_EQ(packet.opcode, TftpOpcode::kOptionAck);
    EXPECT_TRUE(packet.optionsValid);
    const std::vector<TftpOption> expected = {{"windowsize", "16"}, {"blksize", "1428"}};
    EXPECT_EQ(packet.options, expected);
}

TEST(TftpPacketTest, ParsesAnEmptyOptionAck) {
    TftpPacket packet;
    packet.options = {{"stale", "1"}};
    ASSERT_TRUE(Parse("\0\6"s, packet));
    EXPECT_TRUE(packet.optionsValid);
    EXPECT_TRUE(packet.options.empty());
}

TEST(TftpPacketTest, MarksMalformedOptions) {
    std::string many = "\0\6"s;
    for (int i = 0; i < 17; ++i) {
        many += "o" + std::to_string(i) + "\0"s + "1\0"s;
    }
    for (const std::string& datagram :
         {"\0\6blksize"s, "\0\6blksize\0"s, "\0\6blksize\0001428"s, "\0\6\0\0"s, "\0\6\0001\0"s,
          "\0\6blksize\0008\0BLKSIZE\0009\0"s, many}) {
        TftpPacket packet;
        ASSERT_TRUE(Parse(datagram, packet));
        EXPECT_EQ(packet.opcode, TftpOpcode::kOptionAck);
        EXPECT_FALSE(packet.optionsValid);
    }
}

TEST(TftpPacketTest, RefusesWhatNoServerSends) {
    TftpPacket packet;
    for (const std::string& datagram :
         {""s, "\0"s, "\0\3"s, "\0\3\0"s, "\0\4\0"s, "\0\5\0"s, "\0\0\0\0"s, "\0\7\0\0"s,
          "\1\3\0\1"s, "\0\1file\0octet\0"s, "\0\2file\0octet\0"s, "\xff\xff\xff\xff"s}) {
        EXPECT_FALSE(Parse(datagram, packet)) << testing::PrintToString(datagram);
    }
}

TEST(TftpPacketTest, EncodesRequests) {
    EXPECT_EQ(TextOf(TftpEncoder::Request(TftpOpcode::kWriteRequest, "RemoteUpdateDfw", {})),
              "\0\2RemoteUpdateDfw\0octet\0"s);
    EXPECT_EQ(TextOf(TftpEncoder::Request(TftpOpcode::kReadRequest, "status",
                                          {{"tsize", "0"}, {"blksize", "1468"}})),
              "\0\1status\0octet\0tsize\0000\0blksize\0001468\0"s);
}

TEST(TftpPacketTest, EncodesDataAckAndError) {
    EXPECT_EQ(TextOf(TftpEncoder::DataHeader(0x1234)), "\0\3\x12\x34"s);
    EXPECT_EQ(TextOf(TftpEncoder::Ack(65535)), "\0\4\xff\xff"s);
    EXPECT_EQ(TextOf(TftpEncoder::Error(TftpErrorCode::kUnknownTransferId, "Unknown")),
              "\0\5\0\5Unknown\0"s);
}

}  // namespace
