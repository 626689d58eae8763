#pragma once

#include <random>

namespace simulator {

/// One draw: true in that many percent of the cases. Draws the same in every run with one seed, on
/// every machine (the standard's distributions would not).
[[nodiscard]] inline bool Happens(double percent, std::mt19937& chance) {
    constexpr double kSteps = 4294967296.0;
    return static_cast<double>(chance()) / kSteps * 100.0 < percent;
}

}  // namespace simulator
