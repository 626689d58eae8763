#include "Watch.h"

#include <array>
#include <ctime>
#include <utility>

namespace {

using Inventory::Json;

std::string Now() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    std::array<char, 32> text{};
    if (localtime_r(&now, &local) == nullptr) {
        return "";
    }
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &local);
    return text.data();
}

std::string KeyOf(const Json& interface, const Json& device) {
    const std::string mac = device.value("mac", "");
    return interface.value("name", "") + " " +
           (mac.empty() ? device.value("connectionId", "") : mac);
}

}  // namespace

std::string Watch::Changes(const Json& inventory) {
    std::string text;
    std::map<std::string, Seen> seen;
    for (const Json& interface : inventory["interfaces"]) {
        const std::string name = interface.value("name", "");
        for (const Json& device : interface["devices"]) {
            seen[KeyOf(interface, device)] = {name, device};
        }
        const std::string state = interface.value("state", "");
        const auto known = mStates.find(name);
        if (state != (known == mStates.end() ? "usable" : known->second)) {
            text += Line("interface", {name, {{"state", state}}});
        }
        mStates[name] = state;
    }
    for (const auto& [key, before] : mSeen) {
        if (seen.count(key) == 0) {
            text += Line("disappeared", before);
        }
    }
    for (const auto& [key, now] : seen) {
        const auto before = mSeen.find(key);
        if (before == mSeen.end()) {
            text += Line("appeared", now);
        } else if (before->second.device != now.device) {
            text += Line("changed", now);
        }
    }
    mSeen = std::move(seen);
    return text;
}

std::string Watch::Line(const char* event, const Seen& seen) const {
    if (mAsJson) {
        const Json line{{"format", Inventory::kFormat},
                        {"time", Now()},
                        {"event", event},
                        {"interface", seen.interface},
                        {"device", seen.device}};
        return line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    }
    const auto field = [&seen](const char* name) { return seen.device.value(name, ""); };
    if (seen.device.contains("state")) {
        return Now() + "  " + seen.interface + ": " + field("state") + "\n";
    }
    return Now() + "  " + event + ": " + field("vendor") + " " + field("model") + ", serial " +
           field("serial") + ", version " + field("version") + ", " + field("connectionId") + " (" +
           field("access") + ")\n";
}
