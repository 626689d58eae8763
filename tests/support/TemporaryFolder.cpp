#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <utility>

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "mirsko-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        ADD_FAILURE() << "cannot make " << pattern;
    }
    mPath = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

std::string TemporaryFolder::Write(const std::string& name, std::string_view content) const {
    const std::filesystem::path path = mPath / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) {
        ADD_FAILURE() << "cannot write " << path;
    }
    return path.string();
}

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        ADD_FAILURE() << "cannot read " << path;
        return {};
    }
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return std::move(bytes).str();
}

std::string RandomBytes(std::size_t size, unsigned int seed) {
    std::mt19937_64 generator(seed);
    std::string bytes(size, '\0');
    // By words, because the generator is slow where tests are not optimised or run in an emulator.
    for (std::size_t offset = 0; offset < size; offset += sizeof(std::uint64_t)) {
        const std::uint64_t word = generator();
        std::memcpy(&bytes[offset], &word, std::min(sizeof word, size - offset));
    }
    return bytes;
}
