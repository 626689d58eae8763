// Prints a GenICam feature of a device.
//   read-feature CONNECTION-ID FEATURE
#include <iostream>
#include <memory>

#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenParameterArray.h>

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    NxResult result;
    const std::unique_ptr<NxDevice, decltype(&NxDevice::Free)> device(
        NxDevice::CreateAndConnect(NxString(argv[1]), &result), &NxDevice::Free);
    NxString value;
    if (result.IsOK()) {
        result = device->GetParameters()->GetStringValue(argv[2], value);
    }
    if (!result.IsOK()) {
        std::cerr << result.GetDescription().GetAscii() << '\n';
        return 1;
    }
    std::cout << value.GetAscii() << '\n';
    return 0;
}
