#pragma once

#include <chrono>
#include <string>

#include <NxBase/NxResult.h>

/// The wait for a file operation that the device carries out: asked again at growing distances,
/// bounded in time.
class OperationWait {
  public:
    /// @param what the operation and the device, for the failure's description
    explicit OperationWait(std::string what);

    /// Sleeps until it is time to ask again.
    /// @return kNxTimeout when the operation has taken too long
    NxResult Pause();

  private:
    std::string mWhat;
    std::chrono::steady_clock::time_point mDeadline;
    std::chrono::microseconds mNextPause;
};
