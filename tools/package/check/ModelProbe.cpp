#include "ModelProbe.h"

#include <utility>

#include <NxGenICam/GenFUControl.h>
#include <NxGenICam/GenFUParser.h>

ModelProbe::ModelProbe(std::string model) : mModel(std::move(model)) {}

NyUtilsLib::Result ModelProbe::Run(const std::string& manifest) {
    NxGenICamLib::GenFUControl control(this);
    const Result built = NxGenICamLib::GenFUParser(&control).Build(manifest);
    return built.GetCode() == 0 ? control.Run() : built;
}

NyUtilsLib::Result ModelProbe::ReadGenStringValue(const std::string& /*nodeName*/,
                                                  std::string& value) {
    value = mModel;
    return {};
}

NyUtilsLib::Result ModelProbe::WriteGenStringValue(const std::string& /*nodeName*/,
                                                   const std::string& /*value*/) {
    return {};
}

NyUtilsLib::Result ModelProbe::ExecuteGenCommand(const std::string& /*nodeName*/) {
    return {};
}

NyUtilsLib::Result ModelProbe::GetGenEnumEntries(const std::string& /*nodeName*/,
                                                 std::list<std::string>& /*entries*/) {
    return {};
}

NyUtilsLib::Result ModelProbe::Write(const std::string& fileName,
                                     const std::string& /*transport*/) {
    mUploads.push_back(fileName);
    return {};
}

NyUtilsLib::Result ModelProbe::Reset() {
    return {};
}
