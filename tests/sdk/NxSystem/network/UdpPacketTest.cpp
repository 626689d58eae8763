#include "network/UdpPacket.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace {

// 10.9.9.2:3956 to 255.255.255.255:5555, "ack" and a frame's padding.
std::vector<std::byte> Packet() {
    constexpr std::array<int, 35> kBytes{
        0x45, 0,   0,    31,   0x59, 0x5e, 0x40, 0,  0x40, 17, 0xce, 0x66, 10,  9, 9, 2, 255, 255,
        255,  255, 0x0f, 0x74, 0x15, 0xb3, 0,    11, 0,    0,  'a',  'c',  'k', 0, 0, 0, 0};
    std::vector<std::byte> bytes;
    for (const int byte : kBytes) {
        bytes.push_back(static_cast<std::byte>(byte));
    }
    return bytes;
}

bool IsTaken(const std::vector<std::byte>& packet) {
    return UdpPacket::Parse(packet).has_value();
}

}  // namespace

TEST(UdpPacketTest, SaysWhoSentWhatFromWhichPort) {
    const std::vector<std::byte> bytes = Packet();
    const auto packet = UdpPacket::Parse(bytes);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->sender, 0x0a090902U);
    EXPECT_EQ(packet->sourcePort, 3956);
    EXPECT_EQ(packet->destinationPort, 5555);
    ASSERT_EQ(packet->payload.size(), 3U);
    EXPECT_EQ(packet->payload[0], std::byte{'a'});
}

TEST(UdpPacketTest, SkipsTheOptionsOfTheHeader) {
    std::vector<std::byte> bytes = Packet();
    bytes.insert(bytes.begin() + 20, 4, std::byte{1});
    bytes[0] = std::byte{0x46};
    const auto packet = UdpPacket::Parse(bytes);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->sourcePort, 3956);
    EXPECT_EQ(packet->payload.size(), 3U);
}

TEST(UdpPacketTest, TakesNoPacketThatIsCut) {
    const std::vector<std::byte> whole = Packet();
    for (std::size_t length = 0; length < 31; ++length) {
        // A copy of just that size, so that a sanitizer sees a read past its end.
        EXPECT_FALSE(IsTaken({whole.begin(), whole.begin() + static_cast<long>(length)})) << length;
    }
    EXPECT_TRUE(IsTaken({whole.begin(), whole.begin() + 31}));
}

TEST(UdpPacketTest, TakesNothingButWholeUdpOverIpv4) {
    const auto changed = [](std::size_t at, int value) {
        std::vector<std::byte> bytes = Packet();
        bytes[at] = static_cast<std::byte>(value);
        return bytes;
    };
    EXPECT_FALSE(IsTaken(changed(0, 0x65))) << "version";
    EXPECT_FALSE(IsTaken(changed(0, 0x44))) << "header of 16 bytes";
    EXPECT_FALSE(IsTaken(changed(0, 0x4f))) << "header of 60 bytes";
    EXPECT_FALSE(IsTaken(changed(9, 6))) << "TCP";
    EXPECT_FALSE(IsTaken(changed(6, 0x20))) << "first fragment";
    EXPECT_FALSE(IsTaken(changed(7, 1))) << "later fragment";
    EXPECT_FALSE(IsTaken(changed(25, 7))) << "shorter than its own header";
    EXPECT_FALSE(IsTaken(changed(24, 1))) << "longer than the packet";
}
