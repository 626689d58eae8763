#include "FeatureRegisters.h"

#include <utility>

#include "FeatureAddresses.h"

namespace simulator {

namespace {

using Access = RegisterRegion::Access;

}  // namespace

FeatureRegisters::FeatureRegisters(DeviceMemory& memory, const DeviceOptions& options,
                                   FirmwareStore& firmware, EventLog& events, std::endian order,
                                   Hooks hooks)
    : mOptions(options),
      mFirmware(firmware),
      mFiles(firmware, events, options.shortWriteEvery),
      mHooks(std::move(hooks)),
      mRegisters(memory.Add<RegisterRegion>(features::kBase, features::kSize, order)) {
    DefineTexts(options);
    DefineControls();
    if (options.profile != Profile::kNoFileAccess && options.profile != Profile::kLoader) {
        DefineFiles(memory);
    }
}

void FeatureRegisters::DefineTexts(const DeviceOptions& options) {
    mRegisters.SetText(features::kVendorName, features::kTextSize, options.vendor);
    mRegisters.SetText(features::kModelName, features::kTextSize, options.model);
    mRegisters.SetText(features::kSerialNumber, features::kTextSize, options.serial);
    mRegisters.SetText(features::kManufacturerInfo, features::kTextSize,
                       std::string("Simulated device, profile ") + NameOf(options.profile));
    mRegisters.Define(features::kFirmwareVersion, features::kTextSize, Access::kReadOnly,
                      {[this] {
                           mRegisters.SetText(features::kFirmwareVersion, features::kTextSize,
                                              mFirmware.RunningVersion().Text());
                       },
                       nullptr});
    mRegisters.Define(features::kUserId, features::kTextSize, Access::kReadWrite,
                      {[this] {
                           mRegisters.SetText(features::kUserId, features::kTextSize,
                                              mFirmware.DeviceId());
                       },
                       [this] {
                           return mFirmware.SetDeviceId(
                                      mRegisters.GetText(features::kUserId, features::kTextSize))
                                      ? MemoryStatus::kOk
                                      : MemoryStatus::kInvalidParameter;
                       }});
}

void FeatureRegisters::DefineControls() {
    mRegisters.SetNumber(features::kWidth, 640);
    mRegisters.Define(features::kWidth, 4, Access::kReadWrite,
                      {nullptr, [this] {
                           const std::uint32_t width = mRegisters.GetNumber(features::kWidth);
                           return width >= 1 && width <= features::kWidthMax
                                      ? MemoryStatus::kOk
                                      : MemoryStatus::kInvalidParameter;
                       }});
    mRegisters.Define(features::kFirmwareLoad, 4, Access::kReadOnly);
    mRegisters.Define(features::kReset, 4, Access::kReadWrite,
                      {nullptr, [this] {
                           if (mRegisters.GetNumber(features::kReset) != 0) {
                               mRegisters.SetNumber(features::kReset, 0);
                               mHooks.resetRequested();
                           }
                           return MemoryStatus::kOk;
                       }});
}

bool FeatureRegisters::HasSelector() const {
    return mOptions.profile == Profile::kFileAccess ||
           mOptions.profile == Profile::kSelectorWithoutDfw;
}

void FeatureRegisters::DefineFiles(DeviceMemory& memory) {
    if (HasSelector()) {
        mRegisters.Define(features::kFileSelector, 4, Access::kReadWrite,
                          {nullptr, [this] { return CheckSelector(); }});
        if (mOptions.profile == Profile::kSelectorWithoutDfw) {
            mRegisters.SetNumber(features::kFileSelector,
                                 static_cast<std::uint32_t>(FileAccess::File::kStatusTxt));
        }
    }
    mRegisters.Define(features::kOperationSelector, 4, Access::kReadWrite,
                      {nullptr, [this] {
                           return mRegisters.GetNumber(features::kOperationSelector) <
                                          features::kOperationCount
                                      ? MemoryStatus::kOk
                                      : MemoryStatus::kInvalidParameter;
                       }});
    const std::endian order = std::endian::native;  // the buffers hold bytes, not numbers
    if (mOptions.layout == RegisterLayout::kPlain) {
        auto& buffer = memory.Add<RegisterRegion>(features::kBuffer, mOptions.bufferSize, order);
        buffer.Define(features::kBuffer, mOptions.bufferSize, Access::kReadWrite);
        DefineBlock(features::kPlainBlock, buffer, features::kBuffer, std::nullopt, std::nullopt);
        return;
    }
    for (std::uint32_t file = 0; file < (HasSelector() ? features::kFileCount : 1); ++file) {
        const std::uint64_t address = features::kBuffer + file * features::kBufferStride;
        auto& buffer = memory.Add<RegisterRegion>(address, mOptions.bufferSize, order);
        buffer.Define(address, mOptions.bufferSize, Access::kReadWrite);
        for (std::uint32_t operation = 0; operation < features::kOperationCount; ++operation) {
            DefineBlock(
                features::kFirstBlock + file * features::kFileStride +
                    operation * features::kOperationStride,
                buffer, address,
                HasSelector() ? std::optional(static_cast<FileAccess::File>(file)) : std::nullopt,
                static_cast<FileAccess::Operation>(operation));
        }
    }
}

MemoryStatus FeatureRegisters::CheckSelector() const {
    const auto file = static_cast<FileAccess::File>(mRegisters.GetNumber(features::kFileSelector));
    const auto absent = mOptions.profile == Profile::kSelectorWithoutDfw
                            ? FileAccess::File::kRemoteUpdateDfw
                            : FileAccess::File::kUserData;
    return static_cast<std::uint32_t>(file) < features::kFileCount && file != absent
               ? MemoryStatus::kOk
               : MemoryStatus::kInvalidParameter;
}

FileAccess::File FeatureRegisters::SelectedFile(std::optional<FileAccess::File> file) const {
    if (!HasSelector()) {
        return mImplicitFile;
    }
    return file.value_or(
        static_cast<FileAccess::File>(mRegisters.GetNumber(features::kFileSelector)));
}

void FeatureRegisters::DefineBlock(std::uint32_t block, RegisterRegion& buffer,
                                   std::uint64_t bufferAddress,
                                   std::optional<FileAccess::File> file,
                                   std::optional<FileAccess::Operation> operation) {
    for (const std::uint32_t number :
         {features::kAccessOffset, features::kAccessLength, features::kOpenMode}) {
        mRegisters.Define(block + number, 4, Access::kReadWrite);
    }
    mRegisters.SetNumber(block + features::kAccessLength, mOptions.bufferSize);
    const Bytes bytes = buffer.At(bufferAddress, mOptions.bufferSize);
    mRegisters.Define(
        block + features::kExecute, 4, Access::kReadWrite,
        {[this, block] { mRegisters.SetNumber(block + features::kExecute, IsBusy() ? 1 : 0); },
         [this, block, bytes, file, operation] {
             const auto selected = static_cast<FileAccess::Operation>(
                 mRegisters.GetNumber(features::kOperationSelector));
             return Execute(block, bytes, SelectedFile(file), operation.value_or(selected));
         }});
    mRegisters.Define(block + features::kStatus, 4, Access::kReadOnly,
                      {[this, block] {
                           mRegisters.SetNumber(block + features::kStatus,
                                                static_cast<std::uint32_t>(mOutcome.status));
                       },
                       nullptr});
    mRegisters.Define(block + features::kResult, 4, Access::kReadOnly,
                      {[this, block] {
                           // A client that does not wait until it is done shall not get away with
                           // it.
                           mRegisters.SetNumber(block + features::kResult,
                                                IsBusy() ? 0 : mOutcome.result);
                       },
                       nullptr});
    mRegisters.Define(block + features::kFileSize, 4, Access::kReadOnly,
                      {[this, block, file] {
                           mRegisters.SetNumber(
                               block + features::kFileSize,
                               static_cast<std::uint32_t>(mFiles.Size(SelectedFile(file))));
                       },
                       nullptr});
}

MemoryStatus FeatureRegisters::Execute(std::uint32_t block, Bytes buffer, FileAccess::File file,
                                       FileAccess::Operation operation) {
    if (mRegisters.GetNumber(block + features::kExecute) == 0) {
        return MemoryStatus::kOk;
    }
    if (IsBusy()) {
        return MemoryStatus::kBusy;
    }
    mOutcome = Carry(block, buffer, file, operation);
    mOccupied += mOptions.executeLatency;
    mDoneAt = Clock::now() + mOptions.operationTime;
    return MemoryStatus::kOk;
}

FileAccess::Outcome FeatureRegisters::Carry(std::uint32_t block, Bytes buffer,
                                            FileAccess::File file,
                                            FileAccess::Operation operation) {
    const std::uint32_t offset = mRegisters.GetNumber(block + features::kAccessOffset);
    const std::uint32_t length = mRegisters.GetNumber(block + features::kAccessLength);
    switch (operation) {
        case FileAccess::Operation::kOpen: {
            const auto mode = static_cast<FileAccess::OpenMode>(
                mRegisters.GetNumber(block + features::kOpenMode));
            if (!HasSelector()) {
                // With one nameless file, what is read from it is the status.
                mImplicitFile = mode == FileAccess::OpenMode::kRead
                                    ? FileAccess::File::kStatusTxt
                                    : FileAccess::File::kRemoteUpdateDfw;
                file = mImplicitFile;
            }
            mHooks.fileEvent("open");
            return mFiles.Open(file, mode);
        }
        case FileAccess::Operation::kClose: {
            const FileAccess::Outcome outcome = mFiles.Close(file);
            mHooks.fileEvent("close");
            return outcome;
        }
        case FileAccess::Operation::kRead:
        case FileAccess::Operation::kWrite:
            break;
    }
    if (length > buffer.size()) {
        return {FileAccess::Status::kFailure, 0};
    }
    return operation == FileAccess::Operation::kRead
               ? mFiles.Read(file, offset, buffer.first(length))
               : mFiles.Write(file, offset, buffer.first(length));
}

void FeatureRegisters::Abandon() {
    mFiles.Abandon();
    mDoneAt = {};
}

std::chrono::milliseconds FeatureRegisters::TakeOccupiedTime() {
    return std::exchange(mOccupied, std::chrono::milliseconds(0));
}

}  // namespace simulator
