#pragma once

/// What one access to a node may cost, so that no description can keep the process busy or overflow
/// its stack: a device decides what a formula looks like. Cameras need a few hundred steps and a
/// depth of 20.
struct EvaluationBudget {
    static constexpr int kDepthOfNode = 8;

    int steps = 100000;  ///< parts of formulas, and properties looked at
    int reads = 1000;    ///< accesses to the device
    int depth = 800;     ///< parentheses that are open; a node within a node costs kDepthOfNode

    /// @return false when there is nothing left
    bool TakeStep(int count = 1) {
        steps -= count;
        return steps >= 0;
    }
};
