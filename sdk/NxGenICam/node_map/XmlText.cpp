#include "XmlText.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int kMostAttributes = 100;
constexpr std::size_t kLongestTag = std::size_t{1} << 20U;
constexpr std::size_t kNone = std::string_view::npos;
constexpr char32_t kNoCharacter = 0xFFFF;

bool IsLittle(std::string_view text) {
    return text.starts_with("\xFF\xFE") || text.starts_with(std::string_view("<\0", 2));
}

std::size_t PastEnd(std::string_view text, std::string_view last, std::size_t at) {
    const std::size_t found = text.find(last, at);
    return found == kNone ? kNone : found + last.size();
}

void Append(char32_t character, std::string& text) {
    const auto byte = [&text](char32_t bits) { text += static_cast<char>(bits); };
    if (character < 0x80) {
        byte(character);
    } else if (character < 0x800) {
        byte(0xC0 | character >> 6U);
        byte(0x80 | (character & 0x3FU));
    } else if (character < 0x10000) {
        byte(0xE0 | character >> 12U);
        byte(0x80 | (character >> 6U & 0x3FU));
        byte(0x80 | (character & 0x3FU));
    } else {
        byte(0xF0 | character >> 18U);
        byte(0x80 | (character >> 12U & 0x3FU));
        byte(0x80 | (character >> 6U & 0x3FU));
        byte(0x80 | (character & 0x3FU));
    }
}

}  // namespace

bool IsUtf16(std::string_view text) {
    return IsLittle(text) || text.starts_with("\xFE\xFF") ||
           text.starts_with(std::string_view("\0<", 2));
}

std::string FromUtf16(std::string_view text) {
    const bool isLittle = IsLittle(text);
    const auto unit = [&](std::size_t at) -> char32_t {
        const auto first = static_cast<unsigned char>(text[at]);
        const auto second = static_cast<unsigned char>(text[at + 1]);
        return isLittle ? static_cast<char32_t>(second << 8 | first)
                        : static_cast<char32_t>(first << 8 | second);
    };
    std::string result;
    result.reserve(text.size() / 2);
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        char32_t character = unit(at);
        if (character >= 0xD800 && character < 0xE000) {
            const char32_t low = at + 3 < text.size() ? unit(at + 2) : 0;
            const bool isPair = character < 0xDC00 && low >= 0xDC00 && low < 0xE000;
            character =
                isPair ? 0x10000 + ((character - 0xD800) << 10U) + (low - 0xDC00) : kNoCharacter;
            at += isPair ? 2 : 0;
        }
        if (at > 1 || character != 0xFEFF) {
            Append(character, result);
        }
    }
    return result;
}

bool HasUnbearableTag(std::string_view xml) {
    std::size_t at = xml.find('<');
    while (at != kNone) {
        const std::string_view rest = xml.substr(at);
        if (rest.starts_with("<!--")) {
            at = PastEnd(xml, "-->", at + 4);
        } else if (rest.starts_with("<![CDATA[")) {
            at = PastEnd(xml, "]]>", at);
        } else if (rest.starts_with("<?")) {
            at = PastEnd(xml, "?>", at);
        } else {
            int attributes = 0;
            const std::size_t begin = at;
            at = xml.find_first_of("\"'>", at);
            while (at != kNone && xml[at] != '>') {
                if (++attributes > kMostAttributes) {
                    return true;
                }
                at = PastEnd(xml, xml.substr(at, 1), at + 1);
                at = at == kNone ? kNone : xml.find_first_of("\"'>", at);
            }
            if (std::min(at, xml.size()) - begin > kLongestTag) {
                return true;
            }
        }
        at = at == kNone ? kNone : xml.find('<', at);
    }
    return false;
}
