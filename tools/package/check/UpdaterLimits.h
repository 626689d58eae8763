#pragma once

#include <string>
#include <vector>

#include "../model/PackageModel.h"

/// What the updater does with steps and conditions other than they say, with their places; one line
/// each.
std::vector<std::string> UpdaterLimits(const PackageModel& model);

/// Takes resets from the ends of procedures that do something else before.
/// @return what was taken, one line each
std::vector<std::string> DropFinalResets(PackageModel& model);

/// @param number of the step, from 1
/// @return e.g. "procedure "p", step 1, FileUpload: "
std::string PlaceOfStep(const PackageProcedure& procedure, std::size_t number,
                        PackageStep::Kind kind);
