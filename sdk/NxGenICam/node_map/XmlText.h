#pragma once

#include <string>
#include <string_view>

// What is to be known of an XML text before libxml2 gets it.

/// Whether the text begins like XML in UTF-16 of either byte order, with or without a mark.
bool IsUtf16(std::string_view text);
/// The same text in UTF-8; an invalid character becomes one that XML does not allow.
std::string FromUtf16(std::string_view text);

/// Whether some tag has more than 100 attributes or 1 MiB. libxml2 compares each attribute with all
/// others, so that one tag of a few megabytes would keep it busy for hours, and holds a long one
/// several times.
bool HasUnbearableTag(std::string_view xml);
