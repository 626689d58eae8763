#include <internal/NxBase/LocalFile.h>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <NxBase/NxResultCodes.h>
#include "UnnamedPayload.h"

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
    if (::fstat(mDescriptor, &mStatus) != 0) {
        return Failure("open", mPath, std::strerror(errno));
    }
    if (!S_ISREG(mStatus.st_mode)) {
        return Failure("open", mPath, "not a regular file");
    }
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

NxResult LocalFile::ReadWhole(std::uint64_t offset, std::span<std::byte> buffer) const {
    std::size_t length = 0;
    NxResult result = ReadAt(offset, buffer, length);
    if (!result.IsOK() || length == buffer.size()) {
        return result;
    }
    result = CheckUnchanged();
    return result.IsOK() ? Failure("read", mPath, "it is shorter than its reported size") : result;
}

NxResult LocalFile::CheckUnchanged() const {
    struct stat now {};
    if (::fstat(mDescriptor, &now) != 0) {
        return Failure("read", mPath, std::strerror(errno));
    }
    const bool isUnchanged = now.st_size == mStatus.st_size &&
                             now.st_mtim.tv_sec == mStatus.st_mtim.tv_sec &&
                             now.st_mtim.tv_nsec == mStatus.st_mtim.tv_nsec;
    return isUnchanged && IsSameFileAs(mPath)
               ? NxResult()
               : Failure("send", mPath, "it was changed or replaced while it was being sent");
}

bool LocalFile::IsSameFileAs(const std::string& path) const {
    struct stat mine {};
    struct stat other {};
    return ::fstat(mDescriptor, &mine) == 0 && ::stat(path.c_str(), &other) == 0 &&
           mine.st_dev == other.st_dev && mine.st_ino == other.st_ino;
}
