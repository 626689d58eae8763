#pragma once

#include <string>
#include <vector>

#include <NxGenICam/IGenFUModelBuilder.h>

/// Writes down each call as a text: operation, then its arguments with bars between them.
class RecordingBuilder : public NxGenICamLib::IGenFUModelBuilder {
  public:
    using Result = NyUtilsLib::Result;

    Result Clear() override { return Note("Clear", ""); }
    Result AddProcedure(const std::string& id) override { return Note("Procedure", id); }
    Result AddFileUpload(const std::string& fileName, const std::string& deviceFileName,
                         const std::string& transport) override {
        return Note("FileUpload", fileName + "|" + deviceFileName + "|" + transport);
    }
    Result AddFeatureAssert(const std::string& featureName, const std::string& pattern,
                            const std::string& message) override {
        return Note("FeatureAssert", featureName + "|" + pattern + "|" + message);
    }
    Result AddFeatureWrite(const std::string& featureName, const std::string& value) override {
        return Note("FeatureWrite", featureName + "|" + value);
    }
    Result AddFeatureExecute(const std::string& featureName) override {
        return Note("FeatureExecute", featureName);
    }
    Result AddDeviceReset() override { return Note("DeviceReset", ""); }
    Result AddUpdate(const std::string& procedureId) override {
        return Note("Update", procedureId);
    }
    Result AddInfo(const std::string& name, const std::string& text) override {
        return Note("Info", name + "|" + text);
    }
    Result AddCondition(const std::string& featureName, const std::string& pattern) override {
        return Note("Condition", featureName + "|" + pattern);
    }

    std::vector<std::string> calls;
    std::string refused;  ///< the operation that is refused, with code 7

  private:
    Result Note(const std::string& operation, const std::string& arguments) {
        if (operation == refused) {
            return Result(7, "not today");
        }
        calls.push_back(arguments.empty() ? operation : operation + " " + arguments);
        return {};
    }
};
