#include "AtomicFile.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <NxBase/NxResultCodes.h>

AtomicFile::~AtomicFile() {
    if (mDescriptor >= 0) {
        (void)::close(mDescriptor);
        (void)::unlink(mTemporaryPath.c_str());
    }
}

NxResult AtomicFile::Open(const NxString& path) {
    static std::atomic<unsigned int> count{0};
    mPath = path.GetAscii();
    struct stat status {};
    // A rename would replace a device file such as /dev/null.
    if (::stat(mPath.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return Failure(EEXIST);
    }
    do {
        mTemporaryPath =
            mPath + ".new-" + std::to_string(::getpid()) + "-" + std::to_string(count++);
        // Not mkstemp: the file is to have the permissions that the user's umask says.
        mDescriptor = ::open(mTemporaryPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (mDescriptor < 0 && errno == EEXIST);
    return mDescriptor >= 0 ? NxResult() : Failure(errno);
}

NxResult AtomicFile::WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) const {
    while (!bytes.empty()) {
        const ssize_t count =
            ::pwrite(mDescriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return Failure(count < 0 ? errno : ENOSPC);
        }
        offset += static_cast<std::uint64_t>(count);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return NxResult();
}

NxResult AtomicFile::Publish() {
    if (::fsync(mDescriptor) != 0 || std::rename(mTemporaryPath.c_str(), mPath.c_str()) != 0) {
        return Failure(errno);
    }
    (void)::close(mDescriptor);
    mDescriptor = -1;
    return NxResult();
}

NxResult AtomicFile::Failure(int error) const {
    return NxResult(kNxLocalFile, "Cannot write " + mPath + ": " + std::strerror(error));
}
