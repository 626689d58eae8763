#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "EventLog.h"
#include "FaultOptions.h"

namespace simulator {

enum class PayloadFault { kMute, kReboot, kVanish, kLoseControl };

/// The faults that strike when so many bytes of a payload have come, whatever the bus. Each strikes
/// once in this object's life, which outlasts the device's reboots, and is an event "fault" with
/// the members "kind" ("mute", "reboot", "vanish", "lose-control") and "bytes". May be used from
/// any thread.
class PayloadFaults {
  public:
    /// @param faults,events must outlive this object
    PayloadFaults(const FaultOptions& faults, EventLog& events);

    /// @param total bytes of the payload so far
    /// @return the faults that strike now
    [[nodiscard]] std::vector<PayloadFault> Strike(std::uint64_t total);

  private:
    struct Fault {
        PayloadFault kind;
        const char* name;
        const std::optional<std::uint64_t>& at;
        std::atomic<bool> struck{false};
    };

    EventLog& mEvents;
    std::array<Fault, 4> mFaults;
};

}  // namespace simulator
