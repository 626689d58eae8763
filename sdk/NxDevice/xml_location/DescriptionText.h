#pragma once

#include <string_view>

/// The XML document that a device's memory begins with (XML 1.0, section 2.1): from its first
/// character that is not blank to the end of its root element, or to the first zero byte, or, when
/// it has neither, to the end. What a device keeps behind it is padding, or the rest of a longer
/// text that was there before.
[[nodiscard]] std::string_view FindDocument(std::string_view memory);

/// Whether it begins as an XML document does, in UTF-8 or UTF-16.
[[nodiscard]] bool LooksLikeXml(std::string_view text);
