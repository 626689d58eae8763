#pragma once

#include <string>
#include <vector>

#include "Process.h"

/// Runs the real updater with these arguments.
ProcessResult RunUpdater(std::vector<std::string> arguments,
                         std::chrono::milliseconds limit = std::chrono::milliseconds(60000));

/// The option that selects the devices on loopback.
inline const std::string kLoopback = "--localinterface=00:00:00:00:00:00";

/// The updater's output without the progress labels, each of which ends in a carriage return; fails
/// the test when one of them is not worded as a label.
std::string WithoutLabels(const std::string& out);
/// The labels alone, without their carriage returns.
std::vector<std::string> Labels(const std::string& out);

/// A whole payload for simulated cameras of the family "MirskoSim": header and body.
std::string MakePayload(const std::string& body, unsigned int major = 2, unsigned int minor = 1);

/// What the device behind loopback says of itself, as mirsko-devices prints it; empty without one.
std::string DeviceField(const std::string& field);
