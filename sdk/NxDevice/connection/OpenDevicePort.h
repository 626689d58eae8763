#pragma once

#include <memory>

#include <NxBase/NxResult.h>
#include <internal/NxSystem/ConnectionId.h>

#include "port/DevicePort.h"

/// Opens the control channel of the device that the ID names, over whichever bus.
/// @param port untouched on failure
NxResult OpenDevicePort(const ConnectionId& id, std::shared_ptr<DevicePort>& port);
