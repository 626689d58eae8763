#pragma once

#include <CLI/CLI.hpp>

#include "simulator/device/DeviceProfile.h"

/// Adds the options for how the device's features are reached, and how they are described, to a
/// command line.
/// @param device written while the command line is parsed; must outlive that
void AddAccessOptions(CLI::App& app, simulator::DeviceOptions& device);
