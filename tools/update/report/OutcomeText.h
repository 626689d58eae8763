#pragma once

#include <string>
#include <vector>

#include "../cameras/Camera.h"
#include "../run/Outcome.h"

/// One line on what became of a camera, or would.
[[nodiscard]] std::string OutcomeText(const Camera& camera, const Outcome& outcome, bool dryRun);

/// "3 updated, 1 failed"
[[nodiscard]] std::string SummaryText(const std::vector<Outcome>& outcomes);
