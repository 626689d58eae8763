#pragma once

#include <gtest/gtest.h>

/// Where in a test a step of its script was written. As the default argument
/// `StepPlace where = StepPlace::Current()` it is the line of the call.
/// (std::source_location is missing from clang 14, which builds the tests with the sanitizers.)
class StepPlace {
  public:
    constexpr StepPlace() = default;
    static constexpr StepPlace Current(const char* file = __builtin_FILE(),
                                       int line = __builtin_LINE()) {
        return {file, line};
    }

    const char* FileName() const { return mFile; }
    int Line() const { return mLine; }

  private:
    constexpr StepPlace(const char* file, int line) : mFile(file), mLine(line) {}

    const char* mFile = "";
    int mLine = 0;
};

/// A failure of the test that is reported at a step's own line; what is wrong follows by <<.
#define FAIL_AT_STEP(where) ADD_FAILURE_AT((where).FileName(), (where).Line())
