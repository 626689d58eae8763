#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "DeviceMemory.h"
#include "FileAccess.h"
#include "simulator/device/DeviceProfile.h"
#include "simulator/device/EventLog.h"

namespace simulator {

/// Carries out the operations of file access, one after the other, each in the time that the
/// options say; what starts them is up to the layout of the registers. Used by one thread at a
/// time.
class FileOperations {
  public:
    struct Request {
        FileAccess::File file = FileAccess::File::kRemoteUpdateDfw;
        FileAccess::Operation operation = FileAccess::Operation::kOpen;
        FileAccess::OpenMode mode = FileAccess::OpenMode::kRead;
        std::uint64_t offset = 0;
        std::uint32_t length = 0;
        Bytes buffer = {};
    };
    /// How an application learns that an operation is done.
    enum class Completion {
        kShown,        ///< a register shows that it is busy
        kAcknowledged  ///< the command that started it is acknowledged only then
    };
    /// Receives "open", "close" and, if the options say so, every "operation".
    using Report = std::function<void(const std::string& what, nlohmann::json fields)>;

    FileOperations(FirmwareStore& firmware, EventLog& events, const DeviceOptions& options,
                   std::uint32_t increment, Report report);

    /// @return kBusy while an earlier operation is not done; how it ends is in Outcome()
    [[nodiscard]] MemoryStatus Start(Request request, Completion completion = Completion::kShown);

    [[nodiscard]] bool IsBusy() const { return Clock::now() < mDoneAt; }
    [[nodiscard]] bool IsOpen() const { return mFiles.IsOpen(); }
    /// Of the last operation; no bytes were moved yet while it is being done.
    [[nodiscard]] FileAccess::Outcome Outcome() const;
    /// Number of operations so far.
    [[nodiscard]] std::uint32_t Count() const { return mCount; }
    /// FileSize. @param file that is selected; without a FileSelector there is only one
    [[nodiscard]] std::uint64_t Size(FileAccess::File file) const;
    /// Where the last operation on the open file ended; 0 for others.
    [[nodiscard]] std::uint64_t Position(FileAccess::File file) const;

    /// The application is gone.
    void Abandon();
    /// How long the device was occupied by what was started since the last call.
    [[nodiscard]] std::chrono::milliseconds TakeOccupiedTime();

  private:
    using Clock = std::chrono::steady_clock;

    [[nodiscard]] FileAccess::Outcome Carry(const Request& request);

    const DeviceOptions& mOptions;
    FileAccess mFiles;
    const Report mReport;
    FileAccess::Outcome mOutcome;
    // Without a FileSelector, the file that the open mode implies.
    FileAccess::File mImplicitFile = FileAccess::File::kRemoteUpdateDfw;
    std::uint64_t mPosition = 0;
    FileAccess::File mPositionFile = FileAccess::File::kRemoteUpdateDfw;
    std::uint32_t mCount = 0;
    std::map<std::string, std::uint64_t> mSinceOpen;  // operations by name
    Clock::time_point mDoneAt{};
    std::chrono::milliseconds mOccupied{0};
};

}  // namespace simulator
