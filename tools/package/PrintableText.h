#pragma once

#include <string>

/// The text with '?' for every control character: names in an archive could steer the terminal.
std::string PrintableText(std::string text);
