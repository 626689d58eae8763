#pragma once

#include <string>
#include <string_view>

#include <NxBase/NxApi.h>

/// A device's text for one line on a console: a '?' in the place of every control character (below
/// 0x20, 0x7F, U+0080 to U+009F in UTF-8 or as single bytes), which could steer a terminal. Other
/// bytes stay, whether they are UTF-8 or not.
[[nodiscard]] NX_API std::string PrintableText(std::string_view text);
