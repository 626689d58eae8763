#include "WholeValuePattern.h"

#include <string_view>

#include <NxBase/Hexadecimal.h>

namespace {

bool IsSpace(char character) {
    return std::string_view(" \t\n\r").find(character) != std::string_view::npos;
}

std::string EscapedSpace(char space) {
    return "\\x" + HexDigits(static_cast<unsigned char>(space), 2);
}

}  // namespace

std::string WholeValuePattern(const std::string& pattern) {
    std::string rewritten = "[\\s\\S]*(?:";
    for (std::size_t index = 0; index < pattern.size(); ++index) {
        const char character = pattern[index];
        const char next = index + 1 < pattern.size() ? pattern[index + 1] : '\0';
        if (character == '\\' && next != '\0') {
            ++index;
            const bool isPlain = next == '_' || (static_cast<unsigned char>(next) & 0x80U) != 0;
            rewritten +=
                IsSpace(next) ? EscapedSpace(next) : (isPlain ? "" : "\\") + std::string(1, next);
        } else if (!IsSpace(character)) {
            rewritten += character;
        } else {
            const bool isSingleBlank =
                character == ' ' && !IsSpace(next) && (index == 0 || !IsSpace(pattern[index - 1]));
            rewritten += isSingleBlank ? " " : EscapedSpace(character);
        }
    }
    return rewritten + ")[\\s\\S]*";
}
