#include "StepRunner.h"

#include <utility>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <NxGenICam/GenFUUpdaterCodes.h>

#include "Quoted.h"

namespace NxGenICamLib {

namespace {

// No manifest may hold a longer one.
constexpr std::size_t kLongestMessage = 1024;

/// Empty for a code that the list does not hold.
std::string MeaningOf(unsigned int code) {
    switch (code) {
        case kGenFUFailed:
            return "the file was not transferred, or the device did not accept it";
        case kGenFUNoTransfer:
            return "no transfer is running, so there is no device to reset";
        case kGenFUUnreadable:
            return "the device does not have this feature, or it cannot be read";
        case kGenFUNotProvided:
            return "the updater does not provide this operation";
        default:
            return {};
    }
}

}  // namespace

StepRunner::StepRunner(IGenFUUpdater& updater, std::string place)
    : mUpdater(updater), mPlace(std::move(place)) {}

NyUtilsLib::Result StepRunner::operator()(const FileUpload& step) const {
    return Report(mUpdater.Write(step.fileName, step.transport),
                  "FileUpload of " + Quoted(step.fileName) + " by " + step.transport);
}

NyUtilsLib::Result StepRunner::operator()(const FeatureAssert& step) const {
    const std::string what = "FeatureAssert of " + Quoted(step.featureName);
    std::string value;
    const NyUtilsLib::Result result = mUpdater.ReadGenStringValue(step.featureName, value);
    if (result.GetCode() != 0) {
        return Report(result, what);
    }
    switch (step.pattern.Matches(value)) {
        case Pattern::Match::kYes:
            return {};
        case Pattern::Match::kNo:
            return NyUtilsLib::Result(kNxAssertFailed,
                                      PrintableText(step.message, kLongestMessage));
        default:
            return NyUtilsLib::Result(
                kNxAssertFailed, mPlace + ", " + what + ": matching its pattern takes too long");
    }
}

NyUtilsLib::Result StepRunner::operator()(const FeatureWrite& step) const {
    return Report(mUpdater.WriteGenStringValue(step.featureName, step.value),
                  "FeatureWrite of " + Quoted(step.featureName));
}

NyUtilsLib::Result StepRunner::operator()(const FeatureExecute& step) const {
    return Report(mUpdater.ExecuteGenCommand(step.featureName),
                  "FeatureExecute of " + Quoted(step.featureName));
}

NyUtilsLib::Result StepRunner::operator()(const DeviceReset& /*step*/) const {
    return Report(mUpdater.Reset(), "DeviceReset");
}

NyUtilsLib::Result StepRunner::Report(const NyUtilsLib::Result& result,
                                      const std::string& what) const {
    if (result.GetCode() == 0) {
        return {};
    }
    return NyUtilsLib::Result(result.GetCode(),
                              mPlace + ", " + what + "," + DescribeFailure(result));
}

std::string DescribeFailure(const NyUtilsLib::Result& result) {
    const std::string failed = " failed with code " + std::to_string(result.GetCode());
    const std::string meaning = result.GetMessage().empty()
                                    ? MeaningOf(result.GetCode())
                                    : PrintableText(result.GetMessage(), kLongestMessage);
    return meaning.empty() ? failed : failed + ": " + meaning;
}

}  // namespace NxGenICamLib
