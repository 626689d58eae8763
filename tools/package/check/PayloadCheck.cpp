#include "PayloadCheck.h"

#include <fstream>

#include <NxDevice/NxDfwPayload.h>

namespace {

bool BeginsLikeAPayload(const std::string& path) {
    std::string magic(4, '\0');
    std::ifstream file(path, std::ios::binary);
    return file.read(magic.data(), 4) && magic == "MDFW";
}

}  // namespace

std::vector<Finding> CheckPayload(const std::string& path, const std::string& name) {
    if (!BeginsLikeAPayload(path)) {
        return {WarningFinding(WarningName::kNoHeader,
                               name + ": no payload header; the updater transfers it as is, but "
                                      "cannot set a device ID or reset the device over TFTP")};
    }
    NxDfwHeader header;
    const NxResult result = NxDfwPayload::Verify(path, header);
    if (!result.IsOK()) {
        // The description names the file, which may be a temporary copy.
        std::string problem = result.GetDescription().GetAscii();
        const std::size_t at = problem.find(path);
        if (at != std::string::npos) {
            problem.replace(at, path.size(), name);
        }
        return {ErrorFinding(problem)};
    }
    if (header.kind != NxDfwHeader::Kind::kFirmware) {
        return {ErrorFinding(name + ": a device-ID or reset record, not firmware")};
    }
    return {};
}
