#include "TemporaryFile.h"

#include <cstdlib>
#include <filesystem>

#include <unistd.h>

TemporaryFile::TemporaryFile() {
    std::error_code error;
    std::string path =
        (std::filesystem::temp_directory_path(error) / "mirsko-package-XXXXXX").string();
    const int descriptor = error ? -1 : mkstemp(path.data());
    if (descriptor >= 0) {
        (void)close(descriptor);
        mPath = path;
    }
}

TemporaryFile::~TemporaryFile() {
    if (!mPath.empty()) {
        (void)unlink(mPath.c_str());
    }
}
