#include "DeviceProfile.h"

#include <regex>

#include "NameTable.h"
#include "simulator/network/Peer.h"

namespace simulator {

namespace {

constexpr NameTable<Profile, 7> kProfiles{{{
    {Profile::kFileAccess, "file-access"},
    {Profile::kSingleFile, "single-file"},
    {Profile::kNoFileAccess, "no-file-access"},
    {Profile::kBackupLoad, "backup-load"},
    {Profile::kMainLoad, "main-load"},
    {Profile::kSelectorWithoutDfw, "selector-without-dfw"},
    {Profile::kLoader, "loader"},
}}};

constexpr std::uint32_t kMaxBufferSize = 16U << 20U;
// More than any description that an application accepts.
constexpr std::size_t kMaxAdditionalNodeBytes = 32U << 20U;
// What the 16 bits of its result can say.
constexpr std::uint32_t kMaxCommandRegisterBuffer = 65532;

bool IsPercentage(double value) {
    return value >= 0 && value <= 100;
}

}  // namespace

const char* NameOf(Profile profile) {
    return kProfiles.NameOf(profile);
}

std::optional<Profile> ProfileNamed(const std::string& name) {
    return kProfiles.ValueNamed(name);
}

bool HasFiles(Profile profile) {
    return profile != Profile::kNoFileAccess && profile != Profile::kLoader;
}

bool HasFileSelector(Profile profile) {
    return profile == Profile::kFileAccess || profile == Profile::kSelectorWithoutDfw;
}

std::optional<std::uint64_t> ParseMac(const std::string& text) {
    static const std::regex kMac("([[:xdigit:]]{2}:){5}[[:xdigit:]]{2}");
    if (!std::regex_match(text, kMac)) {
        return std::nullopt;
    }
    std::string digits = text;
    std::erase(digits, ':');
    return std::stoull(digits, nullptr, 16);
}

std::string WhyNoGigEVisionModel(const std::string& model) {
    // The register has 32 bytes, the last of which is zero (GigE Vision 2.0, section 27).
    constexpr std::size_t kLongest = 31;
    return model.size() <= kLongest
               ? ""
               : "the model name has " + std::to_string(model.size()) +
                     " bytes; a GigE Vision device reports at most 31 (with --u3v: 63)";
}

std::string WhyUnusable(const DeviceOptions& options) {
    if (!ParseAddress(options.place.address)) {
        return "\"" + options.place.address + "\" is not an IPv4 address";
    }
    if (options.place.interfaceName.empty() || options.place.interfaceName.size() > 15) {
        return "\"" + options.place.interfaceName + "\" is not an interface name";
    }
    if (!ParseMac(options.mac)) {
        return "\"" + options.mac + "\" is not a MAC address such as 02:4d:53:00:00:01";
    }
    if (options.bufferSize == 0 || options.bufferSize % 4 != 0 ||
        options.bufferSize > kMaxBufferSize) {
        return "the buffer size must be a multiple of 4 from 4 to 16777216";
    }
    if (options.additionalNodeBytes > kMaxAdditionalNodeBytes) {
        return "the additional nodes must be at most 33554432 bytes";
    }
    if (options.layout == RegisterLayout::kCommandRegister &&
        options.bufferSize > kMaxCommandRegisterBuffer) {
        return "the buffer size must be at most 65532 with the layout command-register";
    }
    if (options.layout == RegisterLayout::kCommandRegister && options.executeKeepsValue) {
        return "--execute-keeps-value cannot be used with the layout command-register";
    }
    if (options.registerCommandsSwap &&
        RegisterOrder(options.layout, Bus::kGigEVision) == std::endian::big) {
        return "--register-commands-swap needs the layout little-endian or legacy-endian";
    }
    if (options.secondUrlOnly && options.description.contains(DescriptionShape::kSecondUrl)) {
        return "--second-url-only and the description quirk second-url are mutually exclusive";
    }
    for (const std::string& text :
         {options.vendor, options.model, options.serial, options.firmware.deviceId}) {
        if (!IsPrintable(text) || text.size() > FirmwareStore::kMaxDeviceIdSize) {
            return "\"" + text + "\" must be at most 63 printable ASCII characters";
        }
    }
    if (options.firmware.family.empty() || options.firmware.family.size() > 32 ||
        !IsPrintable(options.firmware.family)) {
        return "the family must be 1 to 32 characters of printable ASCII";
    }
    if (!options.faults.received.AreUsable() || !options.faults.sent.AreUsable() ||
        !IsPercentage(options.faults.staleAckPercent) ||
        !IsPercentage(options.faults.busyPercent) || !options.faults.tftp.datagrams.AreUsable()) {
        return "percentages must be from 0 to 100";
    }
    if (options.tftp.rollover > 1) {
        return "TFTP block numbers roll over to 0 or 1";
    }
    if (options.tftp.maxBlockSize != 0 &&
        (options.tftp.maxBlockSize < 8 || options.tftp.maxBlockSize > 65464)) {
        return "the TFTP block size must be 8 to 65464 bytes, or 0 to disable the option";
    }
    if (options.tftp.maxWindowSize > 65535) {
        return "the TFTP window size must be 1 to 65535 blocks, or 0 to disable the option";
    }
    return {};
}

}  // namespace simulator
