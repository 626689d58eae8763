#pragma once

#include <memory>
#include <string>

#include "DevicePort.h"

/// Opens a USB3 Vision device's control channel and takes control of it; ends within 5 seconds.
/// @param guid the device's GUID as its connection ID carries it
/// @param port untouched on failure
NxResult OpenU3vPort(const std::string& guid, std::shared_ptr<DevicePort>& port);
