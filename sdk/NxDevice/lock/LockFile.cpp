#include "LockFile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Each new try means that somebody else made or removed the file in between.
constexpr int kMostTries = 100;

// Reading suffices for flock, and any user can take the lock then.
constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
constexpr mode_t kReadableByAll = 0444;

int OpenOrMake(const std::string& path) {
    int descriptor = ::open(path.c_str(), kFlags);
    if (descriptor >= 0 || errno != ENOENT) {
        return descriptor;
    }
    // O_CREAT on a file of somebody else in a folder like /tmp is refused (fs.protected_regular).
    descriptor = ::open(path.c_str(), kFlags | O_CREAT | O_EXCL, kReadableByAll);
    if (descriptor >= 0) {
        (void)::fchmod(descriptor, kReadableByAll);  // whatever the umask says
    }
    return descriptor;
}

// Whether the path still names the open file: its last holder removes it.
bool IsStillAt(const std::string& path, int descriptor) {
    struct stat open {};
    struct stat named {};
    return ::fstat(descriptor, &open) == 0 && ::lstat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

}  // namespace

LockFile::Outcome LockFile::Take(const std::string& path, std::unique_ptr<LockFile>& lock) {
    for (int i = 0; i < kMostTries; ++i) {
        const int descriptor = OpenOrMake(path);
        if (descriptor < 0) {
            if (errno == EEXIST || errno == EINTR) {
                continue;
            }
            return Outcome::kUnavailable;
        }
        if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            (void)::close(descriptor);
            if (error == EINTR) {
                continue;
            }
            return error == EWOULDBLOCK ? Outcome::kHeld : Outcome::kUnavailable;
        }
        if (IsStillAt(path, descriptor)) {
            lock.reset(new LockFile(path, descriptor));
            return Outcome::kTaken;
        }
        (void)::close(descriptor);
    }
    return Outcome::kUnavailable;
}

LockFile::LockFile(std::string path, int descriptor)
    : mPath(std::move(path)), mDescriptor(descriptor) {}

LockFile::~LockFile() {
    // While the lock is held: afterwards the name could be that of the next holder's file. Another
    // user's file stays, unlocked, in a folder like /tmp.
    (void)::unlink(mPath.c_str());
    (void)::close(mDescriptor);
}
