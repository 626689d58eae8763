#pragma once

#include <chrono>
#include <string>

#include "FaultCell.h"

/// What became of a cell.
struct FaultResult {
    std::string observed;                  ///< as NameOf(Outcome), or what is wrong with the output
    std::string reason;                    ///< the first line on the standard error stream
    std::chrono::milliseconds duration{};  ///< of the update
    std::chrono::milliseconds next{};      ///< of the update after it
    std::string wrong;                     ///< why the cell is not as expected; empty when it is

    /// The cell's line in the table.
    [[nodiscard]] std::string Line(const FaultCell& cell) const;
};

/// Updates a camera that holds the firmware and the success text of an earlier update, with the
/// cell's fault; then once more, without doing anything but what the cell's remedy says. Needs a
/// network of its own.
[[nodiscard]] FaultResult RunFaultCell(const FaultCell& cell);
