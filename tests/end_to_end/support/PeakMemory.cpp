// peak_memory FILE COMMAND…: runs a command, writes the most memory it had at once (resident, KiB)
// into a file, and ends with the command's status. Being small matters: the kernel counts what the
// program that starts another has in memory as the other's own.
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

extern char** environ;

int main(int argumentCount, char** arguments) {
    constexpr int kFailed = 125;
    pid_t child = 0;
    int status = 0;
    rusage usage{};
    if (argumentCount < 3 ||
        posix_spawnp(&child, arguments[2], nullptr, nullptr, arguments + 2, environ) != 0 ||
        wait4(child, &status, 0, &usage) != child) {
        return kFailed;
    }
    std::FILE* file = std::fopen(arguments[1], "w");
    if (file == nullptr || std::fprintf(file, "%ld\n", usage.ru_maxrss) < 0 ||
        std::fclose(file) != 0 || !WIFEXITED(status)) {
        return kFailed;
    }
    return WEXITSTATUS(status);
}
