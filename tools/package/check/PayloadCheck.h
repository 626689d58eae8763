#pragma once

#include <string>
#include <vector>

#include "Finding.h"

/// Checks a local ".dfw" file: its header, its length and its checksums.
/// @param name what the findings call it
std::vector<Finding> CheckPayload(const std::string& path, const std::string& name);
