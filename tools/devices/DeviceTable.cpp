#include "DeviceTable.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

using Inventory::Json;

constexpr const char* kNothing = "-";

using Row = std::vector<std::string>;

std::string TextOf(const Json& object, const char* member) {
    const std::string text = object.value(member, "");
    return text.empty() ? kNothing : text;
}

// Characters of UTF-8, which may be of several bytes.
std::size_t WidthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

Row DeviceRow(const Json& interface, const Json& device) {
    const bool isUsb = device["kind"] == "USB3 Vision";
    Row row{TextOf(interface, "name"),
            device.value("vendor", "") + " " + device.value("model", ""),
            TextOf(device, "kind"),
            TextOf(device, "serial"),
            TextOf(device, "version"),
            TextOf(device, "deviceId"),
            TextOf(device, isUsb ? "connectionId" : "address"),
            TextOf(device, "access")};
    if (device.contains("transport")) {
        row.push_back(TextOf(device, "transport"));
    }
    row.push_back(TextOf(device, "option"));
    return row;
}

Row EmptyRow(const Json& interface, std::size_t columns) {
    Row row(columns, kNothing);
    row.front() = TextOf(interface, "name");
    row[1] = interface["state"] == "usable" ? "no devices" : TextOf(interface, "state");
    if (interface["state"] == "usable") {
        row.back() = TextOf(interface, "option");
    }
    return row;
}

std::string Align(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], WidthOf(row[i]));
        }
    }
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += row[i];
            text += i + 1 < row.size() ? std::string(widths[i] - WidthOf(row[i]) + 2, ' ') : "\n";
        }
    }
    return text;
}

std::string Counted(std::size_t number, const std::string& what) {
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

}  // namespace

std::string DeviceTable(const Json& inventory) {
    Row heading{"INTERFACE", "DEVICE", "KIND", "SERIAL", "VERSION", "ID", "ADDRESS", "ACCESS"};
    const Json& interfaces = inventory["interfaces"];
    std::size_t devices = 0;
    std::size_t usable = 0;
    std::string reasons;
    for (const Json& interface : interfaces) {
        devices += interface["devices"].size();
        usable += interface["state"] == "usable" ? 1 : 0;
        for (const Json& device : interface["devices"]) {
            if (device.contains("transport") && heading.back() != "TRANSPORT") {
                heading.emplace_back("TRANSPORT");
            }
            if (!device.value("transportReason", "").empty()) {
                reasons += "Transport of " + TextOf(device, "connectionId") + ": " +
                           TextOf(device, "transport") + "; " + TextOf(device, "transportReason") +
                           "\n";
            }
        }
    }
    heading.emplace_back("UPDATER OPTION");

    std::vector<Row> rows{heading};
    for (const Json& interface : interfaces) {
        for (const Json& device : interface["devices"]) {
            rows.push_back(DeviceRow(interface, device));
        }
        if (interface["devices"].empty()) {
            rows.push_back(EmptyRow(interface, heading.size()));
        }
    }
    std::string text = Align(rows) + "\n" + Counted(devices, "device") + ", " +
                       Counted(interfaces.size(), "interface") + " (" + std::to_string(usable) +
                       " usable)\n";
    text += reasons.empty() ? "" : "\n" + reasons;
    const Json& findings = inventory["findings"];
    text += findings.empty() ? "" : "\n";
    for (const Json& finding : findings) {
        text += "Note: " + TextOf(finding, "text") + "\n";
    }
    return text;
}
