#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <NxGenICam/GenFUControl.h>

/// A manifest's procedures and updates. Each update can be run alone, which shows whether it fits;
/// the SDK's model does not show that.
class ManifestUpdates : public NxGenICamLib::IGenFUModelBuilder {
  public:
    using Result = NyUtilsLib::Result;

    /// @param updater asked for features, and given the steps of Run; must outlive this
    explicit ManifestUpdates(NxGenICamLib::IGenFUUpdater& updater);

    [[nodiscard]] std::size_t Count() const { return mUpdates.size(); }
    /// @return code kNxNoUpdate, and the message of a whole manifest, unless its conditions hold
    [[nodiscard]] Result Run(std::size_t update);
    /// The info "Version"; empty without one.
    [[nodiscard]] const std::string& Version(std::size_t update) const {
        return mUpdates[update].version;
    }

    Result Clear() override;
    Result AddProcedure(const std::string& id) override;
    Result AddFileUpload(const std::string& fileName, const std::string& deviceFileName,
                         const std::string& transport) override;
    Result AddFeatureAssert(const std::string& featureName, const std::string& pattern,
                            const std::string& message) override;
    Result AddFeatureWrite(const std::string& featureName, const std::string& value) override;
    Result AddFeatureExecute(const std::string& featureName) override;
    Result AddDeviceReset() override;
    Result AddUpdate(const std::string& procedureId) override;
    Result AddInfo(const std::string& name, const std::string& text) override;
    Result AddCondition(const std::string& featureName, const std::string& pattern) override;

  private:
    using Control = NxGenICamLib::GenFUControl;

    struct Update {
        std::unique_ptr<Control> conditions;  ///< with a procedure that has no steps
        Control* steps = nullptr;             ///< with no conditions
        std::string version;
    };

    NxGenICamLib::IGenFUUpdater& mUpdater;
    std::map<std::string, std::unique_ptr<Control>> mProcedures;  // shared by updates
    Control* mLatest = nullptr;                                   // of these
    std::vector<Update> mUpdates;
};
