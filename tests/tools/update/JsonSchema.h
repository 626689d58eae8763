#pragma once

#include <string>

#include <nlohmann/json.hpp>

/// What a value breaks of a JSON Schema (draft 2020-12), one line; empty for nothing. Knows the
/// keywords that our schemas use; any other is itself an error, so that nothing goes unchecked.
[[nodiscard]] std::string SchemaProblem(const nlohmann::json& schema, const nlohmann::json& value);
