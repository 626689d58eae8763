#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "TftpEndpoint.h"

namespace simulator {

/// A UDP socket, non-blocking, that sends and receives through one interface only.
class TftpSocket {
  public:
    /// @param endpoint port 0: one that the system chooses
    /// @param interfaceName bound to it with SO_BINDTODEVICE, unless empty
    /// @param[out] error the errno, set when nothing is returned
    [[nodiscard]] static std::optional<TftpSocket> Open(const TftpEndpoint& endpoint,
                                                        const std::string& interfaceName,
                                                        int& error);
    ~TftpSocket();
    TftpSocket(TftpSocket&& other) noexcept;
    TftpSocket& operator=(TftpSocket&& other) noexcept;

    [[nodiscard]] int Descriptor() const { return mDescriptor; }
    [[nodiscard]] std::uint16_t Port() const;
    /// The receive buffer in bytes, as the kernel accounts for it.
    [[nodiscard]] unsigned int ReceiveBuffer() const;
    /// Never blocks; a datagram that cannot be sent is lost, as on the wire.
    void Send(const TftpEndpoint& to, std::span<const std::uint8_t> datagram) const;
    /// @return number of bytes of the datagram; nothing when none waits
    [[nodiscard]] std::optional<std::size_t> Receive(std::span<std::uint8_t> into,
                                                     TftpEndpoint& from) const;

  private:
    explicit TftpSocket(int descriptor) : mDescriptor(descriptor) {}

    int mDescriptor;
};

}  // namespace simulator
