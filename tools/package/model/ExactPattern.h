#pragma once

#include <string>
#include <vector>

/// A regular expression that matches exactly these texts.
std::string ExactPattern(const std::vector<std::string>& texts);
