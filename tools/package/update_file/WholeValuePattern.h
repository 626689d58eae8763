#pragma once

#include <string>

/// Rewrites a pattern of a GenICam update file for a manifest. There it is a PCRE pattern that is
/// searched for and keeps its white space; here the whole value must match, and white space is
/// trimmed and collapsed.
/// @return a pattern that means the same; whether a manifest allows it is for the manifest's parser
/// to
///         say
std::string WholeValuePattern(const std::string& pattern);
