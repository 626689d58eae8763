// What a mutated source asks before each of its expressions that could be another one.
#pragma once

#include <cstdlib>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace mutation {

inline constexpr int kMost = 1 << 16;

// The mutant that MUTANT names; 0 is none.
inline int Current() {
    static const int current = [] {
        const char* const text = std::getenv("MUTANT");
        return text != nullptr ? std::atoi(text) : 0;
    }();
    return current;
}

// One byte for each mutant, in the file that MUTANTS_REACHED names: kept when a process aborts, and
// shared by all processes of a test.
inline unsigned char* Reached() {
    static unsigned char* const reached = [] {
        const char* const path = std::getenv("MUTANTS_REACHED");
        const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
        void* const map = file < 0
                              ? MAP_FAILED
                              : mmap(nullptr, kMost, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (file >= 0) {
            close(file);
        }
        return map == MAP_FAILED ? nullptr : static_cast<unsigned char*>(map);
    }();
    return reached;
}

inline bool Is(int mutant) {
    if (Reached() != nullptr) {
        Reached()[mutant] = 1;
    }
    return mutant == Current();
}

}  // namespace mutation
