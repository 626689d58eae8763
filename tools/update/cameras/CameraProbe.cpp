#include "CameraProbe.h"

#include <array>
#include <memory>
#include <string_view>

#include <string.h>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>
#include <NxDevice/NxDevice.h>
#include <NxDevice/NxTftpClient.h>
#include <NxGenICam/NxGenFile.h>

#include "../../devices/TransportChoice.h"

namespace {

constexpr unsigned int kLoaderType = 1;
constexpr unsigned int kStatusSize = 1024;
using StatusBuffer = std::array<unsigned char, kStatusSize>;

struct Disconnect {
    void operator()(NxDevice* device) const { NxDevice::Free(device); }
};
using Connection = std::unique_ptr<NxDevice, Disconnect>;

// Without GenICam, firmware may still be sent by TFTP; but not behind the back of the program that
// controls the camera, nor where nothing answers.
bool IsFinal(const NxResult& connecting) {
    switch (connecting.GetCode()) {
        case kNxAccessDenied:
        case kNxTimeout:
        case kNxDeviceGone:
        case kNxSocket:
        case kNxInvalidArgument:
            return true;
        default:
            return false;
    }
}

std::string TextOf(const StatusBuffer& buffer) {
    const auto* const text = reinterpret_cast<const char*>(buffer.data());
    return {text, strnlen(text, buffer.size())};
}

// A camera need not say anything before its first update.
std::string StatusByFileAccess(NxDevice& connection) {
    StatusBuffer buffer = {};
    NxGenFile file;
    long read = 0;
    if (!file.Open(connection.GetParameters(), "StatusTxt", NxGenOpenMode::kRead).IsOK()) {
        return "";
    }
    (void)file.Read(buffer.data(), kStatusSize, read);
    (void)file.Close();
    return TextOf(buffer);
}

NxResult StatusByTftp(const Camera& camera, std::string& text) {
    StatusBuffer buffer = {};
    NxTftpClient client;
    NxResult result = client.Init(camera.connectionId, "status");
    if (!result.IsOK()) {
        return result;
    }
    unsigned int received = 0;
    result = client.GetData(buffer.data(), kStatusSize, &received);
    text = TextOf(buffer);
    return result;
}

// "Firmware applied: FAMILY VERSION"; a family may contain blanks.
void ReadStored(const std::string& status, CameraProbe& probe) {
    constexpr std::string_view kApplied = "Firmware applied: ";
    const std::size_t blank = status.rfind(' ');
    if (!status.starts_with(kApplied) || blank < kApplied.size()) {
        return;
    }
    probe.family = status.substr(kApplied.size(), blank - kApplied.size());
    probe.storedVersion = status.substr(blank + 1);
}

}  // namespace

CameraProbe CameraProbe::Ask(const Camera& camera) {
    CameraProbe probe;
    probe.refusal = camera.obstacle;
    if (!probe.refusal.empty()) {
        return probe;
    }
    NxResult result;
    Connection connection;
    if (camera.device->GetType() != kLoaderType) {
        connection.reset(NxDevice::CreateAndConnect(camera.device, &result));
        if (IsFinal(result)) {
            probe.refusal = result.GetDescription().GetAscii();
            return probe;
        }
    }
    const TransportChoice choice = TransportChoice::Find(*camera.device);
    probe.whyNoFileAccess = choice.reason;
    std::string status;
    switch (choice.transport) {
        case TransportChoice::Transport::kFileAccess:
            status = connection != nullptr ? StatusByFileAccess(*connection) : "";
            break;
        case TransportChoice::Transport::kTftp:
            probe.transport = Transport::kTftp;
            connection.reset();
            result = StatusByTftp(camera, status);
            if (IsFinal(result)) {
                probe.refusal = result.GetDescription().GetAscii();
            }
            break;
        case TransportChoice::Transport::kNone:
            probe.refusal = choice.reason;
            break;
    }
    ReadStored(status, probe);
    return probe;
}

const char* CameraProbe::TransportName() const {
    return transport == Transport::kFileAccess ? "GenICam file access" : "TFTP";
}
