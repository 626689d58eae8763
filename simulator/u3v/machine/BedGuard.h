#pragma once

#include <string>
#include <vector>

namespace simulator {

/// Stands between the test bed and the command that is to run in it, as the same process: shows
/// that the bed is where this computer's USB was, hides the real one, and only then becomes the
/// command.
///
/// It is this program, started again with umockdev's preload library.
class BedGuard {
  public:
    /// @param bed the bed's folder
    /// @param report file descriptor that takes the one line of a failure; closed by the command
    /// @param preload the command's LD_PRELOAD
    /// @return the arguments that make this program the guard
    [[nodiscard]] static std::vector<std::string> CommandLine(
        const std::string& bed, int report, const std::string& preload, const std::string& program,
        const std::vector<std::string>& command);

    /// True if this program was started to be the guard.
    [[nodiscard]] static bool IsAskedFor(int argumentCount, char** arguments);
    /// Becomes the command. Returns only when nothing was run, with the exit status.
    [[nodiscard]] static int Run(int argumentCount, char** arguments);
};

}  // namespace simulator
