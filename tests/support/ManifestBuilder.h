#pragma once

#include <string>

/// A step that transfers this member of the package.
std::string Upload(const std::string& file, const std::string& transport = "GenICam");

/// A condition or assert, as its pattern reads.
struct FeaturePattern {
    std::string feature = "DeviceModelName";
    std::string pattern = "Simulated Camera";
};

/// A manifest in one line, with one procedure "p" of these steps and one update, which runs it. It
/// holds all that a manifest should, so that a check has nothing to say of it.
std::string MakeManifest(const std::string& steps, const FeaturePattern& condition = {});
