#include "Camera.h"

#include <NxBase/PrintableText.h>

bool Camera::IsSameAs(const Camera& other) const {
    const bool hasMac = !mac.empty() && mac != "00:00:00:00:00:00";
    return hasMac ? mac == other.mac : connectionId == other.connectionId;
}

std::string Camera::Name() const {
    std::string name = model;
    name += serial.empty() ? "" : " " + serial;
    name += " (" + (isUsb ? connectionId : address) + " on " + interface + ")";
    return PrintableText(name);
}
