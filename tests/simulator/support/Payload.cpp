#include "Payload.h"

#include <cstddef>

namespace {

std::string Big(std::uint64_t value, int size) {
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(value >> static_cast<unsigned int>(shift) & 0xffU));
    }
    return bytes;
}

}  // namespace

std::string Payload::Encode() const {
    std::string paddedFamily = family;
    paddedFamily.resize(32, '\0');
    const std::string head = "MDFW" + Big(1, 2) + Big(kind, 2) + Big(64, 4) + Big(body.size(), 8) +
                             Big(BitwiseCrc32(body), 4) + paddedFamily + Big(majorNumber, 2) +
                             Big(minorNumber, 2);
    return head + Big(BitwiseCrc32(head), 4) + body;
}

std::uint32_t BitwiseCrc32(const std::string& bytes) {
    std::uint32_t remainder = 0xffffffffU;
    for (const char character : bytes) {
        remainder ^= static_cast<unsigned char>(character);
        for (int bit = 0; bit < 8; ++bit) {
            remainder = (remainder & 1U) != 0 ? remainder >> 1U ^ 0xedb88320U : remainder >> 1U;
        }
    }
    return ~remainder;
}
