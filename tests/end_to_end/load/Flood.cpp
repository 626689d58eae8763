// flood ADDRESS FIRST-PORT LAST-PORT RATE: sends so many datagrams a second to these ports in turn,
// until it is ended by SIGTERM; then prints one line of JSON: how many were sent, in which time.
// What is sent looks like answers to GVCP and TFTP that nobody asked for.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <random>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kAtATime = 64;

volatile std::sig_atomic_t ended = 0;

struct Stray {
    std::array<std::uint8_t, 256> bytes{};
    std::size_t size = 0;
};

Stray MakeStray(std::mt19937& random) {
    Stray stray;
    for (std::uint8_t& byte : stray.bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    switch (random() % 4) {
        case 0:  // a GVCP discovery ack with a random ID
            stray.size = 256;
            std::memcpy(stray.bytes.data(), "\0\0\0\x03\0\xf8", 6);
            break;
        case 1:  // a GVCP WRITEREG ack
            stray.size = 12;
            std::memcpy(stray.bytes.data(), "\0\0\0\x83\0\4", 6);
            break;
        case 2:  // a TFTP ACK of a random block
            stray.size = 4;
            std::memcpy(stray.bytes.data(), "\0\4", 2);
            break;
        default:
            stray.size = random() % stray.bytes.size();
    }
    return stray;
}

class Batch {
  public:
    Batch(const std::string& address, unsigned int firstPort, unsigned int lastPort) {
        std::mt19937 random(1);
        unsigned int port = firstPort;
        for (std::size_t i = 0; i < kAtATime; ++i) {
            mStrays[i] = MakeStray(random);
            mTargets[i].sin_family = AF_INET;
            mTargets[i].sin_port = htons(static_cast<std::uint16_t>(port));
            (void)inet_pton(AF_INET, address.c_str(), &mTargets[i].sin_addr);
            port = port == lastPort ? firstPort : port + 1;
            mParts[i] = {mStrays[i].bytes.data(), mStrays[i].size};
            mMessages[i].msg_hdr.msg_name = &mTargets[i];
            mMessages[i].msg_hdr.msg_namelen = sizeof mTargets[i];
            mMessages[i].msg_hdr.msg_iov = &mParts[i];
            mMessages[i].msg_hdr.msg_iovlen = 1;
        }
    }

    std::uint64_t SendOn(int socket) {
        const int sent = sendmmsg(socket, mMessages.data(), kAtATime, 0);
        return static_cast<std::uint64_t>(std::max(sent, 0));
    }

  private:
    std::array<Stray, kAtATime> mStrays;
    std::array<sockaddr_in, kAtATime> mTargets{};
    std::array<iovec, kAtATime> mParts{};
    std::array<mmsghdr, kAtATime> mMessages{};
};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 5) {
        return 2;
    }
    std::signal(SIGTERM, [](int) { ended = 1; });
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    Batch batch(arguments[1], static_cast<unsigned int>(std::stoul(arguments[2])),
                static_cast<unsigned int>(std::stoul(arguments[3])));
    const double rate = std::stod(arguments[4]);
    const auto start = Clock::now();
    std::uint64_t sent = 0;
    std::uint64_t tries = 0;
    while (ended == 0) {
        sent += batch.SendOn(socket);
        tries += kAtATime;
        // Behind its time it goes on at once.
        std::this_thread::sleep_until(
            start + std::chrono::duration_cast<Clock::duration>(
                        std::chrono::duration<double>(static_cast<double>(tries) / rate)));
    }
    const std::chrono::duration<double> time = Clock::now() - start;
    std::cout << "{\"sent\": " << sent << ", \"seconds\": " << time.count() << "}\n";
    return 0;
}
