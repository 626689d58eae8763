#pragma once

#include <string>
#include <vector>

/// Why no GigE Vision device has that model name, one line; empty when one can have it.
std::string ModelLengthProblem(const std::string& model);

/// The names that a pattern such as ExactPattern's matches; none if it is any other pattern.
std::vector<std::string> ExactNames(const std::string& pattern);
