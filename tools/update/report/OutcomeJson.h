#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "../cameras/Camera.h"
#include "../run/Outcome.h"

// The lines of --json, as docs/schemas/mirsko-update.schema.json describes them.

/// @return a JSON object without line ends
[[nodiscard]] std::string CameraJson(const Camera& camera, const Outcome& outcome);

/// @param status the program's exit status
[[nodiscard]] std::string SummaryJson(const std::vector<Outcome>& outcomes, bool dryRun, int status,
                                      std::chrono::duration<double> time);
