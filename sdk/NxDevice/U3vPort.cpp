#include "U3vPort.h"

#include <NxBase/NxResultCodes.h>

NxResult OpenU3vPort(const std::string& guid, std::shared_ptr<DevicePort>& /*port*/) {
    return NxResult(kNxNotSupported, "Cannot connect to the USB3 Vision device " + guid +
                                         ": this build has no USB3 Vision support");
}
