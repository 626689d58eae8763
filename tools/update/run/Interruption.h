#pragma once

#include <signal.h>

#include <chrono>

/// Keeps SIGINT, SIGTERM and SIGHUP from ending the process while cameras are being written. Made
/// before the threads are, which inherit the blocked signals.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// @return true when a signal came within that time
    [[nodiscard]] bool WaitFor(std::chrono::milliseconds time);
    /// Signals so far.
    [[nodiscard]] int Count() const { return mCount; }

  private:
    sigset_t mSignals{};
    sigset_t mBefore{};
    int mCount = 0;
};
