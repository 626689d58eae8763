#pragma once

#include <string>

#include "Inventory.h"

/// The text that mirsko-devices prints without --json: a table with a heading, a summary, and the
/// findings.
[[nodiscard]] std::string DeviceTable(const Inventory::Json& inventory);
