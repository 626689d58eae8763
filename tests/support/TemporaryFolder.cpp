#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <random>

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
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string RandomBytes(std::size_t size, unsigned int seed) {
    std::mt19937 generator(seed);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(generator() & 0xFFU);
    }
    return bytes;
}
