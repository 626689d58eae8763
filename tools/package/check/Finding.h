#pragma once

#include <string>

/// Something that a check has to say of a payload or package.
struct Finding {
    bool isError = false;  ///< the update would fail or go wrong; else a warning
    std::string text;      ///< one line
};

inline Finding ErrorFinding(const std::string& text) {
    return {true, text};
}

inline Finding WarningFinding(const std::string& text) {
    return {false, text};
}
