#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace NxGenICamLib {

/// One character of a UTF-8 text.
struct FUCharacter {
    unsigned int value = 0;  ///< code point
    std::size_t length = 0;  ///< bytes; 0 when the bytes are not UTF-8 (RFC 3629)
};

/// Decodes the character that begins the text, which must not be empty.
FUCharacter DecodeUtf8(std::string_view text);

/// Whether XML 1.0, section 2.2, allows the character.
bool IsXmlCharacter(unsigned int value);

/// At most 60 characters of a text as PrintableText shows them, in double quotes.
std::string Quoted(std::string_view text);

}  // namespace NxGenICamLib
