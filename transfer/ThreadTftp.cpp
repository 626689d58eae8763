#include "ThreadTftp.h"

#include <array>
#include <string>

#include <string.h>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxTftpClient.h>

namespace {

constexpr const char* kPayloadFile = "RemoteUpdateDfw";
constexpr const char* kStatusFile = "status";
constexpr unsigned int kStatusSize = 1024;

}  // namespace

ThreadTftp::ThreadTftp(const NxString& connectionID, const NxString& fileName)
    : Thread(fileName), mConnectionID(connectionID) {}

ThreadTftp::~ThreadTftp() {
    delete mClient.exchange(nullptr);
}

NxString ThreadTftp::GetLabel() {
    long done = 0;
    long total = 0;
    GetRawProgress(done, total);
    NxString warning;
    NxTftpClient* const client = mClient;
    if (client != nullptr) {
        (void)client->GetWarning(warning);
    }
    if (warning.GetLength() != 0) {
        mLastWarning = warning;
    }
    if (mLastWarning.GetLength() == 0) {
        return Thread::GetLabel();
    }
    // The warning is never forgotten on purpose: it shows again whenever the byte count is back
    // where it last stood still.
    const bool stalled = done == mWarningProgress;
    if (!stalled && warning.GetLength() == 0) {
        return Thread::GetLabel();
    }
    mWarningProgress = done;
    return mLastWarning;
}

void ThreadTftp::Run() {
    auto* const client = new NxTftpClient;
    mClient = client;
    NxResult result = client->Init(mConnectionID, kPayloadFile);
    if (!result.IsOK()) {
        SetResult(result);
        return;
    }
    mTransferring = true;
    SetResult(client->SendFile(mFileName));
    mTransferring = false;
}

NxResult ThreadTftp::GetStatus(NxString& status) {
    NxTftpClient* const client = mClient;
    NxResult result = client->Init(mConnectionID, kStatusFile);
    if (!result.IsOK()) {
        return result;
    }
    std::array<unsigned char, kStatusSize> buffer = {};
    unsigned int received = 0;
    result = client->GetData(buffer.data(), kStatusSize, &received);
    if (!result.IsOK()) {
        return result;
    }
    // A status that fills the buffer has no zero byte in it.
    const auto* const text = reinterpret_cast<const char*>(buffer.data());
    status = NxString(std::string(text, strnlen(text, buffer.size())));
    return NxResult(kNxOk);
}

void ThreadTftp::GetRawProgress(long& done, long& total) {
    NxTftpClient* const client = mClient;
    if (client != nullptr) {
        (void)client->GetProgress(done, total);
    }
}

NxResult ThreadTftp::SendBuffer(unsigned char* data, unsigned int length) {
    NxTftpClient* const client = mClient;
    NxResult result = client->Init(mConnectionID, kPayloadFile);
    if (!result.IsOK()) {
        return result;
    }
    result = client->SendData(data, length);
    return result.IsOK() ? NxResult(kNxOk) : result;
}

bool ThreadTftp::SupportsReset() const {
    return true;
}
