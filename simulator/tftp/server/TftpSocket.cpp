#include "TftpSocket.h"

#include <cerrno>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace simulator {

namespace {

// A window of large blocks arrives in one burst; the kernel grants less where it must.
constexpr int kWantedReceiveBuffer = 1 << 22;

sockaddr_in SocketAddress(const TftpEndpoint& endpoint) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(endpoint.address);
    address.sin_port = htons(endpoint.port);
    return address;
}

}  // namespace

std::optional<TftpSocket> TftpSocket::Open(const TftpEndpoint& endpoint,
                                           const std::string& interfaceName, int& error) {
    TftpSocket made(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_in address = SocketAddress(endpoint);
    (void)setsockopt(made.mDescriptor, SOL_SOCKET, SO_RCVBUF, &kWantedReceiveBuffer,
                     sizeof kWantedReceiveBuffer);
    const bool onDevice =
        interfaceName.empty() ||
        setsockopt(made.mDescriptor, SOL_SOCKET, SO_BINDTODEVICE, interfaceName.c_str(),
                   static_cast<socklen_t>(interfaceName.size())) == 0;
    if (!onDevice ||
        bind(made.mDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        error = errno;
        return std::nullopt;
    }
    return made;
}

TftpSocket::~TftpSocket() {
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
}

TftpSocket::TftpSocket(TftpSocket&& other) noexcept
    : mDescriptor(std::exchange(other.mDescriptor, -1)) {}

TftpSocket& TftpSocket::operator=(TftpSocket&& other) noexcept {
    std::swap(mDescriptor, other.mDescriptor);
    return *this;
}

std::uint16_t TftpSocket::Port() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    (void)getsockname(mDescriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

unsigned int TftpSocket::ReceiveBuffer() const {
    int bytes = 0;
    socklen_t size = sizeof bytes;
    (void)getsockopt(mDescriptor, SOL_SOCKET, SO_RCVBUF, &bytes, &size);
    return bytes > 0 ? static_cast<unsigned int>(bytes) : 0;
}

void TftpSocket::Send(const TftpEndpoint& to, std::span<const std::uint8_t> datagram) const {
    const sockaddr_in address = SocketAddress(to);
    (void)sendto(mDescriptor, datagram.data(), datagram.size(), 0,
                 reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

std::optional<std::size_t> TftpSocket::Receive(std::span<std::uint8_t> into,
                                               TftpEndpoint& from) const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ssize_t count = -1;
    do {
        count = recvfrom(mDescriptor, into.data(), into.size(), 0,
                         reinterpret_cast<sockaddr*>(&address), &size);
    } while (count < 0 && (errno == EINTR || errno == ECONNREFUSED));
    if (count < 0) {
        return std::nullopt;
    }
    from = {ntohl(address.sin_addr.s_addr), ntohs(address.sin_port)};
    return static_cast<std::size_t>(count);
}

}  // namespace simulator
