#pragma once

#include <string_view>

/// Whether a path ends in ".dfw", as the updater distinguishes payloads from packages: by the text
/// after the last dot, case and all.
inline bool IsPayloadPath(std::string_view path) {
    return path.ends_with(".dfw");
}

/// Whether a path ends in ".zip".
inline bool IsPackagePath(std::string_view path) {
    return path.ends_with(".zip");
}
