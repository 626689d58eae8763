#include "TransportChoice.h"

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDevice.h>
#include <NxDevice/NxTftpClient.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <NxGenICam/NxGenFile.h>
#include <NxGenICam/NxGenParameterArray.h>

namespace {

constexpr unsigned int kLastTypeWithTftp = 1;

NxResult CheckFileAccess(NxGenParameterArray* parameters) {
    if (NxResult result = NxGenFile::CheckSupport(parameters); !result.IsOK()) {
        return result;
    }
    NxGenEnumEntry entry;
    if (NxGenEnum* files = parameters->GetEnum("FileSelector"); files != nullptr) {
        return files->GetEntryByName("RemoteUpdateDfw", entry);
    }
    NxGenEnum* loads = parameters->GetEnum("DeviceFirmwareLoad");
    NxString shown;
    if (loads != nullptr && loads->GetEntryByIndex(0, entry).IsOK() &&
        entry.GetDisplayName(shown).IsOK() &&
        std::string(shown.GetAscii()).find("BackupLoad") != std::string::npos) {
        return NxResult(kNxBackupLoadOnly, "the device is running its backup load");
    }
    return {};
}

}  // namespace

TransportChoice TransportChoice::Find(const NxDeviceInfo& device) {
    NxResult result;
    NxDevice* connection = NxDevice::CreateAndConnect(&device, &result);
    // A program that updates the device keeps every transport to itself.
    NxTftpClient client;
    if (const NxResult locked = client.Init(device.GetConnectionID(), "status");
        locked.GetCode() == kNxAccessDenied) {
        return {.transport = Transport::kNone, .reason = locked.GetDescription().GetAscii()};
    }
    if (connection != nullptr) {
        result = CheckFileAccess(connection->GetParameters());
        NxDevice::Free(connection);
    }
    if (result.IsOK()) {
        return {.transport = Transport::kFileAccess, .reason = ""};
    }
    return {
        .transport = device.GetType() <= kLastTypeWithTftp ? Transport::kTftp : Transport::kNone,
        .reason = result.GetDescription().GetAscii()};
}

const char* TransportChoice::Name() const {
    switch (transport) {
        case Transport::kFileAccess:
            return "GenICam file access";
        case Transport::kTftp:
            return "TFTP";
        case Transport::kNone:
            break;
    }
    return "none";
}
