#include "Updater.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include <nlohmann/json.hpp>

ProcessResult RunUpdater(std::vector<std::string> arguments, std::chrono::milliseconds limit) {
    arguments.insert(arguments.begin(), Program("MirskoFirmwareUpdater"));
    return Process::Run(std::move(arguments), limit);
}

std::string WithoutLabels(const std::string& out) {
    static const std::regex kLabel(
        R"((Connecting device\.\.\.|\d+/\d+ KBs transferred \(\d+%\)|)"
        R"(Waiting \d+ s for \S+ on \S+ to (reply to the request|(acknowledge|send) byte \d+) )"
        R"(\(retry \d+\))?)");
    std::string rest;
    std::string line;
    for (const char character : out) {
        if (character == '\r') {
            EXPECT_TRUE(std::regex_match(line, kLabel)) << line;
            line.clear();
            continue;
        }
        line += character;
        if (character == '\n') {
            rest += line;
            line.clear();
        }
    }
    return rest + line;
}

std::vector<std::string> Labels(const std::string& out) {
    std::vector<std::string> labels;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (out[i] == '\r') {
            labels.push_back(out.substr(begin, i - begin));
        }
        if (out[i] == '\r' || out[i] == '\n') {
            begin = i + 1;
        }
    }
    return labels;
}

std::string DeviceField(const std::string& field) {
    const ProcessResult result = Process::Run({Program("mirsko-devices"), "--json"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    const auto inventory = nlohmann::json::parse(result.out, nullptr, false);
    if (inventory.is_discarded()) {
        ADD_FAILURE() << result.out << result.err;
        return {};
    }
    for (const auto& interface : inventory["interfaces"]) {
        for (const auto& device : interface["devices"]) {
            return device.value(field, "");
        }
    }
    return {};
}

std::multimap<std::string, std::uintmax_t> UnpackedFiles() {
    constexpr std::size_t kRandomEnd = 7;  // "-" and six characters
    std::multimap<std::string, std::uintmax_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
        const std::string name = entry.path().filename().string();
        if (entry.is_regular_file() && name.size() > kRandomEnd) {
            found.emplace(name.substr(0, name.size() - kRandomEnd), entry.file_size());
        }
    }
    return found;
}
