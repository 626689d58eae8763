#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Letters and printable characters of ASCII, whatever the locale. No other byte counts as either.
namespace Ascii {

[[nodiscard]] constexpr char LowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

[[nodiscard]] inline std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char character) { return LowerCase(character); });
    return text;
}

[[nodiscard]] constexpr bool IsSameIgnoringCase(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return LowerCase(a) == LowerCase(b); });
}

/// From the blank to '~'.
[[nodiscard]] constexpr bool IsPrintable(char character) {
    return character >= ' ' && character <= '~';
}

/// Whether all of it is printable, and nothing of it a blank.
[[nodiscard]] inline bool IsGraphic(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return IsPrintable(character) && character != ' '; });
}

}  // namespace Ascii
