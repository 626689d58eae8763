#include <NxDevice/NxTftpClient.h>

#include <chrono>
#include <span>

#include <NxBase/NxResultCodes.h>

#include <NxDevice/TftpClient.h>

class NxTftpClient::Impl {
  public:
    TftpClient client;
};

NxTftpClient::NxTftpClient() : mImpl(std::make_unique<Impl>()) {}

NxTftpClient::~NxTftpClient() = default;

NxResult NxTftpClient::Init(const NxString& connectionID, const NxString& remoteFileName) {
    return mImpl->client.Init(connectionID, remoteFileName);
}

NxResult NxTftpClient::SendFile(const NxString& localPath) {
    return mImpl->client.SendFile(localPath);
}

NxResult NxTftpClient::SendData(const unsigned char* data, unsigned int length) {
    if (data == nullptr && length != 0) {
        return NxResult(kNxInvalidArgument, "There is no data to send");
    }
    return mImpl->client.SendData(std::as_bytes(std::span(data, length)));
}

NxResult NxTftpClient::GetData(unsigned char* buffer, unsigned int size, unsigned int* received) {
    if (buffer == nullptr && size != 0) {
        return NxResult(kNxInvalidArgument, "There is no buffer to receive into");
    }
    std::size_t count = 0;
    NxResult result = mImpl->client.GetData(std::as_writable_bytes(std::span(buffer, size)), count);
    if (received != nullptr) {
        *received = static_cast<unsigned int>(count);
    }
    return result;
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
