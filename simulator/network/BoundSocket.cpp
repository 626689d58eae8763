#include "BoundSocket.h"

#include <arpa/inet.h>
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
        in_addr network{htonl(address)};
        std::array<char, INET_ADDRSTRLEN> text{};
        inet_ntop(AF_INET, &network, text.data(), text.size());
        why = std::string("cannot ") + what + " " + text.data() + ":" + std::to_string(port) +
              " on " + interfaceName + ": " + std::strerror(errno);
        return false;
    };
    mDescriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (mDescriptor < 0) {
        return fail("make a socket for");
    }
    const int on = 1;
    if (shared && setsockopt(mDescriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) != 0) {
        return fail("share");
    }
    if (setsockopt(mDescriptor, SOL_SOCKET, SO_BINDTODEVICE, interfaceName.c_str(),
                   static_cast<socklen_t>(interfaceName.size())) != 0) {
        return fail("use the interface for");
    }
    const sockaddr_in local = ToSocketAddress(address, port);
    if (bind(mDescriptor, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
        return fail("bind");
    }
    return true;
}

std::optional<Datagram> BoundSocket::Receive() const {
    std::array<std::uint8_t, 65536> buffer;
    sockaddr_in from{};
    socklen_t length = sizeof(from);
    const ssize_t count = recvfrom(mDescriptor, buffer.data(), buffer.size(), 0,
                                   reinterpret_cast<sockaddr*>(&from), &length);
    if (count < 0) {
        return std::nullopt;
    }
    return Datagram{{ntohl(from.sin_addr.s_addr), ntohs(from.sin_port)},
                    {buffer.begin(), buffer.begin() + count}};
}

void BoundSocket::Send(const Datagram& datagram) const {
    const sockaddr_in to = ToSocketAddress(datagram.peer.address, datagram.peer.port);
    (void)sendto(mDescriptor, datagram.bytes.data(), datagram.bytes.size(), 0,
                 reinterpret_cast<const sockaddr*>(&to), sizeof(to));
}

std::uint32_t ParseAddress(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? ntohl(address.s_addr) : 0;
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
