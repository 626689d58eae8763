#include <NxGenICam/GenFUParser.h>

#include "ManifestDocument.h"
#include "ManifestReader.h"

namespace NxGenICamLib {

class GenFUParser::Impl {
  public:
    IGenFUModelBuilder* builder;
};

GenFUParser::GenFUParser(IGenFUModelBuilder* builder)
    : mImpl(std::make_unique<Impl>(Impl{builder})) {}

GenFUParser::~GenFUParser() = default;

NyUtilsLib::Result GenFUParser::Build(const std::string& text) {
    ManifestDocument document;
    NyUtilsLib::Result result = document.Read(text);
    if (result.GetCode() == 0) {
        result = CheckPatterns(document.Root());
    }
    if (result.GetCode() == 0 && mImpl->builder != nullptr) {
        result = mImpl->builder->Clear();
        if (result.GetCode() == 0) {
            result = BuildModel(document.Root(), *mImpl->builder);
        }
    }
    return result;
}

}  // namespace NxGenICamLib
