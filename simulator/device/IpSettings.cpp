#include "IpSettings.h"

#include <fstream>
#include <limits>

#include <nlohmann/json.hpp>

#include "simulator/firmware/FirmwareState.h"

namespace simulator {

bool IpAddress::IsUsable() const {
    constexpr std::uint32_t kFirstMulticast = 0xe0000000U;
    const std::uint32_t host = ~mask;
    const bool isWithoutGaps = mask != 0 && (host & (host + 1)) == 0;
    return isWithoutGaps && address < kFirstMulticast && (address & host) != 0 &&
           (address & host) != host;
}

IpSettings::IpSettings(const std::filesystem::path& folder)
    : mFile(folder.empty() ? folder : folder / "network.json") {
    std::ifstream stream(mFile);
    const nlohmann::json json = nlohmann::json::parse(stream, nullptr, false);
    if (!json.is_object()) {
        return;
    }
    const auto number = [&json](const char* name, std::uint32_t otherwise) {
        const auto at = json.find(name);
        return at != json.end() && at->is_number_unsigned() &&
                       at->get<std::uint64_t>() <= std::numeric_limits<std::uint32_t>::max()
                   ? at->get<std::uint32_t>()
                   : otherwise;
    };
    mConfiguration = number("configuration", mConfiguration);
    mPersistent = {number("address", 0), number("mask", 0), number("gateway", 0)};
}

bool IpSettings::Set(std::uint32_t configuration, const IpAddress& persistent) {
    mConfiguration = (configuration & (kPersistentIp | kDhcp)) | kLinkLocal;
    mPersistent = persistent;
    const nlohmann::json json = {{"configuration", mConfiguration},
                                 {"address", mPersistent.address},
                                 {"mask", mPersistent.mask},
                                 {"gateway", mPersistent.gateway}};
    return mFile.empty() || ReplaceFile(mFile, json.dump(2) + "\n");
}

bool IpSettings::UsesPersistent() const {
    return (mConfiguration & kPersistentIp) != 0 && mPersistent.IsUsable();
}

}  // namespace simulator
