#include "FirmwareFile.h"

#include <utility>

#include <NxBase/PrintableText.h>

#include "PackageFile.h"
#include "PayloadFile.h"

std::unique_ptr<FirmwareFile> FirmwareFile::Open(const std::string& path,
                                                 const std::string& authorities,
                                                 std::string& problem) {
    const bool isPackage = path.ends_with(".zip");
    if (!isPackage && !path.ends_with(".dfw")) {
        problem = PrintableText(path) + ": neither a payload (.dfw) nor a package (.zip)";
        return nullptr;
    }
    FirmwareContent content(path);
    problem = authorities.empty() ? "" : content.RequireSignature(authorities);
    if (!problem.empty()) {
        return nullptr;
    }
    std::unique_ptr<FirmwareFile> file;
    if (isPackage) {
        file = std::make_unique<PackageFile>(std::move(content));
    } else {
        file = std::make_unique<PayloadFile>(std::move(content));
    }
    problem = file->Check();
    return problem.empty() ? std::move(file) : nullptr;
}

FirmwareFile::FirmwareFile(FirmwareContent content) : mContent(std::move(content)) {}
