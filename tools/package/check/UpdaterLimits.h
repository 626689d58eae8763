#pragma once

#include <string>
#include <vector>

#include "../model/PackageModel.h"

/// What the updater does with a step other than the step says; empty when it does as it says.
std::string UpdaterLimit(const PackageStep& step);

/// The same of a condition.
std::string UpdaterLimit(const PackageCondition& condition);

/// The same of every step and condition, with their places; one line each.
std::vector<std::string> UpdaterLimits(const PackageModel& model);

/// Takes resets from the ends of procedures that do something else before.
/// @return what was taken, one line each
std::vector<std::string> DropFinalResets(PackageModel& model);

/// @param number of the step, from 1
/// @return e.g. "procedure "p", step 1, FileUpload: "
std::string PlaceOfStep(const PackageProcedure& procedure, std::size_t number,
                        PackageStep::Kind kind);
