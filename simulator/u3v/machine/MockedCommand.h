#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace simulator {

/// A program that runs with a test bed in the place of this computer's devices.
class MockedCommand {
  public:
    /// Starts it only when it is certain to see the bed: not when the preload library is missing or
    /// does not take, nor a statically linked or set-uid program, into which nothing is preloaded.
    /// What it starts without the preload library sees no USB at all.
    /// @param bed the bed's folder
    /// @param command program, searched in PATH when it has no '/', and its arguments
    /// @param withoutOverride true: it has not the superuser's right to open whatever it likes
    /// @param[out] why one line, set when false is returned
    [[nodiscard]] bool Start(const std::string& bed, const std::vector<std::string>& command,
                             bool withoutOverride, std::string& why);

    [[nodiscard]] pid_t Id() const { return mId; }
    /// Takes note of its end. @return false while it runs
    [[nodiscard]] bool HasEnded();
    /// Its exit status; 128 plus the signal that ended it.
    [[nodiscard]] int ExitStatus() const { return mStatus; }

  private:
    pid_t mId = -1;
    int mStatus = 0;
};

}  // namespace simulator
