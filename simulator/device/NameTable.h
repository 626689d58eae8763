#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

/// The names that the values of an enumeration have in options, each value and name once.
template <typename Value, std::size_t kCount>
struct NameTable {
    std::array<std::pair<Value, const char*>, kCount> entries;

    [[nodiscard]] const char* NameOf(Value value) const {
        const auto* const found =
            std::find_if(entries.begin(), entries.end(),
                         [value](const auto& entry) { return entry.first == value; });
        return found->second;
    }

    [[nodiscard]] std::optional<Value> ValueNamed(const std::string& name) const {
        const auto* const found =
            std::find_if(entries.begin(), entries.end(),
                         [&name](const auto& entry) { return entry.second == name; });
        return found == entries.end() ? std::nullopt : std::optional(found->first);
    }

    [[nodiscard]] std::vector<Value> Values() const {
        std::vector<Value> values;
        for (const auto& [value, name] : entries) {
            values.push_back(value);
        }
        return values;
    }
};

}  // namespace simulator
