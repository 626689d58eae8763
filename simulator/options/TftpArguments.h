#pragma once

#include <CLI/CLI.hpp>

#include "simulator/device/DeviceProfile.h"

/// Adds the options for the device's TFTP server and for its faults to a command line.
/// @param device written while the command line is parsed; must outlive that
void AddTftpOptions(CLI::App& app, simulator::DeviceOptions& device);
