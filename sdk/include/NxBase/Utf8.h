#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <NxBase/NxApi.h>

/// UTF-8 (RFC 3629), one character at a time.
namespace Utf8 {

/// Replaces an invalid character (Unicode, section 23.8: U+FFFD).
inline constexpr char32_t kReplacement = 0xFFFD;

struct Character {
    char32_t value = 0;      ///< code point
    std::size_t length = 0;  ///< bytes; 0 when the bytes are not UTF-8
};

/// The character that the text begins with.
/// @return of length 0 when there is none: the text is empty, or begins with bytes that are cut
/// off,
///         longer than needed, a surrogate, or beyond U+10FFFF
[[nodiscard]] NX_API Character Decode(std::string_view text);

/// Appends a character; `kReplacement` in the place of a surrogate and of numbers beyond U+10FFFF.
NX_API void Append(std::string& text, char32_t character);

/// @param unpaired takes the place of a surrogate without its other half
[[nodiscard]] NX_API std::string FromUtf16(std::u16string_view units,
                                           char32_t unpaired = kReplacement);

/// The beginning of the text, at most that many bytes and no part of a character.
[[nodiscard]] NX_API std::string_view Cut(std::string_view text, std::size_t longest);

}  // namespace Utf8
