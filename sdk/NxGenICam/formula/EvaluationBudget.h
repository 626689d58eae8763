#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

/// What one access to a node may cost, so that no description can keep the process busy or overflow
/// its stack: a device decides what a formula looks like. Cameras need a few hundred steps and a
/// depth of 20.
struct EvaluationBudget {
    static constexpr int kDepthOfNode = 20;

    int steps = 100000;  ///< parts of formulas, properties looked at, texts by length
    int reads = 1000;    ///< accesses to the device
    int writes = 100;    ///< of registers
    int depth = 2000;  ///< parts of formulas inside others; a node within a node costs kDepthOfNode

    /// @return false when there is nothing left
    bool TakeStep(int count = 1) {
        // What is used up stays so, however often it is asked.
        steps = steps < count ? -1 : steps - count;
        return steps >= 0;
    }
    bool TakeStepsForProperties(std::size_t count) {
        return TakeStep(static_cast<int>(count / 32));
    }
    bool TakeStepsFor(std::string_view text) {
        return TakeStep(1 + static_cast<int>(std::min<std::size_t>(text.size(), 1U << 30U) / 64));
    }
};
