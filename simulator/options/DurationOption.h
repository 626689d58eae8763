#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <string>

/// Adds an option for a time in milliseconds or microseconds, whichever the target counts in.
template <typename Duration>
void AddDuration(CLI::App& app, const std::string& name, Duration& target,
                 const std::string& description) {
    const std::string unit = std::is_same_v<Duration, std::chrono::microseconds> ? "US" : "MS";
    app.add_option_function<std::uint32_t>(
           name, [&target](std::uint32_t value) { target = Duration(value); }, description)
        ->type_name(unit)
        ->default_str(std::to_string(target.count()));
}
