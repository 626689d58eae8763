#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <NxBase/NxResultCodes.h>

#include <internal/NxSystem/UdpSocket.h>

#include "Process.h"

namespace {

using namespace std::chrono_literals;

Endpoint LocalEnd(const UdpSocket& socket) {
    sockaddr_in name{};
    socklen_t length = sizeof name;
    getsockname(socket.Descriptor(), reinterpret_cast<sockaddr*>(&name), &length);
    return {ntohl(name.sin_addr.s_addr), ntohs(name.sin_port)};
}

bool IsAsleep(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string stat;
    std::getline(file, stat);
    const std::size_t name = stat.rfind(") ");
    return name != std::string::npos && stat.substr(name + 2, 1) == "S";
}

// Receives with a deadline ten seconds ahead what is sent as soon as the receiver waits in the
// system.
void ReceiveWhatComesMeanwhile(UdpSocket& receiver) {
    const std::array<std::byte, 1> sent{std::byte{7}};
    std::thread sender([&, waiting = gettid()] {
        UdpSocket socket;
        EXPECT_TRUE(socket.Open("lo", 0x7f000001).IsOK());
        EXPECT_TRUE(WaitUntil([waiting] { return IsAsleep(waiting); }));
        EXPECT_TRUE(socket.Send(LocalEnd(receiver), sent).IsOK());
    });
    std::array<std::byte, 16> buffer{};
    std::size_t length = 0;
    Endpoint from;
    bool timedOut = false;
    const auto deadline = UdpSocket::Clock::now() + 10s;
    EXPECT_TRUE(receiver.Receive(buffer, deadline, length, from, timedOut).IsOK());
    EXPECT_LT(UdpSocket::Clock::now(), deadline);
    sender.join();
    EXPECT_FALSE(timedOut);
    EXPECT_EQ(length, 1U);
    EXPECT_EQ(buffer[0], sent[0]);
}

bool TimesOut(UdpSocket& socket, UdpSocket::Clock::duration time) {
    std::array<std::byte, 16> buffer{};
    std::size_t length = 0;
    Endpoint from;
    bool timedOut = false;
    EXPECT_TRUE(
        socket.Receive(buffer, UdpSocket::Clock::now() + time, length, from, timedOut).IsOK());
    return timedOut;
}

// How long it takes until nothing has come within that time.
UdpSocket::Clock::duration TimeOut(UdpSocket& socket, UdpSocket::Clock::duration time) {
    const auto start = UdpSocket::Clock::now();
    EXPECT_TRUE(TimesOut(socket, time));
    return UdpSocket::Clock::now() - start;
}

// From a device that takes that time for each.
void ReceiveReplies(UdpSocket& receiver, int replies, std::chrono::milliseconds time) {
    std::thread device([=, end = LocalEnd(receiver)] {
        UdpSocket socket;
        EXPECT_TRUE(socket.Open("lo", 0x7f000001).IsOK());
        for (int i = 0; i < replies; ++i) {
            std::this_thread::sleep_for(time);
            EXPECT_TRUE(socket.Send(end, std::array{std::byte{7}}).IsOK());
        }
    });
    for (int i = 0; i < replies; ++i) {
        EXPECT_FALSE(TimesOut(receiver, 10s));
    }
    device.join();
}

std::chrono::nanoseconds ThreadCpuTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
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

TEST(UdpSocketTest, TakesADatagramThatComesWhileItWaits) {
    UdpSocket receiver;
    ASSERT_TRUE(receiver.Open("lo", 0x7f000001).IsOK());
    ReceiveWhatComesMeanwhile(receiver);
}

TEST(UdpSocketTest, WaitsNoLongerThanTheDeadline) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Open("lo", 0x7f000001).IsOK());
    EXPECT_GE(TimeOut(socket, 20ms), 20ms);
}

TEST(UdpSocketTest, KeepsToEachDeadlineWhateverTheOneBefore) {
    UdpSocket socket;
    ASSERT_TRUE(socket.Open("lo", 0x7f000001).IsOK());
    ReceiveWhatComesMeanwhile(socket);
    // The system would still wait for some seconds.
    const auto afterALongOne = TimeOut(socket, 40ms);
    EXPECT_GE(afterALongOne, 40ms);
    EXPECT_LT(afterALongOne, 2s);
    EXPECT_GE(TimeOut(socket, 150ms), 150ms);
    EXPECT_GE(TimeOut(socket, 100ms), 100ms);
}

TEST(UdpSocketTest, KeepsToADeadlineBeforeTheReplyIsDue) {
    UdpSocket receiver;
    ASSERT_TRUE(receiver.Open("lo", 0x7f000001).IsOK());
    ReceiveReplies(receiver, 1, 500ms);
    const auto taken = TimeOut(receiver, 20ms);
    EXPECT_GE(taken, 20ms);
    EXPECT_LT(taken, 400ms);
}

TEST(UdpSocketTest, SleepsWhileASlowDeviceTakesItsTime) {
    UdpSocket receiver;
    ASSERT_TRUE(receiver.Open("lo", 0x7f000001).IsOK());
    const auto start = UdpSocket::Clock::now();
    const auto before = ThreadCpuTime();
    ReceiveReplies(receiver, 300, 1ms);
    const auto taken = ThreadCpuTime() - before;
    const auto elapsed = UdpSocket::Clock::now() - start;
#ifndef MIRSKO_SANITIZED
    EXPECT_LT(taken * 4, elapsed);
#else
    // There, also sending, receiving and sleeping take their multiple.
    EXPECT_LT(taken * 2, elapsed);
#endif
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
