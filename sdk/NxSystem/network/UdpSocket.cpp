#include <internal/NxSystem/UdpSocket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <NxBase/NxResultCodes.h>

#include <internal/NxSystem/NetworkInterface.h>

#include "ReplyTimes.h"

namespace {

sockaddr_in SocketAddress(std::uint32_t address, std::uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_addr.s_addr = htonl(address);
    result.sin_port = htons(port);
    return result;
}

constexpr std::chrono::milliseconds kShortestBlocking{16};

bool IsTransient(int error) {
    return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

UdpSocket::UdpSocket() : mReplyTimes(std::make_unique<ReplyTimes>()) {}

UdpSocket::~UdpSocket() {
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
}

NxResult UdpSocket::Open(const std::string& interfaceName, std::uint32_t localAddress) {
    mInterfaceName = interfaceName;
    const std::string where = interfaceName.empty() ? "the network" : "interface " + interfaceName;
    const auto failure = [&where](const char* step) {
        return NxResult(kNxSocket, "Cannot use " + where + ": " + step + ": " + strerror(errno));
    };
    mDescriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (mDescriptor < 0) {
        return failure("socket");
    }
    const int on = 1;
    if (setsockopt(mDescriptor, SOL_SOCKET, SO_BROADCAST, &on, sizeof on) != 0) {
        return failure("broadcast");
    }
    if (!interfaceName.empty() &&
        setsockopt(mDescriptor, SOL_SOCKET, SO_BINDTODEVICE, interfaceName.c_str(),
                   static_cast<socklen_t>(interfaceName.size())) != 0) {
        return failure("bind to interface");
    }
    const sockaddr_in local = SocketAddress(localAddress, 0);
    if (bind(mDescriptor, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        return failure("bind to address");
    }
    return NxResult();
}

std::size_t UdpSocket::RequestReceiveBuffer(std::size_t bytes) {
    int value = static_cast<int>(std::min<std::size_t>(bytes, 1U << 30U));
    (void)setsockopt(mDescriptor, SOL_SOCKET, SO_RCVBUF, &value, sizeof value);
    socklen_t length = sizeof value;
    if (getsockopt(mDescriptor, SOL_SOCKET, SO_RCVBUF, &value, &length) != 0 || value < 0) {
        return 0;
    }
    return static_cast<std::size_t>(value);
}

NxResult UdpSocket::Send(const Endpoint& to, std::span<const std::byte> datagram) {
    const sockaddr_in address = SocketAddress(to.address, to.port);
    ++mSentInARow;
    for (;;) {
        const ssize_t sent = sendto(mDescriptor, datagram.data(), datagram.size(), 0,
                                    reinterpret_cast<const sockaddr*>(&address), sizeof address);
        if (sent >= 0) {
            return NxResult();
        }
        if (errno == EINTR) {
            continue;
        }
        // A full queue loses the datagram as a busy network would.
        if (errno == ENOBUFS || errno == EAGAIN) {
            return NxResult();
        }
        return NxResult(kNxSocket, "Cannot send to " + FormatAddress(to.address) +
                                       (mInterfaceName.empty() ? "" : " on " + mInterfaceName) +
                                       ": " + strerror(errno));
    }
}

NxResult UdpSocket::Receive(std::span<std::byte> buffer, Clock::time_point deadline,
                            std::size_t& length, Endpoint& from, bool& timedOut) {
    timedOut = false;
    const Clock::time_point start = Clock::now();
    const ReplyTimes::Span atOnce = mReplyTimes->AtOnce();
    const ReplyTimes::Span whenDue = mReplyTimes->WhenDue();
    Clock::duration longestTurn{0};
    for (;;) {
        const Clock::time_point now = Clock::now();
        const Clock::duration waited = now - start;
        const Clock::duration remaining = deadline - now;
        const bool polls = atOnce.Contains(waited) || whenDue.Contains(waited);
        const bool blocks = !polls && waited >= whenDue.until && remaining >= kShortestBlocking &&
                            LimitBlocking(remaining);
        if (!polls && !blocks && remaining.count() > 0) {
            AwaitDatagram(waited < whenDue.from ? std::min(whenDue.from - waited, remaining)
                                                : remaining);
        }
        sockaddr_in sender{};
        socklen_t senderLength = sizeof sender;
        const ssize_t count =
            recvfrom(mDescriptor, buffer.data(), buffer.size(), blocks ? 0 : MSG_DONTWAIT,
                     reinterpret_cast<sockaddr*>(&sender), &senderLength);
        if (count >= 0) {
            length = static_cast<std::size_t>(count);
            from = Endpoint{ntohl(sender.sin_addr.s_addr), ntohs(sender.sin_port)};
            if (longestTurn.count() > 0) {
                mReplyTimes->LearnFromPolling(longestTurn, mSentInARow);
            }
            // What is taken without waiting was there before, no reply to what was sent last.
            if (deadline > start) {
                mReplyTimes->Learn((polls ? now : Clock::now()) - start);
                mSentInARow = 0;
            }
            return NxResult();
        }
        if (!IsTransient(errno)) {
            return NxResult(kNxSocket,
                            "Cannot receive" +
                                (mInterfaceName.empty() ? std::string() : " on " + mInterfaceName) +
                                ": " + strerror(errno));
        }
        if (remaining.count() <= 0) {
            timedOut = true;
            return NxResult();
        }
        if (polls) {
            sched_yield();
            longestTurn = std::max(longestTurn, Clock::now() - now);
        }
    }
}

void UdpSocket::AwaitDatagram(Clock::duration time) const {
    const auto wait = std::chrono::duration_cast<std::chrono::nanoseconds>(time).count();
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    const timespec limit{wait / kNanoseconds, wait % kNanoseconds};
    pollfd entry{mDescriptor, POLLIN, 0};
    (void)ppoll(&entry, 1, &limit, nullptr);
}

// The system rounds the limit up to its clock's ticks, some milliseconds; so not the whole time.
bool UdpSocket::LimitBlocking(Clock::duration time) {
    const auto longest = std::chrono::duration_cast<std::chrono::microseconds>(time) / 2;
    if (mBlockingLimit >= longest / 2 && mBlockingLimit <= longest) {
        return true;
    }
    constexpr std::int64_t kMicroseconds = 1'000'000;
    const timeval limit{longest.count() / kMicroseconds, longest.count() % kMicroseconds};
    if (setsockopt(mDescriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0) {
        return false;
    }
    mBlockingLimit = longest;
    return true;
}
