#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ByteOrder.h"
#include "simulator/firmware/FirmwareStore.h"

namespace simulator {

/// The file access of the Standard Features Naming Convention (SFNC 2.7, chapter File Access
/// Control) over the device's two files: RemoteUpdateDfw is written, StatusTxt is read.
/// Bus-independent. Used by one thread at a time.
class FileAccess {
  public:
    enum class File : std::uint32_t { kRemoteUpdateDfw = 0, kStatusTxt = 1, kUserData = 2 };
    enum class Operation : std::uint32_t { kOpen = 0, kClose = 1, kRead = 2, kWrite = 3 };
    enum class OpenMode : std::uint32_t { kRead = 0, kWrite = 1, kReadWrite = 2 };
    /// How an operation ended, as exactly as the device knows.
    enum class Status : std::uint32_t {
        kSuccess,
        kFailure,        ///< any other reason
        kOverflow,       ///< no room for the bytes, or a gap before them
        kDenied,         ///< not this file, not in this mode, or not now
        kInvalidLength,  ///< more than the buffer holds, or no multiple of the increment
        kNotOpen
    };

    struct Outcome {
        Status status = Status::kSuccess;
        std::uint32_t result = 0;  ///< Read, Write: bytes moved
    };

    /// @param increment what lengths are a multiple of; the last bytes of a payload may be padding
    /// then
    FileAccess(FirmwareStore& firmware, EventLog& events, std::uint32_t shortWriteEvery,
               std::uint32_t increment = 1);

    /// RemoteUpdateDfw opens for writing only, StatusTxt for reading only; one file at a time.
    [[nodiscard]] Outcome Open(File file, OpenMode mode);
    /// Closing RemoteUpdateDfw makes the device judge what came.
    [[nodiscard]] Outcome Close(File file);
    /// StatusTxt from `offset` on, into the buffer's beginning. Past the end: 0 bytes, success.
    [[nodiscard]] Outcome Read(File file, std::uint64_t offset, Bytes buffer);
    [[nodiscard]] Outcome Write(File file, std::uint64_t offset, ConstBytes buffer);
    /// FileSize: bytes there are to read, or that came so far.
    [[nodiscard]] std::uint64_t Size(File file) const;
    [[nodiscard]] bool IsOpen() const { return mUpload != nullptr || mStatusOpen; }

    /// The application is gone: an open file is closed, a payload under way is dropped.
    void Abandon();

  private:
    [[nodiscard]] Outcome Fail(Status status, const std::string& why);

    FirmwareStore& mFirmware;
    EventLog& mEvents;
    const std::uint32_t mShortWriteEvery;
    const std::uint32_t mIncrement;
    std::uint32_t mWrites = 0;
    std::unique_ptr<FirmwareUpload> mUpload;  // while RemoteUpdateDfw is open
    bool mStatusOpen = false;
    std::string mStatus;  // as it was when StatusTxt was opened
};

}  // namespace simulator
