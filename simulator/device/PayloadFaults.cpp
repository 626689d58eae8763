#include "PayloadFaults.h"

namespace simulator {

PayloadFaults::PayloadFaults(const FaultOptions& faults, EventLog& events)
    : mEvents(events),
      mFaults{{{PayloadFault::kMute, "mute", faults.muteAtByte},
               {PayloadFault::kVanish, "vanish", faults.vanishAtByte},
               {PayloadFault::kReboot, "reboot", faults.rebootAtByte},
               {PayloadFault::kLoseControl, "lose-control", faults.loseControlAtByte}}} {}

std::vector<PayloadFault> PayloadFaults::Strike(std::uint64_t total) {
    std::vector<PayloadFault> striking;
    for (Fault& fault : mFaults) {
        if (fault.at && total >= *fault.at && !fault.struck.exchange(true)) {
            mEvents.Add("fault", {{"kind", fault.name}, {"bytes", total}});
            striking.push_back(fault.kind);
        }
    }
    return striking;
}

}  // namespace simulator
