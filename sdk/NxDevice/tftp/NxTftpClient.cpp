#include <NxDevice/NxTftpClient.h>

#include <chrono>
#include <span>
#include <string>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include <internal/NxSystem/ConnectionId.h>

#include "TftpClient.h"

#include "history/DeviceHistory.h"
#include "payload/DfwHeaderCodec.h"

class NxTftpClient::Impl {
  public:
    // Whoever reads of a TFTP server that fails, wants to know why the device was not updated by
    // file access in the first place.
    [[nodiscard]] NxResult Explain(NxResult result) const {
        const std::string why = DeviceHistory::OfThisProcess().WhyNoFileAccess(server);
        const bool isOfDevice =
            result.GetCode() != kNxLocalFile && result.GetCode() != kNxInvalidArgument;
        if (result.IsOK() || why.empty() || !isOfDevice) {
            return result;
        }
        return NxResult(result.GetCode(), std::string(result.GetDescription().GetAscii()) +
                                              "; GenICam file access was not possible: " + why);
    }

    TftpClient client;
    ConnectionId server;
};

NxTftpClient::NxTftpClient() : mImpl(std::make_unique<Impl>()) {}

NxTftpClient::~NxTftpClient() = default;

NxResult NxTftpClient::Init(const NxString& connectionID, const NxString& remoteFileName) {
    NX_RETURN_IF_FAILED(mImpl->client.Init(connectionID, remoteFileName));
    return ConnectionId::Parse(connectionID, mImpl->server);
}

NxResult NxTftpClient::SendFile(const NxString& localPath) {
    return mImpl->Explain(mImpl->client.SendFile(localPath));
}

NxResult NxTftpClient::SendData(const unsigned char* data, unsigned int length) {
    if (data == nullptr && length != 0) {
        return NxResult(kNxInvalidArgument, "No data to send");
    }
    const auto bytes = std::as_bytes(std::span(data, length));
    NxResult result = mImpl->client.SendData(bytes);
    // A device may restart before it acknowledges.
    if (DfwHeaderCodec::IsResetRecord(bytes) && (result.IsOK() || result.GetCode() == kNxTimeout)) {
        DeviceHistory::OfThisProcess().NoteReset(mImpl->server);
    }
    return mImpl->Explain(std::move(result));
}

NxResult NxTftpClient::GetData(unsigned char* buffer, unsigned int size, unsigned int* received) {
    if (buffer == nullptr && size != 0) {
        return NxResult(kNxInvalidArgument, "No receive buffer given");
    }
    std::size_t count = 0;
    NxResult result = mImpl->client.GetData(std::as_writable_bytes(std::span(buffer, size)), count);
    if (received != nullptr) {
        *received = static_cast<unsigned int>(count);
    }
    return mImpl->Explain(std::move(result));
}

NxResult NxTftpClient::GetProgress(long& done, long& total) {
    done = static_cast<long>(mImpl->client.Monitor().Done());
    total = static_cast<long>(mImpl->client.Monitor().Total());
    return NxResult();
}

NxResult NxTftpClient::GetWarning(NxString& warning) {
    warning = mImpl->client.Monitor().Warning(std::chrono::steady_clock::now());
    return NxResult();
}
