#include <NxGenICam/GenFUParser.h>

#include <NxBase/NxResultCodes.h>

#include "FULineColumn.h"
#include "FUXmlChecker.h"
#include "ManifestReader.h"

namespace NxGenICamLib {

namespace {

NyUtilsLib::Result Refuse(const std::string& text, std::size_t offset, const std::string& what) {
    const FULineColumn place(text, offset);
    return NyUtilsLib::Result(kNxBadManifest, "Manifest.xml:" + std::to_string(place.line) + ":" +
                                                  std::to_string(place.column) + ": " + what);
}

}  // namespace

class GenFUParser::Impl {
  public:
    explicit Impl(IGenFUModelBuilder* builder) : mBuilder(builder) {}

    NyUtilsLib::Result Build(const std::string& text) {
        FUXmlChecker checker(text);
        if (!checker.Check()) {
            return Refuse(text, checker.GetErrorOffset(), checker.GetError());
        }
        FUManifestReader reader(text);
        if (!reader.Read()) {
            return Refuse(text, reader.GetErrorOffset(), reader.GetError());
        }
        if (mBuilder == nullptr) {
            return {};
        }
        NyUtilsLib::Result result = mBuilder->Clear();
        for (const FUManifestReader::Call& call : reader.GetCalls()) {
            if (result.GetCode() != 0) {
                break;
            }
            result = call.make(*mBuilder);
            if (result.GetCode() != 0) {
                return Refuse(text, call.offset, result.GetMessage());
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
