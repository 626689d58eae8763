#include <NxDevice/NxTftpClient.h>

#include <algorithm>
#include <string>

#include "Script.h"

class NxTftpClient::Impl {};

NxTftpClient::NxTftpClient() {
    Script::Active().Note("NxTftpClient::NxTftpClient");
    ++Script::Active().clients;
    Script::Active().newestClient = this;
}

NxTftpClient::~NxTftpClient() {
    Script::Active().Note("NxTftpClient::~NxTftpClient");
    --Script::Active().clients;
}

NxResult NxTftpClient::Init(const NxString& connectionID, const NxString& remoteFileName) {
    const std::string arguments =
        std::string(connectionID.GetAscii()) + " " + remoteFileName.GetAscii();
    return Script::Active().Take("NxTftpClient::Init " + arguments).result;
}

NxResult NxTftpClient::SendFile(const NxString& localPath) {
    return Script::Active()
        .Take(std::string("NxTftpClient::SendFile ") + localPath.GetAscii())
        .result;
}

NxResult NxTftpClient::SendData(const unsigned char* data, unsigned int length) {
    const std::string bytes(reinterpret_cast<const char*>(data), length);
    return Script::Active().Take("NxTftpClient::SendData " + bytes).result;
}

NxResult NxTftpClient::GetData(unsigned char* buffer, unsigned int size, unsigned int* received) {
    const ExpectedCall step =
        Script::Active().Take("NxTftpClient::GetData " + std::to_string(size));
    const auto count = std::min<std::size_t>(size, step.data.size());
    std::copy_n(step.data.begin(), count, buffer);
    if (received != nullptr) {
        *received = static_cast<unsigned int>(count);
    }
    return step.result;
}

NxResult NxTftpClient::GetProgress(long& done, long& total) {
    const Script::Progress progress = Script::Active().CurrentProgress();
    done = progress.first;
    total = progress.second;
    return Script::Active().progressResult;
}

NxResult NxTftpClient::GetWarning(NxString& warning) {
    warning = Script::Active().CurrentWarning();
    return Script::Active().warningResult;
}
