#include "SignatureFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <unistd.h>

SignatureFile::SignatureFile(const std::string& file, const std::string& signature)
    : mPath(signature.empty() ? file + ".p7s" : signature) {}

std::string SignatureFile::Read(std::string& signature) const {
    std::error_code error;
    if (!std::filesystem::is_regular_file(mPath, error)) {
        return mPath + ": " + (error ? error.message() : "not a regular file");
    }
    std::ifstream file(mPath, std::ios::binary);
    signature.assign(kLongest + 1, '\0');
    file.read(signature.data(), static_cast<std::streamsize>(signature.size()));
    if (!file.is_open() || file.bad()) {
        return mPath + ": cannot be read";
    }
    signature.resize(static_cast<std::size_t>(file.gcount()));
    return signature.size() > kLongest
               ? mPath + ": larger than " + std::to_string(kLongest) + " bytes"
               : "";
}

std::string SignatureFile::Write(const std::string& signature) const {
    const std::string made = mPath + ".new-" + std::to_string(::getpid());
    std::ofstream file(made, std::ios::binary | std::ios::trunc);
    file.write(signature.data(), static_cast<std::streamsize>(signature.size()));
    file.close();
    if (file && std::rename(made.c_str(), mPath.c_str()) == 0) {
        return "";
    }
    std::string error = mPath + ": cannot be written: " + std::strerror(errno);
    (void)std::remove(made.c_str());
    return error;
}
