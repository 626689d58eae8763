#include "XmlText.h"

#include <algorithm>
#include <cstddef>

#include <NxBase/Utf8.h>

namespace {

constexpr int kMostAttributes = 100;
constexpr std::size_t kLongestTag = std::size_t{1} << 20U;
constexpr std::size_t kNone = std::string_view::npos;
constexpr char16_t kMark = 0xFEFF;
constexpr char32_t kNoCharacter = 0xFFFF;

bool IsLittle(std::string_view text) {
    return text.starts_with("\xFF\xFE") || text.starts_with(std::string_view("<\0", 2));
}

std::size_t PastEnd(std::string_view text, std::string_view last, std::size_t at) {
    const std::size_t found = text.find(last, at);
    return found == kNone ? kNone : found + last.size();
}

}  // namespace

bool IsUtf16(std::string_view text) {
    return IsLittle(text) || text.starts_with("\xFE\xFF") ||
           text.starts_with(std::string_view("\0<", 2));
}

std::string FromUtf16(std::string_view text) {
    const bool isLittle = IsLittle(text);
    std::u16string units;
    units.reserve(text.size() / 2);
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        const auto first = static_cast<unsigned char>(text[at]);
        const auto second = static_cast<unsigned char>(text[at + 1]);
        units += static_cast<char16_t>(isLittle ? second << 8 | first : first << 8 | second);
    }
    const std::size_t begin = units.starts_with(kMark) ? 1 : 0;
    return Utf8::FromUtf16(std::u16string_view(units).substr(begin), kNoCharacter);
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
                at = xml.find_first_of("\"'>", at);
            }
            if (std::min(at, xml.size()) - begin > kLongestTag) {
                return true;
            }
        }
        at = xml.find('<', at);
    }
    return false;
}
