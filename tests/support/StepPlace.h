#pragma once

#include <source_location>

#include <gtest/gtest.h>

/// Where in a test a step of its script was written. As the default argument
/// `StepPlace where = StepPlace::current()` it is the line of the call.
using StepPlace = std::source_location;

/// A failure of the test that is reported at a step's own line; what is wrong follows by <<.
#define FAIL_AT_STEP(where) ADD_FAILURE_AT((where).file_name(), static_cast<int>((where).line()))
