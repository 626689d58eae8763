#include "DevicePort.h"

NxResult DevicePort::Probe() {
    return {};
}
