#include "DeviceTftpFiles.h"

#include <algorithm>
#include <utility>

#include "simulator/firmware/FirmwareStore.h"

namespace simulator {

namespace {

constexpr const char* kPayloadFile = "RemoteUpdateDfw";
constexpr const char* kStatusFile = "status";

class UploadSink : public TftpSink {
  public:
    UploadSink(FirmwareStore& store, bool& writing) : mStore(store), mWriting(writing) {}
    ~UploadSink() override { Release(); }

    [[nodiscard]] bool Write(std::span<const std::uint8_t> bytes) override {
        if (!mUpload && !Begin()) {
            return false;
        }
        return mUpload->Write(mUpload->Size(), bytes);
    }

    void Finish() override {
        mUpload->Finish();
        Release();
    }

  private:
    bool Begin() {
        std::string why;
        mUpload = mWriting ? nullptr : mStore.BeginUpload(why);
        mWriting = mWriting || mUpload != nullptr;
        return mUpload != nullptr;
    }

    void Release() {
        if (mUpload) {
            mUpload.reset();
            mWriting = false;
        }
    }

    FirmwareStore& mStore;
    bool& mWriting;
    std::unique_ptr<FirmwareUpload> mUpload;
};

class TextSource : public TftpSource {
  public:
    explicit TextSource(std::string text) : mText(std::move(text)) {}

    [[nodiscard]] std::uint64_t Size() const override { return mText.size(); }

    [[nodiscard]] std::size_t Read(std::span<std::uint8_t> into) override {
        const std::size_t size = std::min(into.size(), mText.size() - mRead);
        std::copy_n(mText.begin() + static_cast<std::ptrdiff_t>(mRead), size, into.begin());
        mRead += size;
        return size;
    }

  private:
    std::string mText;
    std::size_t mRead = 0;
};

TftpError NoSuchFile(const std::string& name) {
    return {TftpErrorCode::kFileNotFound, "No file \"" + name.substr(0, 64) + "\""};
}

}  // namespace

DeviceTftpFiles::DeviceTftpFiles(FirmwareStore& store, const TftpSettings& settings,
                                 const TftpFaults& faults)
    : mStore(store),
      mHoldStatus(settings.holdStatusWhileFlashing),
      mStatusSize(faults.statusSize.value_or(0)) {}

TftpFiles::ForWriting DeviceTftpFiles::OpenForWriting(const std::string& name,
                                                      std::optional<std::uint64_t>) {
    if (name == kStatusFile) {
        return TftpError{TftpErrorCode::kAccessViolation, "status is read-only"};
    }
    if (name != kPayloadFile) {
        return NoSuchFile(name);
    }
    if (mStore.State().flashing) {
        return TftpError{TftpErrorCode::kNotDefined, FirmwareStore::kBusyStatus};
    }
    if (mWriting) {
        return TftpError{TftpErrorCode::kNotDefined, "Another transfer is in progress"};
    }
    return std::make_unique<UploadSink>(mStore, mWriting);
}

TftpFiles::ForReading DeviceTftpFiles::OpenForReading(const std::string& name) {
    if (name == kPayloadFile) {
        return TftpError{TftpErrorCode::kAccessViolation, "RemoteUpdateDfw is write-only"};
    }
    if (name != kStatusFile) {
        return NoSuchFile(name);
    }
    if (mHoldStatus && mStore.State().flashing) {
        return TftpNotYet{};
    }
    std::optional<std::string> status = mStore.HandOutStatus();
    if (!status) {
        return TftpError{TftpErrorCode::kNotDefined, "The status cannot be read"};
    }
    status->resize(std::max<std::size_t>(status->size(), mStatusSize), '.');
    return std::make_unique<TextSource>(*std::move(status));
}

}  // namespace simulator
