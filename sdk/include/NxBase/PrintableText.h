#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <NxBase/NxApi.h>

/// Number of characters that a text from outside may take in a line.
inline constexpr std::size_t kLongestPrintable = 200;

/// A text from outside (a device, server, package or file name) made fit for one line on a console.
///
/// A '?' takes the place of every character that could steer a terminal, end the line or change the
/// order of what is read: below U+0020, U+007F to U+009F (in UTF-8 or as single bytes), U+2028,
/// U+2029, and the bidirectional controls of Unicode (UAX #9: U+061C, U+200E, U+200F, U+202A to
/// U+202E, U+2066 to U+2069). Other bytes stay, whether they are UTF-8 or not.
/// @param longest number of characters; a longer text is cut there, and "..." added
[[nodiscard]] NX_API std::string PrintableText(std::string_view text,
                                               std::size_t longest = kLongestPrintable);
