#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "EventLog.h"
#include "FaultOptions.h"
#include "PlannedFault.h"

namespace simulator {

/// The faults that strike at a moment of a session, whatever the bus. Each strikes once in this
/// object's life, which outlasts the device's reboots, and is an event "fault" with the members
/// "kind" and "moment" (their names in PlannedFault::Parse) and a number named after what is
/// counted: "bytes", "commands" or "requests". May be used from any thread.
class DeviceFaults {
  public:
    /// @param events must outlive this object
    DeviceFaults(const FaultOptions& faults, EventLog& events);

    /// @param total bytes of the payload so far
    /// @return the faults that strike now
    [[nodiscard]] std::vector<DeviceFault> StrikeAtByte(std::uint64_t total);
    /// One of the moments has come that are counted one by one: all but FaultMoment::kByte.
    /// @return the faults that strike now
    [[nodiscard]] std::vector<DeviceFault> StrikeAt(FaultMoment moment);

  private:
    struct Fault {
        PlannedFault plan;
        std::uint64_t count = 0;
        bool struck = false;
    };

    void Strike(Fault& fault, std::uint64_t number, std::vector<DeviceFault>& striking);

    EventLog& mEvents;
    std::mutex mMutex;  // guards mFaults
    std::vector<Fault> mFaults;
};

}  // namespace simulator
