#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace simulator {

enum class DeviceFault {
    kMute,         ///< no reply any more, until power-on
    kVanish,       ///< unplugged
    kReboot,       ///< as after a watchdog
    kPause,        ///< nothing is done for two seconds, e.g. while a flash sector is erased
    kFail,         ///< the file operation under way reports a failure (TFTP: an ERROR)
    kLoseControl,  ///< GigE Vision: another application takes control and keeps it
    kStall         ///< USB3 Vision: the control endpoints stall
};

/// Where in a session a fault strikes.
enum class FaultMoment {
    kByte,      ///< so many bytes of a payload have arrived; the last of them are not confirmed
    kCommand,   ///< so many commands (TFTP: packets) were answered, over all buses, without
                ///< discovery
    kStatus,    ///< the status text is requested; the request is not answered
    kDeviceId,  ///< a device-ID record has arrived, but is not confirmed; by file access, it is not
                ///< carried out either
    kReset      ///< the same with a reset record
};

/// How long DeviceFault::kPause lasts.
constexpr std::chrono::milliseconds kFaultPause{2000};

/// A fault that strikes once, at one moment.
struct PlannedFault {
    DeviceFault kind = DeviceFault::kMute;
    FaultMoment moment = FaultMoment::kByte;
    std::uint64_t number = 1;  ///< of bytes, commands or requests until it strikes

    /// @param text KIND@MOMENT or KIND@MOMENT=NUMBER, e.g. "mute@status" or "reboot@command=12"
    [[nodiscard]] static std::optional<PlannedFault> Parse(const std::string& text);
};

[[nodiscard]] const char* NameOf(DeviceFault kind);
[[nodiscard]] const char* NameOf(FaultMoment moment);

}  // namespace simulator
