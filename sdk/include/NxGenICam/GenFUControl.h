#pragma once

#include <memory>
#include <string>

#include <NxBase/NxApi.h>
#include <NxGenICam/IGenFUModel.h>
#include <NxGenICam/IGenFUModelBuilder.h>
#include <NxGenICam/IGenFUUpdater.h>
#include <NyUtilsLib/Result.h>

namespace NxGenICamLib {

/// Holds a firmware-update description and runs it through the calls of an IGenFUUpdater.
///
/// Run takes the first update, in the order they were added, whose conditions all hold, and does
/// the steps of its procedure one after the other. The first step that fails ends the run with the
/// step's own code and a message that names the step. Used from one thread.
class NX_API GenFUControl : public IGenFUModel, public IGenFUModelBuilder {
  public:
    /// @param updater does what the steps ask for; not owned, must outlive the control
    explicit GenFUControl(IGenFUUpdater* updater);
    ~GenFUControl() override;
    GenFUControl(const GenFUControl&) = delete;
    GenFUControl& operator=(const GenFUControl&) = delete;

    /// @return code 0 when every step was done; the code of the step that failed; kNxAssertFailed
    ///         and the assert's own message when its feature does not match. When no update's
    ///         conditions all hold, "No update in this package is for <model>" with kNxNoUpdate,
    ///         or, where a condition's feature could not be read, with the code of that reading
    ///         (kGenFUUnreadable from the updater) and the feature's name
    NyUtilsLib::Result Run() override;

    NyUtilsLib::Result Clear() override;
    NyUtilsLib::Result AddProcedure(const std::string& id) override;
    NyUtilsLib::Result AddFileUpload(const std::string& fileName, const std::string& deviceFileName,
                                     const std::string& transport) override;
    NyUtilsLib::Result AddFeatureAssert(const std::string& featureName, const std::string& pattern,
                                        const std::string& message) override;
    NyUtilsLib::Result AddFeatureWrite(const std::string& featureName,
                                       const std::string& value) override;
    NyUtilsLib::Result AddFeatureExecute(const std::string& featureName) override;
    NyUtilsLib::Result AddDeviceReset() override;
    NyUtilsLib::Result AddUpdate(const std::string& procedureId) override;
    NyUtilsLib::Result AddInfo(const std::string& name, const std::string& text) override;
    NyUtilsLib::Result AddCondition(const std::string& featureName,
                                    const std::string& pattern) override;

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};

}  // namespace NxGenICamLib
