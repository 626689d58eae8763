// Writes a payload by GenICam file access, with progress, and prints the device's status text.
//   write-file CONNECTION-ID PAYLOAD
#include <array>
#include <chrono>
#include <future>
#include <iostream>
#include <memory>
#include <string>

#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenFile.h>

namespace {

NxResult Send(NxGenParameterArray* parameters, const NxString& payload) {
    NxGenFile file;
    NxResult result = file.Open(parameters, "RemoteUpdateDfw", NxGenOpenMode::kWrite);
    if (!result.IsOK()) {
        return result;
    }
    auto sending = std::async(std::launch::async, [&] { return file.WriteFrom(payload); });
    while (sending.wait_for(std::chrono::milliseconds(500)) != std::future_status::ready) {
        long done = 0;
        long total = 0;
        (void)file.GetProgress(done, total);  // always OK, from any thread
        std::cout << done << " of " << total << " bytes\n";
    }
    result = sending.get();
    const NxResult closed = file.Close();
    return result.IsOK() ? closed : result;
}

NxResult ReadStatus(NxGenParameterArray* parameters) {
    NxGenFile file;
    NxResult result = file.Open(parameters, "StatusTxt", NxGenOpenMode::kRead);
    if (!result.IsOK()) {
        return result;
    }
    std::array<unsigned char, 1024> text{};
    long length = 0;
    result = file.Read(text.data(), text.size(), length);
    (void)file.Close();
    std::cout << "Status: " << std::string(text.begin(), text.begin() + length) << '\n';
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    NxResult result;
    const std::unique_ptr<NxDevice, decltype(&NxDevice::Free)> device(
        NxDevice::CreateAndConnect(NxString(argv[1]), &result), &NxDevice::Free);
    if (result.IsOK()) {
        result = NxGenFile::CheckSupport(device->GetParameters());
    }
    if (result.IsOK()) {
        result = Send(device->GetParameters(), argv[2]);
    }
    if (result.IsOK()) {
        result = ReadStatus(device->GetParameters());
    }
    if (!result.IsOK()) {
        std::cerr << result.GetDescription().GetAscii() << '\n';
        return 1;
    }
    return 0;
}
