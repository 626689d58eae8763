// A program of somebody else: prints serial number, firmware version and transport features of each
// device that it finds.
#include <iostream>

#include <NxBase/NxResult.h>
#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenParameterArray.h>
#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxInterface.h>
#include <NxSystem/NxSystem.h>
#include <NyUtilsLib/Result.h>

namespace {

NyUtilsLib::Result Print(const NxDeviceInfo& device) {
    NxResult result;
    NxDevice* const connected = NxDevice::CreateAndConnect(&device, &result);
    if (connected == nullptr) {
        return {1, result.GetDescription().GetAscii()};
    }
    NxString version;
    result = connected->GetParameters()->GetStringValue("DeviceFirmwareVersion", version);
    NxDevice::Free(connected);
    if (!result.IsOK()) {
        return {1, result.GetDescription().GetAscii()};
    }
    std::cout << device.GetSerialNumber().GetAscii() << ' ' << version.GetAscii() << '\n';
    return {0, ""};
}

}  // namespace

int main() {
    NxSystem system;
    const NxResult found = system.Find();
    if (!found.IsOK()) {
        std::cerr << found.GetDescription().GetAscii() << '\n';
        return 1;
    }
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        const NxInterface* const interface = system.GetInterface(i);
        for (unsigned int k = 0; k < interface->GetDeviceCount(); ++k) {
            const NyUtilsLib::Result printed = Print(*interface->GetDeviceInfo(k));
            if (printed.GetCode() != 0) {
                std::cerr << printed.GetMessage() << '\n';
                return 1;
            }
        }
    }
    return 0;
}
