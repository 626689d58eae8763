#include "OpenDevicePort.h"

#include "gvcp/GvcpPort.h"
#include "u3v/U3vPort.h"

NxResult OpenDevicePort(const ConnectionId& id, std::shared_ptr<DevicePort>& port) {
    return id.kind == ConnectionId::Kind::kUsb ? OpenU3vPort(id.guid, port)
                                               : OpenGvcpPort(id, port);
}
