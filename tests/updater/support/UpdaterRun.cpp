#include "UpdaterRun.h"

#include <iostream>

#include "RecordedStream.h"

int RunUpdater(int argc, char** argv);

UpdaterOutcome RunMain(const std::vector<std::string>& arguments) {
    std::vector<std::string> copies = {"MirskoFirmwareUpdater"};
    copies.insert(copies.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : copies) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    const RecordedStream out(std::cout);
    const RecordedStream err(std::cerr);
    UpdaterOutcome outcome;
    outcome.exitStatus = RunUpdater(static_cast<int>(copies.size()), argv.data());
    outcome.out = out.Text();
    outcome.err = err.Text();
    outcome.outWithFlushes = out.TextWithFlushes();
    outcome.errWithFlushes = err.TextWithFlushes();
    outcome.largestWrite = out.LargestWrite();
    return outcome;
}

InterfaceRecord Network(const std::string& mac, const std::vector<DeviceRecord>& devices) {
    return {InterfaceRecord::Kind::kNetwork, mac, devices};
}

InterfaceRecord Usb(const std::vector<DeviceRecord>& devices) {
    return {InterfaceRecord::Kind::kUsb, "", devices};
}

DeviceRecord Camera(const std::string& model, const std::string& connectionId) {
    return {DeviceRecord::Kind::kGigEVision, model, connectionId};
}

DeviceRecord Loader(const std::string& model, const std::string& connectionId) {
    return {DeviceRecord::Kind::kLoader, model, connectionId};
}

DeviceRecord UsbCamera(const std::string& model, const std::string& connectionId) {
    return {DeviceRecord::Kind::kUsb3Vision, model, connectionId};
}

void ExpectFileAccessUpdate(Script& script, const std::string& connectionId,
                            const std::string& path) {
    ExpectProbe(script, connectionId);
    ExpectFileAccessTransfer(script, connectionId, path);
    ExpectFileAccessStatus(script, "Firmware applied: 2.0");
    script.Expect("NxDevice::Free " + connectionId);
}

void ExpectFileAccessTransfer(Script& script, const std::string& connectionId,
                              const std::string& path) {
    script.Expect("NxDevice::CreateAndConnect " + connectionId);
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom " + path);
    script.Expect("NxGenFile::Close");
}

void ExpectFileAccessStatus(Script& script, const std::string& status) {
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives(status);
    script.Expect("NxGenFile::Close");
}

void ExpectProbe(Script& script, const std::string& connectionId) {
    script.Expect("NxDevice::CreateAndConnect record " + connectionId);
    script.Expect("NxDevice::Free " + connectionId);
}

void ExpectTftpTransfer(Script& script, const std::string& connectionId, const std::string& path) {
    script.Expect("NxTftpClient::Init " + connectionId + " RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendFile " + path);
}

void ExpectTftpStatus(Script& script, const std::string& connectionId, const std::string& status) {
    script.Expect("NxTftpClient::Init " + connectionId + " status");
    script.Expect("NxTftpClient::GetData 1024").Gives(status);
}

void ExpectTftpReset(Script& script, const std::string& connectionId, const std::string& path) {
    script.Expect("NxDfwPayload::GetResetRecord " + path + " 4096").Gives("RESET");
    script.Expect("NxTftpClient::Init " + connectionId + " RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendData RESET");
}
