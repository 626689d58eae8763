#include "PlannedFault.h"

#include <algorithm>
#include <charconv>

#include "NameTable.h"

namespace simulator {

namespace {

constexpr NameTable<DeviceFault, 7> kKinds{{{
    {DeviceFault::kMute, "mute"},
    {DeviceFault::kVanish, "vanish"},
    {DeviceFault::kReboot, "reboot"},
    {DeviceFault::kPause, "pause"},
    {DeviceFault::kFail, "fail"},
    {DeviceFault::kLoseControl, "lose-control"},
    {DeviceFault::kStall, "stall"},
}}};

constexpr NameTable<FaultMoment, 5> kMoments{{{
    {FaultMoment::kByte, "byte"},
    {FaultMoment::kCommand, "command"},
    {FaultMoment::kStatus, "status"},
    {FaultMoment::kDeviceId, "device-id"},
    {FaultMoment::kReset, "reset"},
}}};

}  // namespace

const char* NameOf(DeviceFault kind) {
    return kKinds.NameOf(kind);
}

const char* NameOf(FaultMoment moment) {
    return kMoments.NameOf(moment);
}

std::optional<PlannedFault> PlannedFault::Parse(const std::string& text) {
    const std::size_t at = text.find('@');
    if (at == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t equals = std::min(text.find('=', at), text.size());
    const auto kind = kKinds.ValueNamed(text.substr(0, at));
    const auto moment = kMoments.ValueNamed(text.substr(at + 1, equals - at - 1));
    if (!kind || !moment) {
        return std::nullopt;
    }
    PlannedFault fault{*kind, *moment, 1};
    if (equals < text.size()) {
        const char* const end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data() + equals + 1, end, fault.number);
        if (error != std::errc() || rest != end || fault.number == 0) {
            return std::nullopt;
        }
    }
    return fault;
}

}  // namespace simulator
