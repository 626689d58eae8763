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
