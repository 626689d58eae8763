#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace NxGenICamLib {

/// A place in a text as a person counts: from 1, the column in bytes, lines ended by line feeds.
struct FULineColumn {
    FULineColumn(std::string_view text, std::size_t offset) {
        const std::string_view before = text.substr(0, offset);
        line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
        // npos + 1 is 0, the start of the text.
        column = before.size() - (before.rfind('\n') + 1) + 1;
    }

    std::size_t line;
    std::size_t column;
};

}  // namespace NxGenICamLib
