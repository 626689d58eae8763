#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

/// Ends the program: a benchmark that fails has no figures.
[[noreturn]] inline void Fail(const std::string& why) {
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(2);
}

inline std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (bytes.empty()) {
        Fail("cannot read " + path);
    }
    return bytes;
}
