// Runs a fuzz target over the files of a folder, so that every test run repeats what fuzzing found.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    for (int index = 1; index < argc; ++index) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(argv[index], error)) {
            files.push_back(entry.path());
        }
        if (error) {
            std::fprintf(stderr, "cannot list %s: %s\n", argv[index], error.message().c_str());
            return 1;
        }
    }
    if (files.empty()) {
        std::fprintf(stderr, "no input found\n");
        return 1;
    }
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        // Named beforehand: a crash ends the program inside the target.
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
        // A copy of exactly that size, so that a sanitizer sees a read past its end.
        const std::vector<std::uint8_t> bytes(content.begin(), content.end());
        (void)LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return 0;
}
