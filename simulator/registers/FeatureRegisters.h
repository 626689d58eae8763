#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "Bus.h"
#include "DeviceMemory.h"
#include "FileOperations.h"
#include "RegisterRegion.h"
#include "simulator/device/DeviceProfile.h"
#include "simulator/device/EventLog.h"
#include "simulator/layouts/FileLayout.h"

namespace simulator {

/// The registers behind the features of the XML description: device control and file access,
/// whatever bus they are reached by. Used by one thread at a time.
class FeatureRegisters {
  public:
    struct Hooks {
        /// DeviceReset was executed; the answer is still to be sent.
        std::function<void()> resetRequested;
        /// As FileOperations::Report.
        FileOperations::Report fileEvent;
    };

    /// Adds its regions to the memory, which must outlive this object.
    FeatureRegisters(DeviceMemory& memory, const DeviceOptions& options, FirmwareStore& firmware,
                     EventLog& events, Bus bus, Hooks hooks);

    /// The application is gone.
    void Abandon() { mFiles.Abandon(); }
    /// How long the device was occupied by what was written since the last call.
    [[nodiscard]] std::chrono::milliseconds TakeOccupiedTime() { return mFiles.TakeOccupiedTime(); }

  private:
    void DefineTexts(const DeviceOptions& options);
    void DefineControls(const DeviceOptions& options);

    FirmwareStore& mFirmware;
    const std::function<void()> mResetRequested;
    const std::unique_ptr<FileLayout> mLayout;
    FileOperations mFiles;
    RegisterRegion& mRegisters;
};

}  // namespace simulator
