// The scripted firmware-update model: "GenFUParser::Build" with the manifest's text, and
// "GenFUControl::Run", which does with the updater what its step says.
#include <utility>

#include <NxGenICam/GenFUControl.h>
#include <NxGenICam/GenFUParser.h>

#include "Script.h"

namespace NxGenICamLib {

using NyUtilsLib::Result;

IGenFUModel::~IGenFUModel() = default;
IGenFUModelBuilder::~IGenFUModelBuilder() = default;
IGenFUUpdater::~IGenFUUpdater() = default;

class GenFUControl::Impl {
  public:
    explicit Impl(IGenFUUpdater* given) : updater(given) {}
    IGenFUUpdater* updater;
};

GenFUControl::GenFUControl(IGenFUUpdater* updater) : mImpl(std::make_unique<Impl>(updater)) {
    Script::Active().Note("GenFUControl::GenFUControl");
}
GenFUControl::~GenFUControl() {
    Script::Active().Note("GenFUControl::~GenFUControl");
}

Result GenFUControl::Run() {
    const ExpectedCall step = Script::Active().Take("GenFUControl::Run");
    if (step.run) {
        return step.run(*mImpl->updater);
    }
    return Result(step.result.GetCode(), step.result.GetDescription().GetAscii());
}

// The updater never calls the builder: the parser does, and that one is scripted as a whole.
Result GenFUControl::Clear() {
    return Result();
}
Result GenFUControl::AddProcedure(const std::string&) {
    return Result();
}
Result GenFUControl::AddFileUpload(const std::string&, const std::string&, const std::string&) {
    return Result();
}
Result GenFUControl::AddFeatureAssert(const std::string&, const std::string&, const std::string&) {
    return Result();
}
Result GenFUControl::AddFeatureWrite(const std::string&, const std::string&) {
    return Result();
}
Result GenFUControl::AddFeatureExecute(const std::string&) {
    return Result();
}
Result GenFUControl::AddDeviceReset() {
    return Result();
}
Result GenFUControl::AddUpdate(const std::string&) {
    return Result();
}
Result GenFUControl::AddInfo(const std::string&, const std::string&) {
    return Result();
}
Result GenFUControl::AddCondition(const std::string&, const std::string&) {
    return Result();
}

class GenFUParser::Impl {
  public:
    explicit Impl(IGenFUModelBuilder* given) : builder(given) {}
    IGenFUModelBuilder* builder;
};

GenFUParser::GenFUParser(IGenFUModelBuilder* builder) : mImpl(std::make_unique<Impl>(builder)) {
    Script::Active().Note("GenFUParser::GenFUParser");
}
GenFUParser::~GenFUParser() {
    Script::Active().Note("GenFUParser::~GenFUParser");
}

Result GenFUParser::Build(const std::string& text) {
    const ExpectedCall step = Script::Active().Take("GenFUParser::Build " + text);
    return Result(step.result.GetCode(), step.result.GetDescription().GetAscii());
}

}  // namespace NxGenICamLib
