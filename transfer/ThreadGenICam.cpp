#include "ThreadGenICam.h"

#include <array>
#include <chrono>
#include <string>
#include <thread>

#include <string.h>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenFile.h>

namespace {

constexpr const char* kPayloadFile = "RemoteUpdateDfw";
constexpr const char* kStatusFile = "StatusTxt";
constexpr const char* kBusyPhrase = "Flash currently being written in background";
constexpr int kStatusReads = 61;
constexpr std::chrono::seconds kStatusPause(1);
constexpr unsigned int kStatusSize = 1024;
using StatusBuffer = std::array<unsigned char, kStatusSize>;

// A status that fills the buffer has no zero byte in it.
NxString TextOf(const StatusBuffer& buffer) {
    const auto* const text = reinterpret_cast<const char*>(buffer.data());
    return NxString(std::string(text, strnlen(text, buffer.size())));
}

}  // namespace

ThreadGenICam::ThreadGenICam(const NxString& connectionID, const NxString& fileName)
    : Thread(fileName), mConnectionID(connectionID) {}

ThreadGenICam::~ThreadGenICam() {
    delete mFile.exchange(nullptr);
    if (mDevice != nullptr) {
        NxDevice::Free(mDevice);
    }
}

NxString ThreadGenICam::GetLabel() {
    return mTransferring ? Thread::GetLabel() : NxString("Connecting device...");
}

void ThreadGenICam::Run() {
    NxResult result;
    mDevice = NxDevice::CreateAndConnect(mConnectionID, &result);
    if (!result.IsOK()) {
        SetResult(result);
        return;
    }
    mFile = new NxGenFile;
    result = OpenFile(kPayloadFile, NxGenOpenMode::kWrite);
    if (!result.IsOK()) {
        SetResult(result);
        return;
    }
    mTransferring = true;
    SetResult(mFile.load()->WriteFrom(mFileName));
    mTransferring = false;
    (void)mFile.load()->Close();
}

void ThreadGenICam::GetRawProgress(long& done, long& total) {
    NxGenFile* const file = mFile;
    if (file != nullptr) {
        (void)file->GetProgress(done, total);
    }
}

NxResult ThreadGenICam::GetStatus(NxString& status) {
    NxResult result = OpenFile(kStatusFile, NxGenOpenMode::kRead);
    if (!result.IsOK()) {
        return result;
    }
    NxGenFile* const file = mFile;
    StatusBuffer buffer = {};
    long read = 0;
    result = file->Read(buffer.data(), kStatusSize, read);
    if (!result.IsOK()) {
        return result;
    }
    status = TextOf(buffer);
    const std::string firstText = status.GetAscii();
    int retries = kStatusReads;
    // Always the first text on purpose: a device that was once busy is given the full minute,
    // whatever its status says meanwhile.
    while (firstText.find(kBusyPhrase) != std::string::npos && --retries != 0) {
        (void)file->Close();
        std::this_thread::sleep_for(kStatusPause);
        result = OpenFile(kStatusFile, NxGenOpenMode::kRead);
        if (!result.IsOK()) {
            return result;
        }
        // Not cleared on purpose: after a shorter text the tail of the one before still follows.
        result = file->Read(buffer.data(), kStatusSize, read);
        if (!result.IsOK()) {
            return result;
        }
        status = NxString(TextOf(buffer).GetUnicode());
    }
    (void)file->Close();
    return NxResult(kNxOk);
}

NxResult ThreadGenICam::SendBuffer(unsigned char* data, unsigned int length) {
    NxResult result = OpenFile(kPayloadFile, NxGenOpenMode::kWrite);
    if (!result.IsOK()) {
        return result;
    }
    long written = 0;
    result = mFile.load()->Write(data, static_cast<long>(length), written);
    if (!result.IsOK()) {
        return result;
    }
    (void)mFile.load()->Close();
    return NxResult(kNxOk);
}

bool ThreadGenICam::SupportsReset() const {
    return false;
}

NxResult ThreadGenICam::OpenFile(const NxString& name, NxGenOpenMode mode) {
    NxGenFile* const file = mFile;
    if (mDevice == nullptr || file == nullptr) {
        NxString what("No connection to the device to open its file ");
        what += name;
        return NxResult(kNxDeviceGone, what);
    }
    return file->Open(mDevice->GetParameters(), name, mode);
}
