#pragma once

#include <string>
#include <string_view>

namespace NxGenICamLib {

/// At most 60 characters of a text as PrintableText shows them, in double quotes.
std::string Quoted(std::string_view text);

}  // namespace NxGenICamLib
