#include "FirmwareStore.h"

#include <stdlib.h>

#include <array>
#include <fstream>
#include <utility>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

constexpr std::size_t kMaxStatusSize = 1000;

// What a firmware.bin really contains, which shows whether an image reached the flash.
FirmwareImage Measure(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::array<char, 65536> buffer{};
    FirmwareImage image;
    Crc32 crc;
    while (stream.read(buffer.data(), buffer.size()) || stream.gcount() > 0) {
        const auto count = static_cast<std::size_t>(stream.gcount());
        crc.Add({reinterpret_cast<const std::uint8_t*>(buffer.data()), count});
        image.length += count;
    }
    image.crc = crc.Value();
    return image;
}

}  // namespace

std::unique_ptr<FirmwareStore> FirmwareStore::Open(const Options& options, EventLog& events,
                                                   std::string& why) {
    Options settled = options;
    const bool temporary = options.folder.empty();
    if (temporary) {
        std::error_code error;
        std::string pattern =
            (std::filesystem::temp_directory_path(error) / "mirsko-simulator-XXXXXX").string();
        if (error || mkdtemp(pattern.data()) == nullptr) {
            why = "cannot create a temporary folder for the device's state";
            return nullptr;
        }
        settled.folder = pattern;
    }
    std::unique_ptr<FirmwareStore> store(new FirmwareStore(settled, events, temporary));
    if (!store->LoadState(why)) {
        return nullptr;
    }
    store->mFlasher = std::thread(&FirmwareStore::RunFlasher, store.get());
    return store;
}

FirmwareStore::FirmwareStore(Options options, EventLog& events, bool temporary)
    : mOptions(std::move(options)), mEvents(events), mTemporary(temporary) {}

FirmwareStore::~FirmwareStore() {
    {
        const std::lock_guard lock(mMutex);
        mClosing = true;
    }
    mFlashChanged.notify_all();
    if (mFlasher.joinable()) {
        mFlasher.join();
    }
    std::error_code ignored;
    std::filesystem::remove(IncomingFile(), ignored);
    if (mTemporary) {
        std::filesystem::remove_all(mOptions.folder, ignored);
    }
}

bool FirmwareStore::LoadState(std::string& why) {
    std::error_code error;
    std::filesystem::create_directories(mOptions.folder, error);
    std::filesystem::remove(IncomingFile(), error);
    mState.running = mOptions.version;
    mState.stored = mOptions.version;
    mState.deviceId = mOptions.deviceId;
    if (std::filesystem::exists(StateFile(), error)) {
        const std::optional<FirmwareState> state = FirmwareState::Load(StateFile(), why);
        if (!state) {
            return false;
        }
        mState = *state;
    }
    if (mState.flashing) {
        // Killed while flashing: the image counts if the whole of it had reached the flash.
        FirmwareImage image = Measure(FirmwareFile());
        image.version = mState.flashing->version;
        if (image == *mState.flashing) {
            AcceptImage();
        } else {
            AbandonFlash();
        }
    }
    if (!mState.Save(StateFile())) {
        why = "cannot write the device's state to " + StateFile().string();
        return false;
    }
    return true;
}

void FirmwareStore::SetListener(FirmwareListener* listener) {
    mListener = listener;
}

std::unique_ptr<FirmwareUpload> FirmwareStore::BeginUpload(std::string& why) {
    const std::lock_guard lock(mMutex);
    if (mState.flashing) {
        why = kBusyStatus;
        return nullptr;
    }
    if (mUploading) {
        why = "Another transfer is in progress";
        return nullptr;
    }
    std::unique_ptr<FirmwareUpload> upload(new FirmwareUpload(*this));
    if (upload->mBody < 0) {
        upload->mFinished = true;
        why = "Flash cannot be written";
        return nullptr;
    }
    mUploading = true;
    mEvents.Add("transfer_begun");
    return upload;
}

void FirmwareStore::EndUpload(FirmwareUpload& upload) {
    bool reset = false;
    {
        const std::lock_guard lock(mMutex);
        mUploading = false;
        ++mState.transfers;
        mEvents.Add("transfer", {{"bytes", upload.Size()}});
        reset = Judge(upload);
        Save();
    }
    mFlashChanged.notify_all();
    if (reset && mListener != nullptr) {
        mListener->ResetRequested();
    }
}

void FirmwareStore::DropUpload(std::uint64_t size) {
    const std::lock_guard lock(mMutex);
    mUploading = false;
    mEvents.Add("transfer_dropped", {{"bytes", size}});
    SetStatus("Transfer incomplete: " + std::to_string(size) + " bytes received");
    Save();
}

bool FirmwareStore::PayloadGrew(const FirmwareUpload& upload) {
    if (mListener == nullptr) {
        return true;
    }
    mListener->PayloadGrew(upload.Size());
    std::string ignored;
    const std::optional<PayloadHeader> header = PayloadHeader::Parse(upload.mHead, ignored);
    if (header && header->kind != PayloadHeader::Kind::kFirmware &&
        upload.Size() >= PayloadHeader::kSize + header->bodyLength) {
        mListener->Reached(header->kind == PayloadHeader::Kind::kReset ? FaultMoment::kReset
                                                                       : FaultMoment::kDeviceId);
    }
    return !mFailing.exchange(false);
}

