#pragma once
#include <string>
inline std::string Printable(std::string text) {
    return text;
}
