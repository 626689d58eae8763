#pragma once

#include <string>

#include "PackageModel.h"

/// Writes a manifest that says what the model holds.
std::string ManifestText(const PackageModel& model);
