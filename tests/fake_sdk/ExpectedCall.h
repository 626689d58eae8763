#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <string>

#include <NxBase/NxResult.h>
#include <NyUtilsLib/Result.h>

#include "StepPlace.h"

namespace NxGenICamLib {
class IGenFUUpdater;
}

/// One step of a Script: the call expected and what it answers. OK and empty unless told otherwise.
struct ExpectedCall {
    using Run = std::function<NyUtilsLib::Result(NxGenICamLib::IGenFUUpdater&)>;

    std::string call;
    StepPlace where{};  ///< of the step in the test
    NxResult result;
    std::string data;
    std::function<void()> action;
    Run run;
    std::size_t heldUntilSleep = 0;
    long mostWritten = std::numeric_limits<long>::max();

    /// Fails with that code and description (or message).
    ExpectedCall& Fails(unsigned int code, const std::string& description = "it failed") {
        result = NxResult(code, description);
        return *this;
    }
    /// Hands out these bytes: what is read, or the record that is built.
    ExpectedCall& Gives(const std::string& bytes) {
        data = bytes;
        return *this;
    }
    /// For "NxGenFile::Write": reports at most that many bytes as written.
    ExpectedCall& Takes(long bytes) {
        mostWritten = bytes;
        return *this;
    }
    ExpectedCall& Does(std::function<void()> what) {
        action = std::move(what);
        return *this;
    }
    /// For "GenFUControl::Run": what the firmware-update model does with its updater.
    ExpectedCall& Runs(Run what) {
        run = std::move(what);
        return *this;
    }
    /// Returns only when the n-th sleep (counted from 1, from the script's beginning) has begun.
    ExpectedCall& LastsUntilSleep(std::size_t n) {
        heldUntilSleep = n;
        return *this;
    }
};
