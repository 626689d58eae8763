#include "Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

void ReadAll(int descriptor, std::string& into, std::mutex& mutex) {
    std::array<char, 65536> buffer{};
    for (;;) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count > 0) {
            const std::lock_guard lock(mutex);
            into.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    close(descriptor);
}

// Tests may not look at this program's streams, or at its status; a report fails them all the same.
void ExpectNoSanitizerReport(const std::string& err) {
    for (const char* sign : {"Sanitizer: ", "Sanitizer:DEADLYSIGNAL", ": runtime error: "}) {
        EXPECT_EQ(err.find(sign), std::string::npos) << err;
    }
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::string_view NameOf(std::string_view entry) {
    return entry.substr(0, entry.find('='));
}

// Without those whose names are given: which of two a program takes is for its C library to decide.
void AddInherited(std::vector<std::string>& environment) {
    const std::size_t given = environment.size();
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const auto end = environment.begin() + static_cast<std::ptrdiff_t>(given);
        if (std::none_of(environment.begin(), end,
                         [&](const std::string& own) { return NameOf(own) == NameOf(*entry); })) {
            environment.emplace_back(*entry);
        }
    }
}

}  // namespace

Process::Process(std::vector<std::string> command, std::vector<std::string> environment)
    : mStart(Clock::now()) {
    AddInherited(environment);
    std::array<int, 2> out{};
    std::array<int, 2> err{};
    if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0) {
        ADD_FAILURE() << "pipe2: " << strerror(errno);
        return;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    const int error = posix_spawnp(&mId, command.at(0).c_str(), &actions, nullptr,
                                   Pointers(command).data(), Pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    if (error != 0) {
        ADD_FAILURE() << "cannot start " << command.at(0) << ": " << strerror(error);
        mId = -1;
        mReaped = true;
    }
    mOutReader = std::thread([this, end = out[0]] { ReadAll(end, mResult.out, mOutputMutex); });
    mErrReader = std::thread([this, end = err[0]] { ReadAll(end, mResult.err, mOutputMutex); });
}

Process::~Process() {
    if (!mReaped) {
        Signal(SIGKILL);
        (void)Wait(Milliseconds(10000));
    }
    if (mOutReader.joinable()) {
        mOutReader.join();
        mErrReader.join();
    }
}

bool Process::IsRunning() {
    if (mReaped) {
        return false;
    }
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(mId), &info, WEXITED | WNOHANG | WNOWAIT);
    return info.si_pid == 0;
}

void Process::Signal(int signal) const {
    if (!mReaped && mId > 0) {
        kill(mId, signal);
    }
}

std::string Process::OutputSoFar() {
    const std::lock_guard lock(mOutputMutex);
    return mResult.out;
}

std::string Process::ErrorSoFar() {
    const std::lock_guard lock(mOutputMutex);
    return mResult.err;
}

std::string Process::Threads() const {
    std::string threads;
    std::error_code ignored;
    const std::string folder = "/proc/" + std::to_string(mId) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(folder, ignored)) {
        threads += "thread " + task.path().filename().string();
        for (const char* const name : {"wchan", "syscall", "stat"}) {
            std::string text;
            std::getline(std::ifstream(task.path() / name), text);
            threads.append(" | ").append(text);
        }
        threads += "\n";
    }
    return threads;
}

ProcessResult Process::Wait(Milliseconds limit) {
    if (!mReaped) {
        if (!WaitUntil([this] { return !IsRunning(); }, limit)) {
            mResult.timedOut = true;
            Signal(SIGKILL);
        }
        int status = 0;
        waitpid(mId, &status, 0);
        Collect(status);
    }
    return mResult;
}

void Process::Collect(int status) {
    mReaped = true;
    mOutReader.join();
    mErrReader.join();
    ExpectNoSanitizerReport(mResult.err);
    mResult.duration = std::chrono::duration_cast<Milliseconds>(Clock::now() - mStart);
    if (WIFEXITED(status)) {
        mResult.exitStatus = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        mResult.signal = WTERMSIG(status);
    }
}

ProcessResult Process::Terminate(Milliseconds limit) {
    Signal(SIGTERM);
    return Wait(limit);
}

ProcessResult Process::Run(std::vector<std::string> command, Milliseconds limit,
                           std::vector<std::string> environment) {
    return Process(std::move(command), std::move(environment)).Wait(limit);
}

std::string Program(const std::string& name) {
    return std::string(MIRSKO_PROGRAM_FOLDER) + "/" + name;
}

bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}
