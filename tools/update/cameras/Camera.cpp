#include "Camera.h"

#include <NxBase/PrintableText.h>

bool Camera::IsSameAs(const Camera& other) const {
    const bool hasMac = !mac.empty() && mac != "00:00:00:00:00:00";
    return hasMac ? mac == other.mac : connectionId == other.connectionId;
}

std::string Camera::Displacement(const std::vector<Camera>& now) const {
    std::string problem;
    for (const Camera& other : now) {
        if (IsSameAs(other) && other.connectionId == connectionId) {
            return "";
        }
        if (other.connectionId == connectionId) {
            problem = "its address now belongs to " + other.Name();
        } else if (IsSameAs(other) && problem.empty()) {
            problem = "it has moved to " + PrintableText(other.connectionId);
        }
    }
    return problem;
}

std::string Camera::Name() const {
    std::string name = model;
    name += serial.empty() ? "" : " " + serial;
    name += " (" + (isUsb ? connectionId : address) + " on " + interface + ")";
    return PrintableText(name);
}
