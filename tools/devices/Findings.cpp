#include "Findings.h"

#include <map>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::ordered_json;

std::string TextOf(const Json& object, const char* member) {
    return object.value(member, "");
}

std::string Describe(const Json& device) {
    std::string text = TextOf(device, "vendor") + " " + TextOf(device, "model");
    if (!TextOf(device, "serial").empty()) {
        text += ", serial " + TextOf(device, "serial");
    }
    return text;
}

class Findings {
  public:
    void Add(const char* code, const std::string& interface, const std::string& serial,
             const std::string& text) {
        mFound.push_back(
            {{"code", code}, {"interface", interface}, {"device", serial}, {"text", text}});
    }
    [[nodiscard]] const Json& All() const { return mFound; }

  private:
    Json mFound = Json::array();
};

void LookAtState(const Json& interface, Findings& findings) {
    const std::string name = TextOf(interface, "name");
    const std::string state = TextOf(interface, "state");
    if (state == "down") {
        findings.Add("interface-down", name, "",
                     name + " is down: switch it on (ip link set " + name + " up)");
    } else if (state == "no link") {
        findings.Add("no-link", name, "",
                     name + " has no link: check the cable, and that the camera has power");
    } else if (state == "no address") {
        findings.Add("no-address", name, "",
                     name +
                         " has no IPv4 address: give it one in the cameras' subnet (ip addr add "
                         "ADDRESS/MASK dev " +
                         name + ")");
    }
}

void LookAtAccess(const Json& interface, const Json& device, Findings& findings) {
    const std::string access = TextOf(device, "access");
    const std::string reason = TextOf(device, "accessReason");
    const std::string name = TextOf(interface, "name");
    const std::string serial = TextOf(device, "serial");
    const std::string what = Describe(device) + " on " + name + ": ";
    if (access == "other subnet") {
        findings.Add("other-subnet", name, serial,
                     what + "its address " + TextOf(device, "address") +
                         " is outside the interface's subnet " + TextOf(interface, "subnet") +
                         "; give it one inside (mirsko-devices force-ip " + TextOf(device, "mac") +
                         " ADDRESS/MASK), or add an address of the camera's subnet to " + name);
    } else if (access == "in use" && TextOf(device, "kind") == "USB3 Vision") {
        findings.Add("in-use", name, serial, what + reason);
    } else if (access == "in use") {
        findings.Add("in-use", name, serial, what + reason + "; close that program");
    } else if (access == "denied") {
        findings.Add("access-denied", name, serial, what + reason);
    } else if (access == "no reply") {
        findings.Add("no-reply", name, serial, what + reason);
    }
}

void LookForSameAddress(const Json& interface, Findings& findings) {
    std::map<std::string, int> count;
    for (const Json& device : interface["devices"]) {
        ++count[TextOf(device, "address")];
    }
    const std::string name = TextOf(interface, "name");
    for (const auto& [address, devices] : count) {
        if (!address.empty() && devices > 1) {
            findings.Add("same-address", name, "",
                         std::to_string(devices) + " devices on " + name + " have the address " +
                             address + ": give each its own (mirsko-devices force-ip)");
        }
    }
}

void LookForSeveral(const Json& interface, Findings& findings) {
    const std::string name = TextOf(interface, "name");
    if (interface["devices"].size() > 1 && TextOf(interface, "kind") == "network adapter") {
        findings.Add("several-devices", name, "",
                     std::to_string(interface["devices"].size()) + " devices on " + name +
                         ": the updater takes the one that answers first; connect only one, or use "
                         "mirsko-update");
    }
}

void LookForSeveralOnUsb(const Json& interfaces, Findings& findings) {
    std::vector<const Json*> found;
    for (const Json& interface : interfaces) {
        for (const Json& device : interface["devices"]) {
            if (TextOf(device, "kind") == "USB3 Vision") {
                found.push_back(&device);
            }
        }
    }
    if (found.size() > 1) {
        findings.Add("several-devices", "", TextOf(*found[0], "serial"),
                     std::to_string(found.size()) +
                         " USB3 Vision devices: the updater takes the first one listed, " +
                         Describe(*found[0]));
    }
}

// A camera in the wrong subnet is looked for where nothing else was found.
void LookForFilters(const Json& interfaces, Findings& findings) {
    for (const Json& interface : interfaces) {
        const std::string name = TextOf(interface, "name");
        if (interface["devices"].empty() && TextOf(interface, "state") == "usable" &&
            name != "lo" && !interface.value("seesOtherSubnets", true)) {
            findings.Add("other-subnets-hidden", name, "",
                         "cameras outside the subnet of " + name +
                             " may not be seen because of rp_filter; run mirsko-devices as root to "
                             "find them");
        }
    }
}

}  // namespace

Json FindingsOf(const Json& interfaces) {
    Findings findings;
    for (const Json& interface : interfaces) {
        LookAtState(interface, findings);
        for (const Json& device : interface["devices"]) {
            LookAtAccess(interface, device, findings);
        }
        LookForSeveral(interface, findings);
        LookForSameAddress(interface, findings);
    }
    LookForSeveralOnUsb(interfaces, findings);
    LookForFilters(interfaces, findings);
    return findings.All();
}
