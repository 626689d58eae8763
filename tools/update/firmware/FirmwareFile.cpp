#include "FirmwareFile.h"

#include <NxBase/PrintableText.h>

#include "PackageFile.h"
#include "PayloadFile.h"

std::unique_ptr<FirmwareFile> FirmwareFile::Open(const std::string& path, std::string& problem) {
    if (path.ends_with(".dfw")) {
        auto file = std::make_unique<PayloadFile>(path);
        problem = file->Check();
        return problem.empty() ? std::move(file) : nullptr;
    }
    if (path.ends_with(".zip")) {
        auto file = std::make_unique<PackageFile>(path);
        problem = file->Check();
        return problem.empty() ? std::move(file) : nullptr;
    }
    problem = PrintableText(path) + ": neither a payload (.dfw) nor a package (.zip)";
    return nullptr;
}
