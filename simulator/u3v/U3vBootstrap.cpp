#include "U3vBootstrap.h"

#include <utility>

#include "simulator/registers/FeatureAddresses.h"

namespace simulator {

namespace {

using Access = RegisterRegion::Access;

constexpr std::uint32_t kTextSize = 64;
constexpr std::uint64_t kUserNameRegister = 0x184;
constexpr std::uint64_t kSbrm = 0x1000;
constexpr std::uint64_t kSirm = 0x2000;
constexpr std::uint64_t kManifest = 0x3000;
constexpr std::uint64_t kManifestSize = 8 + 64;

constexpr std::uint32_t kVersion11 = 0x00010001;
constexpr std::uint32_t kVersion10 = 0x00010000;
constexpr std::uint32_t kUserNameSupported = 1;
constexpr std::uint32_t kSirmAvailable = 1;
constexpr std::uint32_t kSuperSpeed = 8;
constexpr std::uint32_t kSchema11 = 0x01010000;
constexpr std::uint32_t kZipFormat = 1U << 10U;

}  // namespace

U3vBootstrap::U3vBootstrap(DeviceMemory& memory, const U3vOptions& options, const U3vTexts& texts,
                           std::uint64_t xmlSize, bool zipped,
                           std::function<std::string()> userName,
                           std::function<bool(const std::string& name)> renamed)
    : mAbrm(memory.Add<RegisterRegion>(0U, 0x400U, std::endian::little)) {
    DefineNumber(mAbrm, 0x000, kVersion11);
    DefineText(0x004, texts.vendor);
    DefineText(0x044, texts.model);
    DefineText(0x084, "");
    DefineText(0x0C4, texts.version);
    DefineText(0x104, texts.info);
    DefineText(0x144, texts.serial);
    mAbrm.DefineText(kUserNameRegister, kTextSize, std::move(userName), std::move(renamed));
    DefineLongNumber(mAbrm, 0x1C4, kUserNameSupported);
    DefineNumber(mAbrm, 0x1CC, static_cast<std::uint32_t>(options.responseTime.count()));
    DefineLongNumber(mAbrm, 0x1D0, kManifest);
    DefineLongNumber(mAbrm, 0x1D8, kSbrm);

    auto& sbrm = memory.Add<RegisterRegion>(kSbrm, 0x100U, std::endian::little);
    DefineNumber(sbrm, kSbrm + 0x00, kVersion10);
    DefineLongNumber(sbrm, kSbrm + 0x04, kSirmAvailable);
    DefineNumber(sbrm, kSbrm + 0x14, options.maxCommand);
    DefineNumber(sbrm, kSbrm + 0x18, options.maxAck);
    DefineNumber(sbrm, kSbrm + 0x1C, 1);
    DefineLongNumber(sbrm, kSbrm + 0x20, kSirm);
    DefineNumber(sbrm, kSbrm + 0x28, 0x40);
    DefineNumber(sbrm, kSbrm + 0x40, kSuperSpeed);

    // A stream that is never started; what a viewer asks of it before it starts is answered.
    memory.Add<RegisterRegion>(kSirm, 0x40U, std::endian::little);

    auto& manifest = memory.Add<RegisterRegion>(kManifest, kManifestSize, std::endian::little);
    DefineLongNumber(manifest, kManifest, 1);
    DefineNumber(manifest, kManifest + 0x08, kVersion10);
    DefineNumber(manifest, kManifest + 0x0C, kSchema11 | (zipped ? kZipFormat : 0));
    DefineLongNumber(manifest, kManifest + 0x10, features::kXml);
    DefineLongNumber(manifest, kManifest + 0x18, static_cast<std::uint32_t>(xmlSize));
}

void U3vBootstrap::DefineText(std::uint64_t address, const std::string& text) {
    mAbrm.Define(address, kTextSize, Access::kReadOnly);
    mAbrm.SetText(address, kTextSize, text);
}

void U3vBootstrap::DefineNumber(RegisterRegion& region, std::uint64_t address,
                                std::uint32_t value) {
    region.Define(address, 4, Access::kReadOnly);
    region.SetNumber(address, value);
}

void U3vBootstrap::DefineLongNumber(RegisterRegion& region, std::uint64_t address,
                                    std::uint32_t value) {
    DefineNumber(region, address, value);
    DefineNumber(region, address + 4, 0);
}

}  // namespace simulator
