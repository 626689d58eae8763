#include "UdpTftpServer.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

using Datagram = FakeTftpServer::Datagram;
using Clock = FakeTftpServer::Clock;

constexpr std::uint16_t kRequestPort = 69;

}  // namespace

UdpTftpServer::UdpTftpServer(const FakeTftpServer::Behaviour& behaviour, const Faults& faults,
                             unsigned int seed, const std::string& fileToRead)
    : mServer(behaviour), mFaults(faults), mRandom(seed) {
    mServer.fileToRead = fileToRead;
    Open(kRequestPort, {});
    EXPECT_EQ(pipe(mWake), 0);
    mThread = std::thread([this] { Serve(); });
}

UdpTftpServer::~UdpTftpServer() {
    close(mWake[1]);
    mThread.join();
    close(mWake[0]);
    for (const auto& [number, port] : mPorts) {
        close(port.descriptor);
    }
}

std::vector<std::string> UdpTftpServer::Files() {
    const std::lock_guard lock(mMutex);
    return mServer.Files();
}

void UdpTftpServer::Open(std::uint16_t number, const sockaddr_in& client) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(number);
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    mPorts[number] = {descriptor, client};
}

void UdpTftpServer::Serve() {
    for (;;) {
        std::vector<pollfd> entries = {{mWake[0], POLLIN, 0}};
        std::vector<std::uint16_t> numbers = {0};
        for (const auto& [number, port] : mPorts) {
            entries.push_back({port.descriptor, POLLIN, 0});
            numbers.push_back(number);
        }
        // Often enough for the server's timers, which are of a second.
        (void)poll(entries.data(), entries.size(), 10);
        if (entries[0].revents != 0) {
            return;
        }
        const std::lock_guard lock(mMutex);
        for (std::size_t i = 1; i < entries.size(); ++i) {
            if (entries[i].revents != 0) {
                ReceiveFrom(numbers[i]);
            }
        }
        SendAll(mServer.OnTimer(Clock::now()), {});
    }
}

void UdpTftpServer::ReceiveFrom(std::uint16_t number) {
    std::string bytes(65536, '\0');
    Port& port = mPorts[number];
    socklen_t length = sizeof port.client;
    const ssize_t count = recvfrom(port.descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT,
                                   reinterpret_cast<sockaddr*>(&port.client), &length);
    if (count >= 0) {
        bytes.resize(static_cast<std::size_t>(count));
        for (const Datagram& datagram : Disturb({number, bytes}, mHeldIn)) {
            Deliver(datagram);
        }
    }
}

void UdpTftpServer::Deliver(const Datagram& datagram) {
    const sockaddr_in client = mPorts[datagram.port].client;
    const std::vector<Datagram> answers = mServer.OnDatagram(datagram, Clock::now());
    std::this_thread::sleep_for(mServer.AnswerDelay());
    SendAll(answers, client);
}

void UdpTftpServer::SendAll(const std::vector<Datagram>& datagrams, const sockaddr_in& client) {
    for (const Datagram& whole : datagrams) {
        if (!mPorts.contains(whole.port)) {
            Open(whole.port, client);
        }
        for (const Datagram& datagram : Disturb(whole, mHeldOut)) {
            const Port& port = mPorts[datagram.port];
            (void)sendto(port.descriptor, datagram.bytes.data(), datagram.bytes.size(), 0,
                         reinterpret_cast<const sockaddr*>(&port.client), sizeof port.client);
        }
    }
}

std::vector<Datagram> UdpTftpServer::Disturb(const Datagram& datagram,
                                             std::vector<Datagram>& held) {
    const auto happens = [this](double probability) {
        return std::uniform_real_distribution<>(0, 1)(mRandom) < probability;
    };
    std::vector<Datagram> passed;
    const bool lost = happens(mFaults.loss);
    const bool doubled = happens(mFaults.duplication);
    if (!lost && happens(mFaults.reordering) && held.empty()) {
        held.push_back(datagram);
        return passed;
    }
    if (!lost) {
        passed.push_back(datagram);
    }
    if (doubled) {
        passed.push_back(datagram);
    }
    passed.insert(passed.end(), held.begin(), held.end());
    held.clear();
    return passed;
}
