#pragma once

#include <bit>
#include <chrono>
#include <cstdint>
#include <functional>

#include "DeviceMemory.h"
#include "DeviceProfile.h"
#include "EventLog.h"
#include "FileAccess.h"
#include "RegisterRegion.h"

namespace simulator {

/// The registers behind the features of the XML description: device control and file access,
/// whatever bus they are reached by. Used by one thread at a time.
class FeatureRegisters {
  public:
    struct Hooks {
        /// DeviceReset was executed; the answer is still to be sent.
        std::function<void()> resetRequested;
        /// A device file was opened or closed.
        std::function<void(const std::string& what)> fileEvent;
    };

    /// Adds its regions to the memory, which must outlive this object.
    FeatureRegisters(DeviceMemory& memory, const DeviceOptions& options, FirmwareStore& firmware,
                     EventLog& events, std::endian order, Hooks hooks);

    /// The application is gone.
    void Abandon();

    /// How long the device was occupied by what was written since the last call.
    [[nodiscard]] std::chrono::milliseconds TakeOccupiedTime();

  private:
    using Clock = std::chrono::steady_clock;

    void DefineTexts(const DeviceOptions& options);
    void DefineControls();
    void DefineFiles(DeviceMemory& memory);
    /// One block of file registers. @param file, operation: those it stands for; nothing: those
    /// that the selectors say
    void DefineBlock(std::uint32_t block, RegisterRegion& buffer, std::uint64_t bufferAddress,
                     std::optional<FileAccess::File> file,
                     std::optional<FileAccess::Operation> operation);

    [[nodiscard]] MemoryStatus CheckSelector() const;
    [[nodiscard]] MemoryStatus Execute(std::uint32_t block, Bytes buffer, FileAccess::File file,
                                       FileAccess::Operation operation);
    [[nodiscard]] FileAccess::Outcome Carry(std::uint32_t block, Bytes buffer,
                                            FileAccess::File file, FileAccess::Operation operation);
    [[nodiscard]] FileAccess::File SelectedFile(std::optional<FileAccess::File> file) const;
    [[nodiscard]] bool HasSelector() const;
    [[nodiscard]] bool IsBusy() const { return Clock::now() < mDoneAt; }

    const DeviceOptions& mOptions;
    FirmwareStore& mFirmware;
    FileAccess mFiles;
    Hooks mHooks;
    RegisterRegion& mRegisters;
    FileAccess::Outcome mOutcome;
    FileAccess::File mImplicitFile = FileAccess::File::kRemoteUpdateDfw;
    Clock::time_point mDoneAt{};
    std::chrono::milliseconds mOccupied{0};
};

}  // namespace simulator
