#pragma once

#include <string>
#include <string_view>

/// Whether a path ends in ".dfw", as the updater distinguishes payloads from packages: by the text
/// after the last dot, case and all.
inline bool IsPayloadPath(std::string_view path) {
    return path.ends_with(".dfw");
}

/// Why the updater would not take that name as the name of its file, one line; empty when it does:
/// it takes an argument for an option by its second character.
inline std::string WhyNotAnArgument(const std::string& path) {
    const std::string name = path.substr(path.rfind('/') + 1);
    for (const std::string& argument : {path, name}) {
        if (argument.size() > 1 && argument[1] == '-') {
            return "the updater takes \"" + argument +
                   "\" for an option, because its second character is \"-\"";
        }
    }
    return "";
}

/// Whether a path ends in ".zip".
inline bool IsPackagePath(std::string_view path) {
    return path.ends_with(".zip");
}
