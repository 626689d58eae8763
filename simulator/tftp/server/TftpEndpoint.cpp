#include "TftpEndpoint.h"

#include <arpa/inet.h>

namespace simulator {

std::string TftpEndpoint::Text() const {
    return std::to_string(address >> 24U) + "." + std::to_string(address >> 16U & 0xFFU) + "." +
           std::to_string(address >> 8U & 0xFFU) + "." + std::to_string(address & 0xFFU) + ":" +
           std::to_string(port);
}

std::optional<TftpEndpoint> TftpEndpoint::Parse(const std::string& address, std::uint16_t port) {
    in_addr parsed{};
    if (inet_pton(AF_INET, address.c_str(), &parsed) != 1) {
        return std::nullopt;
    }
    return TftpEndpoint{ntohl(parsed.s_addr), port};
}

}  // namespace simulator
