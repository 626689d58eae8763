#include "RawClient.h"

#include <cstring>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

sockaddr_in Loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

}  // namespace

RawClient::RawClient() : mDescriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in address = Loopback(0);
    EXPECT_EQ(bind(mDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

RawClient::~RawClient() {
    close(mDescriptor);
}

void RawClient::Send(std::uint16_t port, const Bytes& datagram) const {
    const sockaddr_in address = Loopback(port);
    EXPECT_EQ(sendto(mDescriptor, datagram.data(), datagram.size(), 0,
                     reinterpret_cast<const sockaddr*>(&address), sizeof address),
              static_cast<ssize_t>(datagram.size()));
}

RawClient::Bytes RawClient::Receive(std::chrono::milliseconds limit) {
    pollfd waiting{mDescriptor, POLLIN, 0};
    if (poll(&waiting, 1, static_cast<int>(limit.count())) != 1) {
        return {};
    }
    Bytes datagram(65536);
    sockaddr_in address{};
    socklen_t size = sizeof address;
    const ssize_t count = recvfrom(mDescriptor, datagram.data(), datagram.size(), 0,
                                   reinterpret_cast<sockaddr*>(&address), &size);
    datagram.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    mFrom = ntohs(address.sin_port);
    return datagram;
}