bool FirmwareStore::Judge(FirmwareUpload& upload) {
    std::string why;
    const std::optional<PayloadHeader> header = PayloadHeader::Parse(upload.mHead, why);
    if (!header) {
        Reject(why);
        return false;
    }
    if (header->family != mOptions.family) {
        Reject("it is for device family \"" + header->family + "\", but this device is \"" +
               mOptions.family + "\"");
        return false;
    }
    upload.CutPadding(header->bodyLength);
    const std::uint64_t bodyLength = upload.Size() - PayloadHeader::kSize;
    if (bodyLength != header->bodyLength) {
        Reject("the body has " + std::to_string(bodyLength) + " bytes, but the header says " +
               std::to_string(header->bodyLength));
        return false;
    }
    if (upload.BodyCrc() != header->bodyCrc || mOptions.misjudgeBodyCrc) {
        Reject("body CRC mismatch");
        return false;
    }
    switch (header->kind) {
        case PayloadHeader::Kind::kFirmware:
            BeginFlash({header->version, bodyLength, header->bodyCrc});
            return false;
        case PayloadHeader::Kind::kDeviceId:
            TakeDeviceId(upload);
            return false;
        case PayloadHeader::Kind::kReset:
            SetStatus("Reset requested");
            return true;
    }
    return false;
}

void FirmwareStore::Reject(const std::string& why) {
    mEvents.Add("payload_rejected", {{"why", why}});
    SetStatus("Payload rejected: " + why);
}

void FirmwareStore::TakeDeviceId(const FirmwareUpload& upload) {
    const std::string deviceId = upload.BodyText(kMaxDeviceIdSize + 1);
    if (deviceId.empty() || deviceId.size() > kMaxDeviceIdSize || !IsPrintable(deviceId)) {
        Reject("malformed device ID");
        return;
    }
    mState.deviceId = deviceId;
    mEvents.Add("device_id", {{"value", deviceId}});
    SetStatus("Device ID: Successfully wrote file to non-volatile memory");
}

void FirmwareStore::BeginFlash(const FirmwareImage& image) {
    mState.flashing = image;
    mFlashEnd = std::chrono::steady_clock::now() + mOptions.flashTime;
    mEvents.Add("flash_begun", {{"version", image.version.Text()}, {"bytes", image.length}});
    SetStatus(kBusyStatus);
    if (mOptions.flashTime.count() == 0) {
        CommitFlash();
    }
}

void FirmwareStore::CommitFlash() {
    std::error_code error;
    if (!mOptions.failFlash) {
        std::filesystem::rename(IncomingFile(), FirmwareFile(), error);
    }
    if (mOptions.failFlash || error) {
        mEvents.Add("flash_failed", {{"version", mState.flashing->version.Text()}});
        mState.flashing.reset();
        SetStatus("Flash write failed: verification error, firmware " + mState.stored.Text() +
                  " kept");
        return;
    }
    AcceptImage();
}

void FirmwareStore::AcceptImage() {
    const FirmwareImage image = mState.flashing.value();
    mState.flashing.reset();
    mState.image = image;
    mState.stored = image.version;
    mEvents.Add("flashed",
                {{"version", image.version.Text()}, {"bytes", image.length}, {"crc32", image.crc}});
    SetStatus(mOptions.wording == Wording::kApplied
                  ? "Firmware applied: " + mOptions.family + " " + image.version.Text()
                  : "Firmware " + image.version.Text() +
                        ": Successfully wrote file to non-volatile memory");
}

void FirmwareStore::AbandonFlash() {
    mEvents.Add("flash_lost", {{"version", mState.flashing->version.Text()}});
    mState.flashing.reset();
    SetStatus("Flash write interrupted, firmware " + mState.stored.Text() + " kept");
}

void FirmwareStore::RunFlasher() {
    std::unique_lock lock(mMutex);
    while (!mClosing) {
        if (!mState.flashing) {
            mFlashChanged.wait(lock);
        } else if (std::chrono::steady_clock::now() < mFlashEnd) {
            mFlashChanged.wait_until(lock, mFlashEnd);
        } else {
            CommitFlash();
            Save();
        }
    }
}

std::optional<std::string> FirmwareStore::HandOutStatus() {
    if (mListener != nullptr) {
        mListener->Reached(FaultMoment::kStatus);
    }
    return mFailing.exchange(false) ? std::nullopt : std::optional(State().lastStatus);
}

FirmwareState FirmwareStore::State() const {
    const std::lock_guard lock(mMutex);
    return mState;
}

bool FirmwareStore::SetDeviceId(const std::string& deviceId) {
    if (deviceId.size() > kMaxDeviceIdSize || !IsPrintable(deviceId)) {
        return false;
    }
    const std::lock_guard lock(mMutex);
    mState.deviceId = deviceId;
    mEvents.Add("device_id", {{"value", deviceId}});
    Save();
    return true;
}

void FirmwareStore::PowerOn() {
    const std::lock_guard lock(mMutex);
    mState.running = mState.stored;
    mEvents.Add("power_on", {{"version", mState.running.Text()}});
    Save();
}

void FirmwareStore::PowerOff(bool reset) {
    const std::lock_guard lock(mMutex);
    if (mState.flashing) {
        AbandonFlash();
    }
    mState.resets += reset ? 1 : 0;
    mEvents.Add(reset ? "reset" : "power_off");
    Save();
}

void FirmwareStore::SetStatus(const std::string& status) {
    mState.lastStatus = status.substr(0, kMaxStatusSize);
    mEvents.Add("status", {{"text", mState.lastStatus}});
}

void FirmwareStore::Save() {
    if (!mState.Save(StateFile())) {
        mEvents.Add("state_not_saved", {{"file", StateFile().string()}});
    }
}

std::filesystem::path FirmwareStore::IncomingFile() const {
    return mOptions.folder / "incoming.bin";
}

std::filesystem::path FirmwareStore::FirmwareFile() const {
    return mOptions.folder / "firmware.bin";
}

std::filesystem::path FirmwareStore::StateFile() const {
    return mOptions.folder / "state.json";
}

}  // namespace simulator
