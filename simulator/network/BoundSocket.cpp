#include "BoundSocket.h"

#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace simulator {

namespace {

// A window of large blocks arrives in one burst; the kernel grants less where it must.
constexpr int kWantedReceiveBuffer = 1 << 22;

sockaddr_in ToSocketAddress(std::uint32_t address, std::uint16_t port) {
    sockaddr_in socketAddress{};
    socketAddress.sin_family = AF_INET;
    socketAddress.sin_addr.s_addr = htonl(address);
    socketAddress.sin_port = htons(port);
    return socketAddress;
}

std::uint32_t HostAddress(const sockaddr* address) {
    sockaddr_in copy{};
    std::memcpy(&copy, address, sizeof(copy));
    return ntohl(copy.sin_addr.s_addr);
}

}  // namespace

BoundSocket::~BoundSocket() {
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
}

BoundSocket::BoundSocket(BoundSocket&& other) noexcept
    : mDescriptor(std::exchange(other.mDescriptor, -1)) {}

BoundSocket& BoundSocket::operator=(BoundSocket&& other) noexcept {
    std::swap(mDescriptor, other.mDescriptor);
    return *this;
}

bool BoundSocket::Open(const std::string& interfaceName, std::uint32_t address, std::uint16_t port,
                       bool shared, std::string& why) {
    const auto fail = [&](const char* what) {
        const int error = errno;
        why = std::string("cannot ") + what + " " + Peer{address, port}.Text() + " on " +
              interfaceName + ": " + std::strerror(error);
        errno = error;
        return false;
    };
    mDescriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (mDescriptor < 0) {
        return fail("create a socket for");
    }
    const int on = 1;
    if (shared && setsockopt(mDescriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0) {
        return fail("share");
    }
    (void)setsockopt(mDescriptor, SOL_SOCKET, SO_BROADCAST, &on, sizeof(on));
    (void)setsockopt(mDescriptor, SOL_SOCKET, SO_RCVBUF, &kWantedReceiveBuffer,
                     sizeof(kWantedReceiveBuffer));
    if (!interfaceName.empty() &&
        setsockopt(mDescriptor, SOL_SOCKET, SO_BINDTODEVICE, interfaceName.c_str(),
                   static_cast<socklen_t>(interfaceName.size())) != 0) {
        return fail("use the interface for");
    }
    const sockaddr_in local = ToSocketAddress(address, port);
    if (bind(mDescriptor, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
        return fail("bind");
    }
    return true;
}

std::uint16_t BoundSocket::Port() const {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    (void)getsockname(mDescriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

unsigned int BoundSocket::ReceiveBuffer() const {
    int bytes = 0;
    socklen_t size = sizeof(bytes);
    (void)getsockopt(mDescriptor, SOL_SOCKET, SO_RCVBUF, &bytes, &size);
    return bytes > 0 ? static_cast<unsigned int>(bytes) : 0;
}

std::optional<Datagram> BoundSocket::Receive() const {
    std::array<std::uint8_t, 65536> buffer;  // NOLINT: 64 KiB need no zeros
    sockaddr_in from{};
    socklen_t length = sizeof(from);
    ssize_t count = -1;
    do {
        count = recvfrom(mDescriptor, buffer.data(), buffer.size(), 0,
                         reinterpret_cast<sockaddr*>(&from), &length);
    } while (count < 0 && (errno == EINTR || errno == ECONNREFUSED));
    if (count < 0) {
        return std::nullopt;
    }
    return Datagram{{ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)},
                    {buffer.begin(), buffer.begin() + count}};
}

void BoundSocket::Send(const Peer& to, std::span<const std::uint8_t> bytes) const {
    const sockaddr_in address = ToSocketAddress(to.address, to.port);
    (void)sendto(mDescriptor, bytes.data(), bytes.size(), 0,
                 reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

Subnet FindSubnet(const std::string& interfaceName, std::uint32_t address) {
    Subnet subnet;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return subnet;
    }
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_netmask == nullptr ||
            entry->ifa_addr->sa_family != AF_INET || interfaceName != entry->ifa_name) {
            continue;
        }
        const std::uint32_t mask = HostAddress(entry->ifa_netmask);
        // Loopback answers for every address of its network, not only for those it lists.
        if ((HostAddress(entry->ifa_addr) & mask) == (address & mask)) {
            subnet.mask = mask;
            subnet.broadcast = address | ~mask;
            break;
        }
    }
    freeifaddrs(list);
    return subnet;
}

}  // namespace simulator
