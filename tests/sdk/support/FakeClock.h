#pragma once

#include <chrono>

/// Simulates the monotonic clock for the whole program: while there is one, time passes only when
/// it is told to, and sleeping takes none. One at a time.
class FakeClock {
  public:
    FakeClock();
    ~FakeClock();
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;

    void Pass(std::chrono::nanoseconds time) { mPassed += time; }
    /// Since it was made.
    [[nodiscard]] std::chrono::nanoseconds GetPassed() const { return mPassed; }

  private:
    std::chrono::nanoseconds mPassed{0};
};
