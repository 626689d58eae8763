#include "DeviceFaults.h"

#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

const char* NumberNameOf(FaultMoment moment) {
    switch (moment) {
        case FaultMoment::kByte:
            return "bytes";
        case FaultMoment::kCommand:
            return "commands";
        default:
            return "requests";
    }
}

}  // namespace

DeviceFaults::DeviceFaults(const FaultOptions& faults, EventLog& events) : mEvents(events) {
    const std::pair<DeviceFault, const std::optional<std::uint64_t>&> atByte[] = {
        {DeviceFault::kMute, faults.muteAtByte},
        {DeviceFault::kVanish, faults.vanishAtByte},
        {DeviceFault::kReboot, faults.rebootAtByte},
        {DeviceFault::kLoseControl, faults.loseControlAtByte}};
    for (const auto& [kind, byte] : atByte) {
        if (byte) {
            mFaults.push_back({{kind, FaultMoment::kByte, *byte}});
        }
    }
    for (const PlannedFault& plan : faults.planned) {
        mFaults.push_back({plan});
    }
}

std::vector<DeviceFault> DeviceFaults::StrikeAtByte(std::uint64_t total) {
    const std::lock_guard lock(mMutex);
    std::vector<DeviceFault> striking;
    for (Fault& fault : mFaults) {
        if (fault.plan.moment == FaultMoment::kByte && total >= fault.plan.number) {
            Strike(fault, total, striking);
        }
    }
    return striking;
}

std::vector<DeviceFault> DeviceFaults::StrikeAt(FaultMoment moment) {
    const std::lock_guard lock(mMutex);
    std::vector<DeviceFault> striking;
    for (Fault& fault : mFaults) {
        if (fault.plan.moment == moment && ++fault.count >= fault.plan.number) {
            Strike(fault, fault.count, striking);
        }
    }
    return striking;
}

void DeviceFaults::Strike(Fault& fault, std::uint64_t number, std::vector<DeviceFault>& striking) {
    if (!std::exchange(fault.struck, true)) {
        mEvents.Add("fault", {{"kind", NameOf(fault.plan.kind)},
                              {"moment", NameOf(fault.plan.moment)},
                              {NumberNameOf(fault.plan.moment), number}});
        striking.push_back(fault.plan.kind);
    }
}

}  // namespace simulator
