#pragma once

#include <chrono>
#include <vector>

namespace simulator {

/// Lets a thread wait for sockets until another thread tells it to end.
class WakeUp {
  public:
    using Clock = std::chrono::steady_clock;

    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// False when the system has no descriptor left for it; errno says so.
    [[nodiscard]] bool IsUsable() const { return mDescriptor >= 0; }
    /// Ends every Wait from now on. May be called from any thread.
    void Signal() const;
    /// Returns when a datagram has come to one of the sockets, the time is there, or on Signal.
    /// @param until Clock::time_point::max(): however long it takes
    /// @return false after Signal
    [[nodiscard]] bool Wait(const std::vector<int>& sockets, Clock::time_point until) const;

  private:
    const int mDescriptor;  // eventfd, readable from Signal on
};

}  // namespace simulator
