#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "FirmwareState.h"
#include "FirmwareUpload.h"
#include "PayloadHeader.h"
#include "simulator/device/EventLog.h"
#include "simulator/device/PlannedFault.h"

namespace simulator {

/// Receives the events of a FirmwareStore that concern the whole device. Called on the thread that
/// writes, with no lock held; must not wait for that thread.
class FirmwareListener {
  public:
    virtual ~FirmwareListener() = default;
    /// The payload now has `total` bytes.
    virtual void PayloadGrew(std::uint64_t total) = 0;
    /// The status text is requested, or a record has arrived and will be carried out next.
    virtual void Reached(FaultMoment moment) = 0;
    /// A reset record has come; the answer to its sender is still to be sent.
    virtual void ResetRequested() = 0;
};

/// The flash, the status text and the device ID of a device: everything behind RemoteUpdateDfw and
/// StatusTxt (TFTP: "status"), whatever bus they are reached by. May be used from any thread.
///
/// New firmware is stored when its flashing time is over and becomes the running one at the next
/// PowerOn. It lives in a folder: state.json and firmware.bin (the body last flashed), each
/// replaced in one step, so that the device comes up with a valid firmware whenever it was killed.
class FirmwareStore {
  public:
    /// How a successful firmware update is worded.
    enum class Wording {
        kApplied,     ///< "Firmware applied: <family> <version>"
        kNonVolatile  ///< "Firmware <version>: Successfully wrote file to non-volatile memory"
    };

    struct Options {
        std::filesystem::path folder;  ///< empty: a temporary one, removed with this object
        std::string family = "MirskoSim";
        FirmwareVersion version;  ///< running and stored, unless the folder knows better
        std::string deviceId;     ///< unless the folder knows better
        std::chrono::milliseconds flashTime{0};
        std::uint64_t flashSize = std::uint64_t{1} << 30U;  ///< bytes; larger payloads are refused
        Wording wording = Wording::kApplied;
        bool failFlash = false;        ///< fault: every flashing fails at its end
        bool misjudgeBodyCrc = false;  ///< fault: every body is said to have a wrong CRC
    };

    static constexpr const char* kBusyStatus = "Flash currently being written in background";
    static constexpr std::size_t kMaxDeviceIdSize = 63;

    /// @param[out] why one line, set when null is returned: the folder cannot be used
    [[nodiscard]] static std::unique_ptr<FirmwareStore> Open(const Options& options,
                                                             EventLog& events, std::string& why);
    ~FirmwareStore();
    FirmwareStore(const FirmwareStore&) = delete;
    FirmwareStore& operator=(const FirmwareStore&) = delete;

    /// Not owned; null: none. Set while nothing else uses the store.
    void SetListener(FirmwareListener* listener);

    /// Begins to write RemoteUpdateDfw. The store must outlive the upload.
    /// @param[out] why one line, set when null is returned: another upload or flashing is under way
    [[nodiscard]] std::unique_ptr<FirmwareUpload> BeginUpload(std::string& why);

    /// The device's own account of the last transfer, for an application that asks for it; nothing
    /// when FailOperation was called.
    [[nodiscard]] std::optional<std::string> HandOutStatus();
    /// A fault: the write or the request for the status that is under way fails, else the next one.
    void FailOperation() { mFailing = true; }

    /// A copy of all that state.json holds.
    [[nodiscard]] FirmwareState State() const;
    /// Where state.json and firmware.bin are.
    [[nodiscard]] const std::filesystem::path& Folder() const { return mOptions.folder; }

    /// @return false, nothing changed, when it is over 63 bytes or not printable ASCII
    [[nodiscard]] bool SetDeviceId(const std::string& deviceId);

    /// The device starts: the stored firmware becomes the running one.
    void PowerOn();
    /// The device loses power or resets: flashing that is under way is lost.
    /// @param reset whether to count it as a reset
    void PowerOff(bool reset);

  private:
    friend class FirmwareUpload;

    FirmwareStore(Options options, EventLog& events, bool temporary);
    [[nodiscard]] bool LoadState(std::string& why);

    // What an upload calls.
    void EndUpload(FirmwareUpload& upload);
    void DropUpload(std::uint64_t size);
    /// @return false when the write is to fail
    [[nodiscard]] bool PayloadGrew(const FirmwareUpload& upload);

    // Under the lock.
    [[nodiscard]] bool Judge(FirmwareUpload& upload);
    void Reject(const std::string& why);
    void TakeDeviceId(const FirmwareUpload& upload);
    void BeginFlash(const FirmwareImage& image);
    void CommitFlash();
    void AcceptImage();
    void AbandonFlash();
    void SetStatus(const std::string& status);
    void Save();

    void RunFlasher();
    [[nodiscard]] std::filesystem::path IncomingFile() const;
    [[nodiscard]] std::filesystem::path FirmwareFile() const;
    [[nodiscard]] std::filesystem::path StateFile() const;

    const Options mOptions;
    EventLog& mEvents;
    const bool mTemporary;
    FirmwareListener* mListener = nullptr;
    std::atomic<bool> mFailing{false};

    mutable std::mutex mMutex;  // guards what follows
    std::condition_variable mFlashChanged;
    FirmwareState mState;
    std::chrono::steady_clock::time_point mFlashEnd;
    bool mUploading = false;
    bool mClosing = false;

    std::thread mFlasher;
};

}  // namespace simulator
