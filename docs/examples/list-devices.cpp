// Lists the devices on all interfaces, and what keeps a program from using them.
//   list-devices
#include <iostream>

#include <NxSystem/NxDeviceInfo.h>
#include <NxSystem/NxInterface.h>
#include <NxSystem/NxSystem.h>

int main() {
    NxSystem system;  // owns everything below
    const NxResult result = system.FindAll();
    if (!result.IsOK()) {
        std::cerr << result.GetDescription().GetAscii() << '\n';
        return 1;
    }
    for (unsigned int i = 0; i < system.GetInterfaceCount(); ++i) {
        const NxInterface* interface = system.GetInterface(i);
        for (unsigned int j = 0; j < interface->GetDeviceCount(); ++j) {
            const NxDeviceInfo* device = interface->GetDeviceInfo(j);
            std::cout << device->GetConnectionID().GetAscii() << ": "
                      << device->GetModelName().GetAscii() << ", serial number "
                      << device->GetSerialNumber().GetAscii() << ", version "
                      << device->GetDeviceVersion().GetAscii();
            if (device->GetAccessReason().GetLength() > 0) {
                std::cout << " (" << device->GetAccessReason().GetAscii() << ")";
            }
            std::cout << '\n';
        }
    }
    return 0;
}
