#include "LocalPayload.h"

#include <cerrno>
#include <system_error>

#include <sys/stat.h>

#include <NxBase/NxResultCodes.h>
#include <NxBase/UnnamedPayload.h>

namespace {

NxResult Failure(const std::string& path, const std::string& reason) {
    return NxResult(kNxLocalFile, "Cannot read " + path + ": " + reason);
}

NxResult SystemFailure(const std::string& path) {
    return Failure(path, std::generic_category().message(errno));
}

}  // namespace

NxResult LocalPayload::Open(const std::string& path) {
    if (path.empty()) {
        return NxResult(kNxLocalFile, kUnnamedPayload);
    }
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return SystemFailure(path);
    }
    // Its size must be known beforehand; a pipe would also block for ever.
    if (!S_ISREG(status.st_mode)) {
        return Failure(path, "it is not a regular file");
    }
    mFile.reset(std::fopen(path.c_str(), "rbe"));
    if (mFile == nullptr || fstat(fileno(mFile.get()), &status) != 0) {
        return SystemFailure(path);
    }
    mPath = path;
    mSize = static_cast<std::uint64_t>(status.st_size);
    return {};
}

NxResult LocalPayload::Read(std::span<std::byte> buffer) {
    if (std::fread(buffer.data(), 1, buffer.size(), mFile.get()) == buffer.size()) {
        return {};
    }
    return std::ferror(mFile.get()) != 0 ? SystemFailure(mPath)
                                         : Failure(mPath, "it has become shorter meanwhile");
}
