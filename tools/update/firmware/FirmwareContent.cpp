#include "FirmwareContent.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <NxBase/PrintableText.h>

#include "../../package/signature/SignedFile.h"

namespace {

class Input {
  public:
    // Non-blocking: a named pipe must be rejected, not waited for.
    explicit Input(const std::string& path)
        : mDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~Input() {
        if (mDescriptor >= 0) {
            (void)close(mDescriptor);
        }
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// @return empty, or why it cannot be copied
    [[nodiscard]] std::string Check() const {
        struct stat status {};
        if (mDescriptor < 0 || fstat(mDescriptor, &status) != 0) {
            return std::strerror(errno);
        }
        return S_ISREG(status.st_mode) ? "" : "not a regular file";
    }
    /// @return empty, or what went wrong
    [[nodiscard]] std::string CopyTo(std::FILE* copy) const {
        std::array<char, 65536> bytes{};
        for (;;) {
            const ssize_t count = read(mDescriptor, bytes.data(), bytes.size());
            if (count == 0) {
                return std::fflush(copy) == 0 ? "" : std::strerror(errno);
            }
            if (count < 0 && errno != EINTR) {
                return std::strerror(errno);
            }
            const std::size_t size = count < 0 ? 0 : static_cast<std::size_t>(count);
            if (std::fwrite(bytes.data(), 1, size, copy) != size) {
                return std::strerror(errno);
            }
        }
    }

  private:
    int mDescriptor;
};

}  // namespace

FirmwareContent::FirmwareContent(std::string name) : mName(std::move(name)), mPath(mName) {}

std::string FirmwareContent::RequireSignature(const std::string& authorities) {
    const std::string problem = Copy();
    if (!problem.empty()) {
        return PrintableText(mName) + ": " + problem;
    }
    SignedFile file(mName, mPath);
    const std::string error = file.Verify(SignatureFile(mName, ""), authorities);
    mSigners = file.Signers();
    return PrintableText(error, kLongestMessage);
}

std::string FirmwareContent::Named(std::string problem) const {
    if (mPath != mName) {
        const std::size_t at = problem.find(mPath);
        if (at != std::string::npos) {
            problem.replace(at, mPath.size(), mName);
        }
    }
    return PrintableText(problem, kLongestMessage);
}

std::string FirmwareContent::Copy() {
    const Input input(mName);
    std::string problem = input.Check();
    if (!problem.empty()) {
        return problem;
    }
    mCopy.reset(std::tmpfile());
    problem = mCopy ? input.CopyTo(mCopy.get()) : std::strerror(errno);
    if (!problem.empty()) {
        return "cannot be copied to /tmp: " + problem;
    }
    mPath = "/proc/self/fd/" + std::to_string(fileno(mCopy.get()));
    return "";
}
