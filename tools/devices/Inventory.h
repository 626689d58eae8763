#pragma once

#include <nlohmann/json.hpp>

class NxSystem;

/// What mirsko-devices prints, as the JSON object that --json prints: interfaces with their
/// devices, and findings (see Findings.h).
namespace Inventory {

using Json = nlohmann::ordered_json;

/// Raised when a member changes its meaning or goes; more members may come at any time.
inline constexpr int kFormat = 1;

/// Describes what the last NxSystem::FindAll found.
/// @param withTransport connects to each device and asks which transport the updater would use
[[nodiscard]] Json Describe(const NxSystem& system, bool withTransport);

/// The prefix length of a mask such as "255.255.255.0"; -1 for a text that is not a mask.
[[nodiscard]] int PrefixOf(const std::string& mask);

}  // namespace Inventory
