#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// Who controls a GigE Vision device, asked without taking control of it.
struct ControlState {
    enum class Kind { kFree, kInUse, kSilent, kRefused } kind = Kind::kSilent;
    /// The address of the application in control, host byte order; 0: not known.
    std::uint32_t controller = 0;
};

/// A device, and the interface that it is asked through.
struct ControlQuestion {
    std::string interfaceName;
    std::uint32_t address = 0;  ///< host byte order
};

/// Reads the control channel privilege of all devices at once (GigE Vision 2.0, section 28), within
/// one second.
/// @return in the order of the questions
std::vector<ControlState> AskForControlStates(const std::vector<ControlQuestion>& questions);
