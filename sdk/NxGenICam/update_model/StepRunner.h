#pragma once

#include <string>

#include <NxGenICam/IGenFUUpdater.h>

#include "Step.h"

namespace NxGenICamLib {

/// Does the steps of a procedure through the updater's calls; a visitor of Step.
class StepRunner {
  public:
    /// @param place begins the message of a failed step, e.g. "Step 2 of procedure \"main\""
    StepRunner(IGenFUUpdater& updater, std::string place);

    NyUtilsLib::Result operator()(const FileUpload& step) const;
    NyUtilsLib::Result operator()(const FeatureAssert& step) const;
    NyUtilsLib::Result operator()(const FeatureWrite& step) const;
    NyUtilsLib::Result operator()(const FeatureExecute& step) const;
    NyUtilsLib::Result operator()(const DeviceReset& step) const;

  private:
    [[nodiscard]] NyUtilsLib::Result Report(const NyUtilsLib::Result& result,
                                            const std::string& what) const;

    IGenFUUpdater& mUpdater;
    std::string mPlace;
};

/// " failed with code 25: " and the result's own message, or else what the code means.
std::string DescribeFailure(const NyUtilsLib::Result& result);

}  // namespace NxGenICamLib
