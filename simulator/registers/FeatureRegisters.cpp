#include "FeatureRegisters.h"

#include <utility>

#include "FeatureAddresses.h"

namespace simulator {

namespace {

using Access = RegisterRegion::Access;

}  // namespace

FeatureRegisters::FeatureRegisters(DeviceMemory& memory, const DeviceOptions& options,
                                   FirmwareStore& firmware, EventLog& events, Bus bus, Hooks hooks)
    : mFirmware(firmware),
      mResetRequested(std::move(hooks.resetRequested)),
      mLayout(FileLayout::Make(options, bus)),
      mFiles(firmware, events, options, mLayout->Increment(), std::move(hooks.fileEvent)),
      mRegisters(memory.Add<RegisterRegion>(features::kBase, features::kSize,
                                            RegisterOrder(options.layout, bus),
                                            RegisterRegion::Gaps::kUnmapped)) {
    DefineTexts(options);
    DefineControls(options);
    if (HasFiles(options.profile)) {
        mLayout->Define({memory, mRegisters, mFiles});
    }
}

void FeatureRegisters::DefineTexts(const DeviceOptions& options) {
    const auto define = [this](std::uint64_t address, const std::string& text) {
        mRegisters.Define(address, features::kTextSize, Access::kReadOnly);
        mRegisters.SetText(address, features::kTextSize, text);
    };
    define(features::kVendorName, options.vendor);
    define(features::kModelName, options.model);
    define(features::kSerialNumber, options.serial);
    define(features::kManufacturerInfo,
           std::string("Simulated device, profile ") + NameOf(options.profile));
    mRegisters.DefineText(features::kFirmwareVersion, features::kTextSize,
                          [this] { return mFirmware.State().running.Text(); });
    mRegisters.DefineText(
        features::kUserId, features::kTextSize, [this] { return mFirmware.State().deviceId; },
        [this](const std::string& id) { return mFirmware.SetDeviceId(id); });
}

void FeatureRegisters::DefineControls(const DeviceOptions& options) {
    mRegisters.SetNumber(features::kWidth, 640);
    mRegisters.Define(features::kWidth, 4, Access::kReadWrite,
                      {nullptr, [this] {
                           const std::uint32_t width = mRegisters.GetNumber(features::kWidth);
                           return width >= 1 && width <= features::kWidthMax
                                      ? MemoryStatus::kOk
                                      : MemoryStatus::kInvalidParameter;
                       }});
    mRegisters.Define(features::kFirmwareLoad, 4, Access::kReadOnly);
    const bool keeps = options.layout == RegisterLayout::kWriteOnlyExecute;
    mRegisters.Define(features::kReset, 4, Access::kReadWrite, {.afterWrite = [this, keeps] {
                          if (mRegisters.GetNumber(features::kReset) != 0) {
                              if (!keeps) {
                                  mRegisters.SetNumber(features::kReset, 0);
                              }
                              mResetRequested();
                          }
                          return MemoryStatus::kOk;
                      }});
}

}  // namespace simulator
