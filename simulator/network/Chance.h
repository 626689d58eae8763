#pragma once

#include <cstdint>
#include <random>

namespace simulator {

/// Draws that come out the same in every run with one seed, on every machine (the standard's
/// distributions would not).
class Chance {
  public:
    explicit Chance(std::uint32_t seed) : mGenerator(seed) {}

    /// One draw: true in that many percent of the cases.
    [[nodiscard]] bool Happens(double percent) {
        constexpr double kSteps = 4294967296.0;
        return static_cast<double>(mGenerator()) / kSteps * 100.0 < percent;
    }

  private:
    std::mt19937 mGenerator;
};

}  // namespace simulator
