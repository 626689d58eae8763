#pragma once

#include <signal.h>

#include <chrono>

/// Keeps SIGINT, SIGTERM and SIGHUP from ending the process while it lives; one that nobody waited
/// for acts at its end. Made before any thread, also of a library, so that all inherit the blocked
/// signals.
class Interruption {
  public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Whether a signal came that nobody has waited for yet.
    [[nodiscard]] bool IsPending() const;
    /// @return true when a signal came within that time
    [[nodiscard]] bool WaitFor(std::chrono::milliseconds time);
    /// Signals waited for so far.
    [[nodiscard]] int Count() const { return mCount; }

  private:
    sigset_t mSignals{};
    sigset_t mBefore{};
    int mCount = 0;
};
