#pragma once

#include <nlohmann/json.hpp>

/// What keeps the updater from a device, or makes it take another one, and what to do about it.
///
/// @param interfaces the member of that name of Inventory::Describe
/// @return an array of objects: "code", "interface", "device" (its serial number, or empty) and
///         "text", one line
[[nodiscard]] nlohmann::ordered_json FindingsOf(const nlohmann::ordered_json& interfaces);
