#include "Package.h"

#include <NxGenICam/GenFUParser.h>

#include "PackageModelBuilder.h"

std::string Package::Open(const std::string& path) {
    constexpr std::size_t kLongestManifest = std::size_t{1} << 20U;
    std::string error = mArchive.Open(path);
    if (!error.empty()) {
        return error;
    }
    const auto member = mArchive.FindAsUpdater("Manifest.xml");
    if (!member) {
        return "no \"Manifest.xml\" in the archive";
    }
    mManifestMember = *member;
    error = mArchive.ReadText(mManifestMember, kLongestManifest, mManifestText);
    if (!error.empty()) {
        return mArchive.Members()[mManifestMember].name + ": " + error;
    }
    const std::size_t zero = mManifestText.find('\0');
    mManifestIsCut = zero != std::string::npos;
    if (mManifestIsCut) {
        mManifestText.resize(zero);
    }
    PackageModelBuilder builder;
    const NyUtilsLib::Result result = NxGenICamLib::GenFUParser(&builder).Build(mManifestText);
    mModel = builder.GetModel();
    return result.GetCode() == 0 ? std::string() : result.GetMessage();
}
