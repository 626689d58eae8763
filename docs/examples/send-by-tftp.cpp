// Checks a payload, sends it by TFTP, prints the device's status text and resets the device.
//   send-by-tftp CONNECTION-ID PAYLOAD
#include <array>
#include <iostream>
#include <string>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDfwPayload.h>
#include <NxDevice/NxTftpClient.h>

namespace {

NxResult Update(const NxString& device, const NxString& payload) {
    NxDfwHeader header;
    NxResult result = NxDfwPayload::Verify(payload, header);
    if (!result.IsOK()) {
        return result;
    }
    std::cout << "Sending " << header.family << " " << header.major << "." << header.minor << '\n';
    NxTftpClient client;
    result = client.Init(device, "RemoteUpdateDfw");
    if (result.IsOK()) {
        result = client.SendFile(payload);
    }
    if (result.IsOK()) {
        result = client.Init(device, "status");
    }
    std::array<unsigned char, 1024> bytes{};
    unsigned int length = 0;
    if (result.IsOK()) {
        result = client.GetData(bytes.data(), bytes.size(), &length);
    }
    if (!result.IsOK()) {
        return result;
    }
    const std::string status(bytes.begin(), bytes.begin() + length);
    std::cout << "Status: " << status << '\n';
    if (status.rfind("Firmware applied:", 0) != 0) {
        return NxResult(kNxStatusNotSuccess);
    }
    result = NxDfwPayload::GetResetRecord(payload, bytes.data(), bytes.size(), length);
    if (result.IsOK()) {
        result = client.Init(device, "RemoteUpdateDfw");
    }
    return result.IsOK() ? client.SendData(bytes.data(), length) : result;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    const NxResult result = Update(argv[1], argv[2]);
    if (!result.IsOK()) {
        std::cerr << result.GetDescription().GetAscii() << '\n';
        return 1;
    }
    return 0;
}
