#include <NxBase/Utf8.h>

#include <algorithm>

namespace Utf8 {

namespace {

constexpr char32_t kLargest = 0x10FFFF;

bool IsSurrogate(char32_t value) {
    return value >= 0xD800 && value <= 0xDFFF;
}

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

}  // namespace

Character Decode(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    // 0xC0 and 0xC1 would begin what one byte can say.
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return {};
    }
    char32_t value = lead & (0x7FU >> length);
    for (const char byte : text.substr(1, length - 1)) {
        if (!IsContinuation(byte)) {
            return {};
        }
        value = value << 6U | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    const bool isLonger = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    return isLonger || IsSurrogate(value) || value > kLargest ? Character{}
                                                              : Character{value, length};
}

void Append(std::string& text, char32_t character) {
    const auto append = [&text](char32_t byte) { text += static_cast<char>(byte); };
    const auto continuation = [&](unsigned int shift) {
        append(0x80U | (character >> shift & 0x3FU));
    };
    if (IsSurrogate(character) || character > kLargest) {
        character = kReplacement;
    }
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0U | character >> 6U);
    } else {
        if (character < 0x10000) {
            append(0xE0U | character >> 12U);
        } else {
            append(0xF0U | character >> 18U);
            continuation(12);
        }
        continuation(6);
    }
    continuation(0);
}

std::string FromUtf16(std::u16string_view units, char32_t unpaired) {
    std::string text;
    text.reserve(units.size());
    for (std::size_t at = 0; at < units.size(); ++at) {
        const char16_t unit = units[at];
        const char16_t next = at + 1 < units.size() ? units[at + 1] : char16_t{0};
        if (!IsSurrogate(unit)) {
            Append(text, unit);
        } else if (unit < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            Append(text, 0x10000 + (static_cast<char32_t>(unit - 0xD800) << 10U) + (next - 0xDC00));
            ++at;
        } else {
            Append(text, unpaired);
        }
    }
    return text;
}

std::string_view Cut(std::string_view text, std::size_t longest) {
    constexpr std::size_t kMostContinuations = 3;
    const std::size_t end = std::min(text.size(), longest);
    std::size_t length = end;
    while (length > 0 && length < text.size() && IsContinuation(text[length])) {
        if (end - length == kMostContinuations) {
            return text.substr(0, end);  // not UTF-8
        }
        --length;
    }
    return text.substr(0, length);
}

}  // namespace Utf8
