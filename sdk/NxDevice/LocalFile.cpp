#include "LocalFile.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <NxBase/NxResultCodes.h>
#include <NxBase/UnnamedPayload.h>

namespace {

NxResult Failure(const char* action, const std::string& path, const std::string& reason) {
    return NxResult(kNxLocalFile, std::string("Cannot ") + action + " " + path + ": " + reason);
}

}  // namespace

LocalFile::~LocalFile() {
    if (mDescriptor >= 0) {
        (void)::close(mDescriptor);
    }
}

NxResult LocalFile::Open(const NxString& path) {
    mPath = path.GetAscii();
    if (mPath.empty()) {
        return NxResult(kNxLocalFile, kUnnamedPayload);
    }
    // Non-blocking: a named pipe must be refused below, not waited for.
    const int descriptor = ::open(mPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return Failure("open", mPath, std::strerror(errno));
    }
    if (mDescriptor >= 0) {
        (void)::close(mDescriptor);
    }
    mDescriptor = descriptor;
    struct stat status {};
    if (::fstat(mDescriptor, &status) != 0) {
        return Failure("open", mPath, std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return Failure("open", mPath, "not a regular file");
    }
    mSize = static_cast<std::uint64_t>(status.st_size);
    return NxResult();
}

NxResult LocalFile::ReadAt(std::uint64_t offset, std::span<std::byte> buffer,
                           std::size_t& length) const {
    length = 0;
    while (length < buffer.size()) {
        const ssize_t count = ::pread(mDescriptor, buffer.data() + length, buffer.size() - length,
                                      static_cast<off_t>(offset + length));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return Failure("read", mPath, std::strerror(errno));
        }
        if (count == 0) {
            break;
        }
        length += static_cast<std::size_t>(count);
    }
    return NxResult();
}

bool LocalFile::IsSameFileAs(const std::string& path) const {
    struct stat mine {};
    struct stat other {};
    return ::fstat(mDescriptor, &mine) == 0 && ::stat(path.c_str(), &other) == 0 &&
           mine.st_dev == other.st_dev && mine.st_ino == other.st_ino;
}
