#include <NxGenICam/GenFUParser.h>

#include "ManifestDocument.h"
#include "ManifestReader.h"

namespace NxGenICamLib {

class GenFUParser::Impl {
  public:
    explicit Impl(IGenFUModelBuilder* builder) : mBuilder(builder) {}

    NyUtilsLib::Result Build(const std::string& text) {
        ManifestDocument document;
        NyUtilsLib::Result result = document.Read(text);
        if (result.GetCode() == 0) {
            result = CheckPatterns(document.Root());
        }
        if (result.GetCode() == 0 && mBuilder != nullptr) {
            result = mBuilder->Clear();
            if (result.GetCode() == 0) {
                result = BuildModel(document.Root(), *mBuilder);
            }
        }
        return result;
    }

  private:
    IGenFUModelBuilder* mBuilder;
};

GenFUParser::GenFUParser(IGenFUModelBuilder* builder) : mImpl(std::make_unique<Impl>(builder)) {}

GenFUParser::~GenFUParser() = default;

NyUtilsLib::Result GenFUParser::Build(const std::string& text) {
    return mImpl->Build(text);
}

}  // namespace NxGenICamLib
