#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <NxBase/NxResultCodes.h>

#include <NxSystem/UdpSocket.h>

namespace {

using namespace std::chrono_literals;

Endpoint LocalEnd(const UdpSocket& socket) {
    sockaddr_in name{};
    socklen_t length = sizeof name;
    getsockname(socket.Descriptor(), reinterpret_cast<sockaddr*>(&name), &length);
    return {ntohl(name.sin_addr.s_addr), ntohs(name.sin_port)};
}

}  // namespace

TEST(UdpSocketTest, CarriesDatagramsAndTellsTheirSender) {
    UdpSocket sender;
    UdpSocket receiver;
    ASSERT_TRUE(sender.Open("lo", 0x7f000001).IsOK());
    ASSERT_TRUE(receiver.Open("", 0x7f000001).IsOK());
    const std::array<std::byte, 3> sent{std::byte{1}, std::byte{2}, std::byte{3}};
    ASSERT_TRUE(sender.Send(LocalEnd(receiver), sent).IsOK());

    std::array<std::byte, 16> buffer{};
    std::size_t length = 0;
    Endpoint from;
    bool timedOut = true;
    ASSERT_TRUE(
        receiver.Receive(buffer, UdpSocket::Clock::now() + 5s, length, from, timedOut).IsOK());
    EXPECT_FALSE(timedOut);
    ASSERT_EQ(length, sent.size());
    EXPECT_EQ(std::memcmp(buffer.data(), sent.data(), sent.size()), 0);
    EXPECT_EQ(from, LocalEnd(sender));
}

TEST(UdpSocketTest, WaitsNoLongerThanTheDeadline) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Open("lo", 0x7f000001).IsOK());
    std::array<std::byte, 16> buffer{};
    std::size_t length = 0;
    Endpoint from;
    bool timedOut = false;
    const auto start = UdpSocket::Clock::now();
    ASSERT_TRUE(socket.Receive(buffer, start + 20ms, length, from, timedOut).IsOK());
    EXPECT_TRUE(timedOut);
    EXPECT_GE(UdpSocket::Clock::now() - start, 20ms);
}

TEST(UdpSocketTest, NamesTheInterfaceThatItCannotUse) {
    UdpSocket socket;
    const NxResult result = socket.Open("eth99", 0);
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_NE(std::string(result.GetDescription().GetAscii()).find("eth99"), std::string::npos);
}

TEST(UdpSocketTest, ReportsASendThatTheSystemRefuses) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Open("", 0).IsOK());
    const std::array<std::byte, 1> datagram{};
    // The test's network has no route but loopback's.
    const NxResult result = socket.Send({0xc0a80114, 3956}, datagram);
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_NE(std::string(result.GetDescription().GetAscii()).find("192.168.1.20"),
              std::string::npos);
}
