#include "Peer.h"

#include <arpa/inet.h>

namespace simulator {

std::string Peer::Text() const {
    return FormatAddress(address) + ":" + std::to_string(port);
}

std::string FormatAddress(std::uint32_t address) {
    std::string text;
    for (const unsigned int shift : {24U, 16U, 8U, 0U}) {
        text += std::to_string(address >> shift & 0xffU) + (shift != 0 ? "." : "");
    }
    return text;
}

std::optional<std::uint32_t> ParseAddress(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? std::optional(ntohl(address.s_addr))
                                                           : std::nullopt;
}

}  // namespace simulator
