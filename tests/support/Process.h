#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// What a finished program left.
struct ProcessResult {
    int exitStatus = -1;  ///< as from exit(); -1 when a signal or the time limit ended it
    int signal = 0;       ///< the signal that ended it, 0 if none did
    bool timedOut = false;
    std::string out;  ///< raw bytes of its standard output
    std::string err;  ///< raw bytes of its standard error
    std::chrono::milliseconds duration{0};
};

/// A child program with its output collected. Killed, if it still runs, with this object. A
/// sanitizer's report on its standard error is a test failure.
class Process {
  public:
    using Milliseconds = std::chrono::milliseconds;

    /// @param command program (searched in PATH when it has no '/') and its arguments
    /// @param environment additional NAME=value settings
    explicit Process(std::vector<std::string> command, std::vector<std::string> environment = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] pid_t Id() const { return mId; }
    [[nodiscard]] bool IsRunning();
    void Signal(int signal) const;
    /// What it has written to its standard output up to now.
    [[nodiscard]] std::string OutputSoFar();
    /// The same of its standard error.
    [[nodiscard]] std::string ErrorSoFar();
    /// What each of its threads waits for in the kernel, a line each: for a test's failure.
    [[nodiscard]] std::string Threads() const;
    /// Waits for its end; past the limit it is killed and marked as timed out.
    ProcessResult Wait(Milliseconds limit);
    /// SIGTERM, then Wait.
    ProcessResult Terminate(Milliseconds limit = Milliseconds(60000));

    static ProcessResult Run(std::vector<std::string> command,
                             Milliseconds limit = Milliseconds(60000),
                             std::vector<std::string> environment = {});

  private:
    void Collect(int status);

    pid_t mId = -1;
    bool mReaped = false;
    std::chrono::steady_clock::time_point mStart;
    std::thread mOutReader;
    std::thread mErrReader;
    std::mutex mOutputMutex;  // guards mResult.out and mResult.err while the readers run
    ProcessResult mResult;
};

/// The path of a program of this build, e.g. Program("mirsko-simulator").
std::string Program(const std::string& name);

/// Asks every 5 ms until the condition holds; false when the limit is reached first.
bool WaitUntil(const std::function<bool()>& condition,
               std::chrono::milliseconds limit = std::chrono::milliseconds(60000));
