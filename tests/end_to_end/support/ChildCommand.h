#pragma once

#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

/// The exit status when a command could not be run to its end.
constexpr int kNotRun = 125;

/// Runs a command to its end. For small programs that tests put in front of the real ones.
/// @param command program (searched in PATH) and its arguments, null at the end
/// @return its exit status, or kNotRun
inline int RunToEnd(char** command) {
    pid_t child = 0;
    int status = 0;
    if (posix_spawnp(&child, command[0], nullptr, nullptr, command, environ) != 0 ||
        waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return kNotRun;
    }
    return WEXITSTATUS(status);
}
