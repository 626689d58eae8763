#include "simulator/tftp/protocol/TftpPacket.h"

#include <gmock/gmock.h>

#include "Packets.h"

namespace simulator {
namespace {

using std::string_view_literals::operator""sv;
using testing::ElementsAre;
using testing::Pair;

TEST(TftpPacketTest, ReadsAWriteRequestWithOptions) {
    const auto datagram = Bytes(
        "\0\x02RemoteUpdateDfw\0octet\0blksize\0"
        "1428\0windowsize\0"
        "16\0"sv);
    const auto packet = TftpPacket::Parse(datagram);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->opcode, TftpOpcode::kWriteRequest);
    EXPECT_EQ(packet->file, "RemoteUpdateDfw");
    EXPECT_EQ(packet->mode, "octet");
    EXPECT_THAT(packet->options, ElementsAre(Pair("blksize", "1428"), Pair("windowsize", "16")));
}

TEST(TftpPacketTest, TakesModeAndOptionNamesInAnyCaseAndTheFirstOfTwoOptionsOfOneName) {
    const auto datagram = Bytes(
        "\0\x01status\0OcTeT\0BLKSIZE\0"
        "1024\0blksize\0"
        "8\0"sv);
    const auto packet = TftpPacket::Parse(datagram);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->mode, "octet");
    EXPECT_THAT(packet->options, ElementsAre(Pair("blksize", "1024")));
}

TEST(TftpPacketTest, ReadsDataAckErrorAndOptionAck) {
    const auto data = Bytes("\0\x03\x12\x34payload"sv);
    EXPECT_EQ(TftpPacket::Parse(data)->block, 0x1234);
    EXPECT_EQ(TftpPacket::Parse(data)->data.size(), 7U);
    EXPECT_EQ(TftpPacket::Parse(Bytes("\0\x04\xff\xff"sv))->block, 65535);
    const auto error = TftpPacket::Parse(Bytes("\0\x05\0\x02not allowed\0"sv));
    EXPECT_EQ(error->error.code, TftpErrorCode::kAccessViolation);
    EXPECT_EQ(error->error.text, "not allowed");
    EXPECT_THAT(TftpPacket::Parse(Bytes("\0\x06tsize\0"
                                        "3\0"sv))
                    ->options,
                ElementsAre(Pair("tsize", "3")));
}

TEST(TftpPacketTest, AcceptsAnErrorTextWithoutItsTerminatingZero) {
    EXPECT_EQ(TftpPacket::Parse(Bytes("\0\x05\0\0oops"sv))->error.text, "oops");
}

TEST(TftpPacketTest, RefusesWhatIsNotWellFormed) {
    for (const std::string_view datagram : {
             ""sv,
             "\0"sv,
             "\0\x01"sv,
             "\0\x01status"sv,
             "\0\x01status\0octet"sv,
             "\0\x01\0octet\0"sv,
             "\0\x01status\0octet\0blksize\0"sv,
             "\0\x01status\0octet\0blksize\0"
             "8"sv,
             "\0\x03\0"sv,
             "\0\x04\0"sv,
             "\0\x05\0"sv,
             "\0\x06tsize\0"sv,
             "\0\x06tsize\0"
             "3"sv,
             "\0\0status\0octet\0"sv,
             "\0\x07status\0octet\0"sv,
             "\x01\x01status\0octet\0"sv,
         }) {
        EXPECT_FALSE(TftpPacket::Parse(Bytes(datagram)))
            << testing::PrintToString(std::string(datagram));
    }
}

TEST(TftpPacketTest, EncodesEveryPacketToItsBytes) {
    EXPECT_EQ(TftpPacket::Request(TftpOpcode::kReadRequest, "status", "octet", {{"tsize", "0"}}),
              Bytes("\0\x01status\0octet\0tsize\0"
                    "0\0"sv));
    EXPECT_EQ(TftpPacket::Data(0xABCD, Bytes("xyz"sv)), Bytes("\0\x03\xAB\xCDxyz"sv));
    EXPECT_EQ(TftpPacket::Ack(258), Bytes("\0\x04\x01\x02"sv));
    EXPECT_EQ(TftpPacket::Error({TftpErrorCode::kUnknownTransferId, "who"}),
              Bytes("\0\x05\0\x05who\0"sv));
    EXPECT_EQ(TftpPacket::OptionAck({{"blksize", "512"}, {"timeout", "2"}}), Bytes("\0\x06"
                                                                                   "blksize\0"
                                                                                   "512\0timeout\0"
                                                                                   "2\0"sv));
}

}  // namespace
}  // namespace simulator
