#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "PayloadBuilder.h"
#include "Process.h"

/// What users are made to wait before a failure is told; longer with a sanitizer, which takes its
/// own time.
#ifdef MIRSKO_SANITIZED
inline constexpr std::chrono::seconds kSoon(60);
#else
inline constexpr std::chrono::seconds kSoon(15);
#endif

/// Runs the real updater with these arguments. The limit only ends what hangs.
ProcessResult RunUpdater(std::vector<std::string> arguments,
                         std::chrono::milliseconds limit = std::chrono::minutes(4));

/// The option that selects the devices on loopback.
inline const std::string kLoopback = "--localinterface=00:00:00:00:00:00";

/// The updater's output without the progress labels, each of which ends in a carriage return; fails
/// the test when one of them is not worded as a label.
std::string WithoutLabels(const std::string& out);
/// The labels alone, without their carriage returns.
std::vector<std::string> Labels(const std::string& out);

/// What the device behind loopback says of itself, as mirsko-devices prints it; empty without one.
std::string DeviceField(const std::string& field);

/// What the updater leaves in /tmp: each file it unpacked, by name without the random end, with its
/// size in bytes.
std::multimap<std::string, std::uintmax_t> UnpackedFiles();
