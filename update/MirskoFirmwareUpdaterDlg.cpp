#include "MirskoFirmwareUpdaterDlg.h"

#include <chrono>
#include <iostream>
#include <thread>
#include <utility>
#include <vector>

#include <NxBase/NxResult.h>
#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDevice.h>
#include <NxGenICam/GenFUControl.h>
#include <NxGenICam/GenFUParser.h>
#include <NxGenICam/GenFUUpdaterCodes.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <NxGenICam/NxGenFile.h>
#include <NxGenICam/NxGenParameterArray.h>
#include <NxSystem/NxDeviceInfo.h>

#include "NxFwFileReader.h"
#include "Thread.h"
#include "ThreadGenICam.h"
#include "ThreadTftp.h"

namespace {

using NxGenICamLib::kGenFUDone;
using NxGenICamLib::kGenFUFailed;
using NxGenICamLib::kGenFUNotProvided;
using NxGenICamLib::kGenFUNoTransfer;
using NxGenICamLib::kGenFUUnreadable;
using NyUtilsLib::Result;

constexpr std::int32_t kTransferFailed = 103;
constexpr std::int32_t kValidationFailed = 104;

constexpr unsigned int kLastNetworkType = 1;
constexpr std::chrono::milliseconds kPause(500);

// Keeps an object that lives until the process ends reachable, so that it is not a leak.
template <typename Object>
Object* KeepForever(Object* object) {
    static auto* const kept = new std::vector<Object*>;
    kept->push_back(object);
    return object;
}

NxString ConnectionIdOf(const NxDeviceInfo& info) {
    return NxString(info.GetConnectionID().GetUnicode());
}

// Of a device with file access: whether its file "RemoteUpdateDfw" can be written.
void ChooseByNodes(NxGenParameterArray& parameters, NxResult& choice) {
    NxGenEnum* const load = parameters.GetEnum("DeviceFirmwareLoad");
    NxGenEnum* const selector = parameters.GetEnum("FileSelector");
    if (load != nullptr && selector == nullptr) {
        NxGenEnumEntry entry;
        NxString name;
        (void)load->GetEntryByIndex(0, entry);
        (void)entry.GetDisplayName(name);
        if (std::string(name.GetAscii()).find("BackupLoad") != std::string::npos) {
            choice = NxResult(kNxBackupLoadOnly);
        }
    }
    if (selector != nullptr && choice.IsOK()) {
        NxGenEnumEntry entry;
        choice = selector->GetEntryByName("RemoteUpdateDfw", entry);
    }
}

}  // namespace

MirskoFirmwareUpdaterDlg::MirskoFirmwareUpdaterDlg(std::shared_ptr<NxFwFileReader> fileReader,
                                                   bool isDirectPayload, const NxDeviceInfo* info,
                                                   NxString& path, bool isSelectionGiven)
    : reader(std::move(fileReader)),
      deviceInfo(info),
      payloadPath(path),
      selectionGiven(isSelectionGiven),
      directPayload(isDirectPayload) {}

// Neither deletes a worker nor frees a connection, on purpose: Write deletes its own worker, and
// whoever connects frees the connection or leaves it open.
MirskoFirmwareUpdaterDlg::~MirskoFirmwareUpdaterDlg() = default;

Result MirskoFirmwareUpdaterDlg::ReadGenStringValue(const std::string& nodeName,
                                                    std::string& value) {
    NxString text;
    if (!device->GetParameters()->GetStringValue(nodeName, text).IsOK()) {
        return Result(kGenFUUnreadable);
    }
    // The model name whatever was asked for, on purpose; the text just read only shows whether the
    // node can be read.
    value = deviceInfo->GetModelName().GetAscii();
    return Result(kGenFUDone);
}

Result MirskoFirmwareUpdaterDlg::WriteGenStringValue(const std::string&, const std::string&) {
    return Result(kGenFUNotProvided);
}

Result MirskoFirmwareUpdaterDlg::ExecuteGenCommand(const std::string&) {
    return Result(kGenFUNotProvided);
}

Result MirskoFirmwareUpdaterDlg::GetGenEnumEntries(const std::string&, std::list<std::string>&) {
    return Result(kGenFUNotProvided);
}

Result MirskoFirmwareUpdaterDlg::Write(const std::string& fileName, const std::string& transport) {
    if (directPayload) {
        const NxResult choice = ChooseTransport();
        const NxString connectionId = ConnectionIdOf(*deviceInfo);
        if (choice.IsOK()) {
            thread = new ThreadGenICam(connectionId, payloadPath);
        } else if (deviceInfo->GetType() <= kLastNetworkType) {
            thread = new ThreadTftp(connectionId, payloadPath);
        }
    } else {
        const std::string path = reader->ExtractFile(fileName);
        const NxString connectionId = ConnectionIdOf(*deviceInfo);
        if (transport == "TFTP") {
            thread = new ThreadTftp(connectionId, path);
        } else {
            thread = new ThreadGenICam(connectionId, path);
        }
    }
    return thread != nullptr ? WaitForUpdate() : Result(kGenFUFailed);
}

