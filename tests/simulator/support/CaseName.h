#pragma once

#include <cctype>
#include <string>

/// A name from an option, such as "legacy-endian", as GoogleTest wants that of a case.
inline std::string CaseName(std::string name) {
    for (char& character : name) {
        if (std::isalnum(static_cast<unsigned char>(character)) == 0) {
            character = '_';
        }
    }
    return name;
}
