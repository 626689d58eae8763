#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// A bare GVCP application for tests: one socket on loopback, commands and answers in hex.
class GvcpClient {
  public:
    /// @param interfaceName,source what the socket is bound to
    explicit GvcpClient(const std::string& device = "127.0.0.1",
                        const std::string& interfaceName = "lo",
                        const std::string& source = "127.0.0.1");
    ~GvcpClient();
    GvcpClient(const GvcpClient&) = delete;
    GvcpClient& operator=(const GvcpClient&) = delete;

    void Send(const std::string& hex) { SendTo(mDevice, hex); }
    void SendTo(const std::string& address, const std::string& hex);
    /// The next datagram; nothing when none comes in time.
    std::optional<std::string> Receive(int milliseconds = 2000);

    /// A command with a new id, repeated until it is answered: "status command length payload" of
    /// its ack; empty if none came within `tries` of 500 ms.
    std::string Ask(const std::string& command, const std::string& payload, int tries = 5);
    /// A register's value; nothing when there was no answer or a refusal.
    std::optional<std::uint32_t> Read(std::uint32_t address, int tries = 5);
    /// @return the status; 0xffff when there was no answer
    std::uint16_t Write(std::uint32_t address, std::uint32_t value, int tries = 5);

    /// By file access over the plain registers: control, open, chunks, close.
    /// @return whether every step was answered and succeeded
    bool Upload(const std::string& payload, std::uint32_t bufferSize);

  private:
    const std::string mDevice;
    int mSocket = -1;
    std::uint16_t mId = 0;
};
