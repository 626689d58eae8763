// bench-measure COMMAND [ARGUMENT…]: runs a command and prints, as JSON, how long it took, its CPU
// time and the most memory it held, and when it began and ended (seconds since 1970, as in a
// capture). Its output is thrown away; its errors are not. Exit status: that of the command.
//
// A small program on purpose: the peak that the system reports of a process includes that of the
// one it was forked from.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

namespace {

double Now(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench-measure COMMAND [ARGUMENT...]\n");
        return 2;
    }
    const double begin = Now(CLOCK_REALTIME);
    const double start = Now(CLOCK_MONOTONIC);
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        execvp(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        std::perror("bench-measure");
        return 2;
    }
    const double seconds = Now(CLOCK_MONOTONIC) - start;
    std::printf(
        "{\"begin\": %.6f, \"end\": %.6f, \"seconds\": %.6f, \"cpu_seconds\": %.6f, "
        "\"peak_kib\": %ld}\n",
        begin, begin + seconds, seconds, Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
        usage.ru_maxrss);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
