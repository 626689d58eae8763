#pragma once

#include <string>

/// Whether a path ends in ".dfw", as the updater tells payloads from packages: by the text after
/// the last dot, case and all.
inline bool IsPayloadPath(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    return dot != std::string::npos && path.substr(dot) == ".dfw";
}

/// Whether a path ends in ".zip".
inline bool IsPackagePath(const std::string& path) {
    const std::size_t dot = path.rfind('.');
    return dot != std::string::npos && path.substr(dot) == ".zip";
}
