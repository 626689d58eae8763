#include "FUUnicode.h"

#include <NxBase/PrintableText.h>

namespace NxGenICamLib {

FUCharacter DecodeUtf8(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return {};
    }
    unsigned int value = lead & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        const auto byte = static_cast<unsigned char>(text[index]);
        if ((byte & 0xC0U) != 0x80) {
            return {};
        }
        value = value << 6U | (byte & 0x3FU);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (overlong || surrogate || value > 0x10FFFF) {
        return {};
    }
    return {value, length};
}

bool IsXmlCharacter(unsigned int value) {
    if (value < 0x20) {
        return value == 0x09 || value == 0x0A || value == 0x0D;
    }
    return value <= 0xD7FF || (value >= 0xE000 && value <= 0xFFFD) ||
           (value >= 0x10000 && value <= 0x10FFFF);
}

std::string Quoted(std::string_view text) {
    static constexpr std::size_t kLongest = 60;
    return '"' + PrintableText(text, kLongest) + '"';
}

}  // namespace NxGenICamLib
