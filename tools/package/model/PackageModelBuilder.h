#pragma once

#include <NxGenICam/IGenFUModelBuilder.h>

#include "PackageModel.h"

/// Fills a PackageModel from the calls of the manifest parser.
class PackageModelBuilder : public NxGenICamLib::IGenFUModelBuilder {
  public:
    using Result = NyUtilsLib::Result;

    [[nodiscard]] const PackageModel& GetModel() const { return mModel; }

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
    Result Add(PackageStep step);

    PackageModel mModel;
};
