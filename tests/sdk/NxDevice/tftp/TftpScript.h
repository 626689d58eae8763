#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <internal/NxSystem/DatagramSocket.h>

/// Packets and endpoints for scripted transfers, put together without the code under test.
namespace TftpScript {

inline const Endpoint kServer{0xC0A80114, 69};
inline const Endpoint kPeer{0xC0A80114, 4711};
inline const Endpoint kForeignPort{0xC0A80114, 4712};
inline const Endpoint kForeignAddress{0xC0A80115, 4711};

inline std::string Number(std::uint16_t number) {
    return {static_cast<char>(number >> 8U), static_cast<char>(number & 0xFFU)};
}

inline std::string Terminated(const std::vector<std::string>& texts) {
    std::string bytes;
    for (const std::string& text : texts) {
        bytes += text + '\0';
    }
    return bytes;
}

inline std::string ReadRequest(const std::vector<std::string>& options) {
    return Number(1) + Terminated({"file", "octet"}) + Terminated(options);
}
inline std::string WriteRequest(const std::vector<std::string>& options) {
    return Number(2) + Terminated({"file", "octet"}) + Terminated(options);
}
inline std::string Data(std::uint16_t block, const std::string& data) {
    return Number(3) + Number(block) + data;
}
inline std::string Ack(std::uint16_t block) {
    return Number(4) + Number(block);
}
inline std::string Error(std::uint16_t code, const std::string& text) {
    return Number(5) + Number(code) + Terminated({text});
}
inline std::string OptionAck(const std::vector<std::string>& options) {
    return Number(6) + Terminated(options);
}

}  // namespace TftpScript