Result MirskoFirmwareUpdaterDlg::Reset() {
    // After a Write there is never a worker left; the reset that matters is CompleteUpdate's.
    if (thread == nullptr) {
        return Result(kGenFUNoTransfer);
    }
    (void)thread->Reset();
    return Result(kGenFUDone);
}

bool MirskoFirmwareUpdaterDlg::OnInitDialog() {
    return directPayload ? UpdateFromPayload() : UpdateFromPackage();
}

Result MirskoFirmwareUpdaterDlg::WaitForUpdate() {
    thread->Start();
    std::cout << "Starting update..." << std::endl;
    while (!thread->IsComplete()) {
        std::this_thread::sleep_for(kPause);
        UpdateLabel();
    }
    std::cout << std::endl;
    ValidateUpdate();
    CompleteUpdate();
    // Never set back to 0 on purpose: a device of which one file failed is not reset by a later
    // one.
    if (status != 0) {
        std::cout << "Update failed." << std::endl;
        return Result(kGenFUFailed);
    }
    std::cout << "Firmware upload complete." << std::endl;
    UpdateLabel();
    return Result(kGenFUDone);
}

void MirskoFirmwareUpdaterDlg::ValidateUpdate() {
    const NxResult transfer = thread->mResult;
    if (!transfer.IsOK()) {
        std::cerr << transfer.GetDescription().GetAscii() << std::endl;
        status = kTransferFailed;
        return;
    }
    std::cout << "Validating update... Please wait..." << std::endl;
    if (!thread->Validate().IsOK()) {
        NxString text("Status error: ");
        text += NxString(thread->mStatus.GetUnicode());
        std::cerr << text.GetAscii() << std::endl;
        status = kValidationFailed;
        return;
    }
    std::cout << "Update is valid." << std::endl;
}

void MirskoFirmwareUpdaterDlg::CompleteUpdate() {
    if (thread == nullptr) {
        return;
    }
    // After a failed transfer too, on purpose.
    if (newDeviceId.GetLength() != 0) {
        std::cout << "Setting new device ID" << std::endl;
        (void)thread->SetNewDeviceId(NxString(newDeviceId));
    }
    if (status == 0 && resetAfterUpdate) {
        std::cout << "Resetting device" << std::endl;
        (void)thread->Reset();
        std::this_thread::sleep_for(kPause);
    }
    delete thread;
    thread = nullptr;
}

void MirskoFirmwareUpdaterDlg::UpdateLabel() {
    if (thread != nullptr) {
        std::cout << thread->GetLabel().GetAscii() << "\r" << std::flush;
    }
}

void MirskoFirmwareUpdaterDlg::UpdateProgress() {
    if (thread != nullptr) {
        std::cout << "Current progress: " << thread->GetProgress() << std::endl;
    }
}

bool MirskoFirmwareUpdaterDlg::UpdateFromPayload() {
    const std::string modelName = deviceInfo->GetModelName().GetAscii();
    if (Write(reader->GetFilePath(), modelName).GetCode() != kGenFUDone) {
        std::cerr << "Writing payload file to device failed!" << std::endl;
        return false;
    }
    return true;
}

bool MirskoFirmwareUpdaterDlg::UpdateFromPackage() {
    NxResult connection;
    device = NxDevice::CreateAndConnect(deviceInfo, &connection);
    if (!connection.IsOK()) {
        std::cerr << connection.GetDescription().GetAscii() << std::endl;
        return false;
    }
    const std::string manifestPath = reader->ExtractFile("Manifest.xml");
    const std::string manifest = NxFwFileReader(std::string(), manifestPath).GetFileContent();
    // Neither is ever deleted, on purpose: they live until the process ends.
    auto* const control = KeepForever(new NxGenICamLib::GenFUControl(this));
    auto* const parser = KeepForever(new NxGenICamLib::GenFUParser(control));
    const Result built = parser->Build(manifest);
    if (built.GetCode() != kGenFUDone) {
        std::cerr << built.GetMessage() << std::endl;
        // Left open on purpose: the device stays under control until the process ends.
        (void)KeepForever(device);
        return false;
    }
    const Result run = control->Run();
    NxDevice::Free(device);
    if (run.GetCode() != kGenFUDone) {
        std::cerr << run.GetMessage() << std::endl;
        return false;
    }
    return true;
}

NxResult MirskoFirmwareUpdaterDlg::ChooseTransport() {
    NxResult choice;
    device = NxDevice::CreateAndConnect(deviceInfo, &choice);
    if (device == nullptr) {
        return choice;
    }
    NxGenParameterArray* const parameters = device->GetParameters();
    if (NxGenFile::IsSupported(parameters)) {
        ChooseByNodes(*parameters, choice);
    } else {
        choice = NxResult(kNxNoFileAccess);
    }
    NxDevice::Free(device);
    return choice;
}
