#pragma once

#include <cstdint>
#include <map>
#include <string>

/// A step that transfers this member of the package.
std::string Upload(const std::string& file, const std::string& transport);

/// A condition or assert, as its pattern reads.
struct FeaturePattern {
    std::string feature = "DeviceModelName";
    std::string pattern = "Simulated Camera";
};

/// A manifest with one procedure "p" of these steps and one update, which runs it.
std::string Manifest(const std::string& steps, const FeaturePattern& condition = {});

/// What the updater leaves in /tmp: each file it unpacked, by name without the random end, with its
/// size in bytes.
std::multimap<std::string, std::uintmax_t> UnpackedFiles();
