// What the udev rules (udev(7), "Rules files") make of USB devices, played line by line.
#include <fnmatch.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <map>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <internal/NxSystem/U3vDescriptor.h>

#include "FakeUsb.h"

namespace {

using Properties = std::map<std::string, std::string>;

constexpr const char* kRules = MIRSKO_SOURCE_FOLDER "/packaging/70-mirsko-u3v.rules";

struct Term {
    std::string key;
    std::string how;
    std::string value;
};
using Rule = std::vector<Term>;

// Fails the test where a line is not a list of key, operator and quoted value.
std::vector<Rule> ReadRules() {
    static const std::regex kTerm(
        R"re(\s*([A-Z]+(?:\{[A-Za-z_]+\})?)\s*(==|!=|\+=|=)\s*"([^"]*)"\s*(,|$))re");
    std::vector<Rule> rules;
    std::ifstream file(kRules);
    EXPECT_TRUE(file.is_open());
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        Rule rule;
        std::smatch term;
        std::string rest = line;
        while (std::regex_search(rest, term, kTerm, std::regex_constants::match_continuous)) {
            rule.push_back({term[1], term[2], term[3]});
            const bool isLast = term[4].length() == 0;
            rest = term.suffix();
            EXPECT_NE(isLast, !rest.empty()) << line;
        }
        EXPECT_EQ(rest, "") << line;
        rules.push_back(rule);
    }
    return rules;
}

bool IsMatch(const Term& term, const Properties& device) {
    const auto found = device.find(term.key);
    const std::string value = found == device.end() ? "" : found->second;
    return (fnmatch(term.value.c_str(), value.c_str(), 0) == 0) == (term.how == "==");
}

bool AreMatches(const Rule& rule, const Properties& device) {
    for (const Term& term : rule) {
        if ((term.how == "==" || term.how == "!=") && !IsMatch(term, device)) {
            return false;
        }
    }
    return true;
}

// The index of the rule with this label, which must come after the rule that names it.
std::size_t IndexOf(const std::string& label, const std::vector<Rule>& rules, std::size_t after) {
    for (std::size_t i = after + 1; i < rules.size(); ++i) {
        if (rules[i][0].key == "LABEL" && rules[i][0].value == label) {
            return i;
        }
    }
    ADD_FAILURE() << "no label " << label;
    return rules.size();
}

// What the rules set for a device.
// @param interfaces what the builtin usb_id stores in ID_USB_INTERFACES
Properties Apply(Properties device, const std::string& interfaces) {
    const std::vector<Rule> rules = ReadRules();
    Properties set;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        if (!AreMatches(rules[i], device)) {
            continue;
        }
        const std::size_t here = i;
        for (const Term& term : rules[here]) {
            if (term.key == "GOTO") {
                i = IndexOf(term.value, rules, here);
            } else if (term.key == "IMPORT{builtin}") {
                EXPECT_EQ(term.value, "usb_id");
                device["ENV{ID_USB_INTERFACES}"] = interfaces;
            } else if (term.key == "MODE" || term.key == "GROUP" || term.key == "TAG") {
                set[term.key + term.how] = term.value;
            } else {
                EXPECT_TRUE(term.how == "==" || term.how == "!=" || term.key == "LABEL")
                    << term.key;
            }
        }
    }
    return set;
}

Properties UsbDevice() {
    return {{"ACTION", "add"}, {"SUBSYSTEM", "usb"}, {"ENV{DEVTYPE}", "usb_device"}};
}

// As systemd's builtin usb_id writes it: ":" and then class, subclass, protocol and ":" each time.
std::string InterfacesOf(libusb_device* device) {
    std::string interfaces = ":";
    libusb_config_descriptor* config = nullptr;
    EXPECT_EQ(libusb_get_active_config_descriptor(device, &config), LIBUSB_SUCCESS);
    for (int i = 0; i < config->bNumInterfaces; ++i) {
        const libusb_interface_descriptor& one = config->interface[i].altsetting[0];
        std::array<char, 8> text = {};
        (void)std::snprintf(text.data(), text.size(), "%02x%02x%02x:", one.bInterfaceClass,
                            one.bInterfaceSubClass, one.bInterfaceProtocol);
        interfaces += text.data();
    }
    libusb_free_config_descriptor(config);
    return interfaces;
}

const Properties kAccess = {{"MODE=", "0660"}, {"GROUP=", "plugdev"}, {"TAG+=", "uaccess"}};

}  // namespace

TEST(UdevRulesTest, GiveAccessToADeviceThatDiscoveryLists) {
    FakeUsb usb;
    libusb_device device;
    U3vDescriptor descriptor;
    ASSERT_TRUE(U3vDescriptor::Find(&device, descriptor));
    const std::string interfaces = InterfacesOf(&device);
    EXPECT_EQ(Apply(UsbDevice(), interfaces), kAccess) << interfaces;
    Properties known = UsbDevice();
    known["ENV{ID_USB_INTERFACES}"] = interfaces;
    EXPECT_EQ(Apply(known, ""), kAccess) << interfaces;
}

TEST(UdevRulesTest, GiveAccessWhereverTheControlInterfaceStands) {
    for (const char* interfaces : {":ef0500:ef0501:ef0502:", ":0e0100:ef0500:", ":ef0500:"}) {
        EXPECT_EQ(Apply(UsbDevice(), interfaces), kAccess) << interfaces;
    }
}

TEST(UdevRulesTest, LeaveOtherDevicesAsTheyAre) {
    for (const char* interfaces : {"", ":", ":080650:", ":0e0100:0e0200:", ":ef0501:ef0502:"}) {
        EXPECT_THAT(Apply(UsbDevice(), interfaces), testing::IsEmpty()) << interfaces;
    }
}

TEST(UdevRulesTest, ActOnTheWholeDeviceOnlyAndWhileItIsThere) {
    for (const auto& [key, value] : {std::pair("ACTION", "remove"), std::pair("SUBSYSTEM", "tty"),
                                     std::pair("ENV{DEVTYPE}", "usb_interface")}) {
        Properties device = UsbDevice();
        device[key] = value;
        EXPECT_THAT(Apply(device, ":ef0500:ef0501:"), testing::IsEmpty()) << key;
    }
    Properties changed = UsbDevice();
    changed["ACTION"] = "change";
    EXPECT_EQ(Apply(changed, ":ef0500:ef0501:"), kAccess);
}
