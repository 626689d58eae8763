#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace simulator {

/// A program that runs with a test bed in the place of this computer's devices.
class MockedCommand {
  public:
    /// @param command program, searched in PATH when it has no '/', and its arguments
    /// @param withoutOverride true: it has not the superuser's right to open whatever it likes
    /// @param[out] why one line, set when false is returned
    [[nodiscard]] bool Start(const std::vector<std::string>& command, bool withoutOverride,
                             std::string& why);

    [[nodiscard]] pid_t Id() const { return mId; }
    /// Takes note of its end. @return false while it runs
    [[nodiscard]] bool HasEnded();
    /// Its exit status; 128 plus the signal that ended it.
    [[nodiscard]] int ExitStatus() const { return mStatus; }

    /// The libraries to be loaded first into a program: the sanitizer runtime that it was built
    /// with, then umockdev's.
    [[nodiscard]] static std::string PreloadFor(const std::string& program);

  private:
    pid_t mId = -1;
    int mStatus = 0;
};

}  // namespace simulator
