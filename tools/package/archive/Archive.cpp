#include "Archive.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A pipe whose writing end is a path that an archive can be unpacked to.
class UnpackingPipe {
  public:
    UnpackingPipe() {
        if (pipe2(mEnds.data(), O_CLOEXEC) != 0) {
            mEnds = {-1, -1};
        }
    }
    ~UnpackingPipe() {
        CloseReader();
        CloseWriter();
    }
    UnpackingPipe(const UnpackingPipe&) = delete;
    UnpackingPipe& operator=(const UnpackingPipe&) = delete;

    [[nodiscard]] bool IsOpen() const { return mEnds[0] >= 0; }
    [[nodiscard]] std::string WriterPath() const {
        return "/proc/self/fd/" + std::to_string(mEnds[1]);
    }
    /// @return the number of bytes, 0 at the end, negative on failure
    [[nodiscard]] ssize_t Read(char* bytes, std::size_t count) const {
        for (;;) {
            const ssize_t got = read(mEnds[0], bytes, count);
            if (got >= 0 || errno != EINTR) {
                return got;
            }
        }
    }
    /// The writer fails from here on.
    void CloseReader() { Close(mEnds[0]); }
    void CloseWriter() { Close(mEnds[1]); }

  private:
    static void Close(int& end) {
        if (end >= 0) {
            (void)close(end);
            end = -1;
        }
    }

    std::array<int, 2> mEnds{-1, -1};
};

/// A pipe without a reader is an error of the write, not the end of the program.
void BlockBrokenPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    (void)pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

std::string Archive::Open(const std::string& path) {
    mMembers.clear();
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0) {
        return std::strerror(errno);
    }
    mArchive = std::make_unique<PackageArchive>(path);
    if (!mArchive->IsOpen()) {
        return "not a zip archive, or damaged";
    }
    for (std::size_t index = 0; index < mArchive->Count(); ++index) {
        const auto member = mArchive->At(index);
        if (member) {
            mMembers.push_back({index, member->name, member->size, member->compressedSize,
                                member->isFolder, member->isSupported});
        } else if (index == 0) {
            return "its first member is unreadable, so the updater cannot find any member";
        }
    }
    return {};
}

std::optional<std::size_t> Archive::FindAsUpdater(const std::string& name) const {
    const auto found = mArchive->Find(name);
    const auto member = std::find_if(mMembers.begin(), mMembers.end(), [&found](const Member& one) {
        return found && one.index == *found;
    });
    return member == mMembers.end()
               ? std::nullopt
               : std::optional<std::size_t>(std::distance(mMembers.begin(), member));
}

std::string Archive::Read(std::size_t member, const Take& take) const {
    const Member& wanted = mMembers.at(member);
    if (wanted.isFolder) {
        return "is a folder";
    }
    if (!wanted.isReadable) {
        return "encrypted, or compressed by a method other than deflate";
    }
    UnpackingPipe pipe;
    if (!pipe.IsOpen()) {
        return std::strerror(errno);
    }
    bool isWhole = false;
    std::thread unpacking([this, &wanted, &pipe, &isWhole] {
        BlockBrokenPipeSignal();
        isWhole = mArchive->Extract(wanted.index, pipe.WriterPath());
        pipe.CloseWriter();
    });
    std::array<char, 65536> buffer{};
    std::string error;
    while (error.empty()) {
        const ssize_t count = pipe.Read(buffer.data(), buffer.size());
        if (count <= 0) {
            break;
        }
        error = take(buffer.data(), static_cast<std::size_t>(count));
    }
    pipe.CloseReader();
    unpacking.join();
    if (error.empty() && !isWhole) {
        return "damaged: cannot be unpacked, or fails the length or CRC check";
    }
    return error;
}

std::string Archive::ReadText(std::size_t member, std::size_t longest, std::string& text) const {
    text.clear();
    return Read(member, [&text, longest](const char* bytes, std::size_t count) {
        text.append(bytes, count);
        return text.size() > longest ? "larger than " + std::to_string(longest) + " bytes"
                                     : std::string();
    });
}

std::string Archive::Extract(std::size_t member, const std::string& path) const {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    const auto write = [&file](const char* bytes, std::size_t count) {
        file.write(bytes, static_cast<std::streamsize>(count));
        return file ? std::string() : std::strerror(errno);
    };
    if (!file) {
        return std::strerror(errno);
    }
    const std::string error = Read(member, write);
    if (!error.empty()) {
        return error;
    }
    file.close();
    return file ? std::string() : std::strerror(errno);
}
