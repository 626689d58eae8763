#pragma once

#include <chrono>
#include <string>

#include <NxBase/NxResult.h>

/// The wait for a file operation of a device that answers and says that it is not done: asked again
/// at growing distances for a minute at most. The port detects a device that stops responding.
class OperationPoll {
  public:
    using Clock = std::chrono::steady_clock;

    /// @param operation for the failure's description, "Write"
    /// @param device likewise, "192.168.1.20 on eth1"
    OperationPoll(std::string operation, std::string device, Clock::time_point now = Clock::now());

    /// Sleeps until it is time to ask again.
    /// @return kNxTimeout when the operation has taken too long
    NxResult Pause();
    /// How long Pause has to sleep.
    /// @return kNxTimeout, `pause` untouched, when the operation has taken too long by `now`
    NxResult Next(Clock::time_point now, std::chrono::microseconds& pause);

  private:
    std::string mOperation;
    std::string mDevice;
    Clock::time_point mDeadline;
    std::chrono::microseconds mNextPause;
};
