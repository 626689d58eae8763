#include "DescriptionText.h"

#include <cstddef>

namespace {

constexpr std::string_view kBlank(" \t\r\n");
constexpr std::string_view kByteOrderMark("\xEF\xBB\xBF");
constexpr std::size_t kNone = std::string_view::npos;

bool IsUtf16(std::string_view text) {
    return text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF");
}

// Where what begins at `at` ends, past its last character.
std::size_t PastEnd(std::string_view text, std::string_view last, std::size_t at) {
    const std::size_t found = text.find(last, at);
    return found == kNone ? kNone : found + last.size();
}

// An attribute's value may hold a '>'.
std::size_t PastStartTag(std::string_view text, std::size_t at) {
    while (true) {
        at = text.find_first_of("\"'>", at);
        if (at == kNone || text[at] == '>') {
            return at == kNone ? kNone : at + 1;
        }
        at = PastEnd(text, text.substr(at, 1), at + 1);
        if (at == kNone) {
            return kNone;
        }
    }
}

std::size_t PastRootElement(std::string_view text) {
    std::size_t depth = 0;
    std::size_t at = text.find('<');
    while (at != kNone) {
        const std::string_view rest = text.substr(at);
        if (rest.starts_with("<!--")) {
            at = PastEnd(text, "-->", at + 4);
        } else if (rest.starts_with("<![CDATA[")) {
            at = PastEnd(text, "]]>", at);
        } else if (rest.starts_with("<?")) {
            at = PastEnd(text, "?>", at);
        } else if (rest.starts_with("<!")) {
            at = PastEnd(text, ">", at);
        } else if (rest.starts_with("</")) {
            at = PastEnd(text, ">", at);
            if (depth <= 1) {
                return at;
            }
            --depth;
        } else {
            at = PastStartTag(text, at);
            const bool isEmpty = at != kNone && text[at - 2] == '/';
            if (isEmpty && depth == 0) {
                return at;
            }
            depth += isEmpty ? 0 : 1;
        }
        at = at == kNone ? kNone : text.find('<', at);
    }
    return kNone;
}

}  // namespace

std::string_view FindDocument(std::string_view memory) {
    if (IsUtf16(memory)) {
        // Every other byte of it is zero.
        return memory.substr(0, (memory.find_last_not_of('\0') + 2) / 2 * 2);
    }
    std::string_view text = memory.substr(0, memory.find('\0'));
    text.remove_prefix(text.find_first_not_of(kBlank) == kNone ? text.size()
                                                               : text.find_first_not_of(kBlank));
    return text.substr(0, PastRootElement(text));
}

bool LooksLikeXml(std::string_view text) {
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    return text.starts_with('<') || IsUtf16(text);
}
