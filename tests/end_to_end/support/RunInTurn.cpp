// run_in_turn COMMAND [-- COMMAND]…: runs commands one after the other and ends with the last one's
// status. After each, both streams get a form feed, the time that it took in milliseconds, and
// another form feed. A command that finds no camera (status 100) is run again, after a vertical
// tab, for at most 20 seconds: a camera that restarts is away for a while.
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ChildCommand.h"

namespace {

constexpr int kNoCamera = 100;
constexpr std::chrono::seconds kCameraLimit{20};

bool Write(const std::string& text) {
    return dprintf(STDOUT_FILENO, "%s", text.c_str()) > 0 &&
           dprintf(STDERR_FILENO, "%s", text.c_str()) > 0;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    using Clock = std::chrono::steady_clock;
    std::vector<char**> commands;
    for (int i = 1; i < argumentCount; ++i) {
        if (std::strcmp(arguments[i], "--") == 0) {
            arguments[i] = nullptr;
        } else if (arguments[i - 1] == nullptr || i == 1) {
            commands.push_back(arguments + i);
        }
    }
    int status = kNotRun;
    for (char** const command : commands) {
        const auto start = Clock::now();
        while ((status = RunToEnd(command)) == kNoCamera && Clock::now() < start + kCameraLimit) {
            (void)poll(nullptr, 0, 100);
            (void)Write("\v");
        }
        const auto time =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        if (!Write("\f" + std::to_string(time.count()) + "\f")) {
            return kNotRun;
        }
    }
    return status;
}
