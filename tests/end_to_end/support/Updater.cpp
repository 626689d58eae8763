#include "Updater.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <regex>

#include <nlohmann/json.hpp>

namespace {

void AppendBig(std::string& bytes, std::uint64_t value, unsigned int size) {
    while (size > 0) {
        --size;
        bytes.push_back(static_cast<char>((value >> (8U * size)) & 0xFFU));
    }
}

std::uint64_t Crc(const std::string& bytes) {
    return crc32(0, reinterpret_cast<const Bytef*>(bytes.data()),
                 static_cast<unsigned int>(bytes.size()));
}

}  // namespace

ProcessResult RunUpdater(std::vector<std::string> arguments, std::chrono::milliseconds limit) {
    arguments.insert(arguments.begin(), Program("MirskoFirmwareUpdater"));
    return Process::Run(std::move(arguments), limit);
}

std::string WithoutLabels(const std::string& out) {
    static const std::regex kLabel(
        R"((Connecting device\.\.\.|\d+/\d+ KBs transferred \(\d+%\)|)"
        R"(Waiting \d+ s for \S+ on \S+ to (answer the request|(acknowledge|send) byte \d+) )"
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

// Written here anew, not by the SDK under test.
std::string MakePayload(const std::string& body, unsigned int major, unsigned int minor) {
    std::string payload = "MDFW";
    AppendBig(payload, 1, 2);   // format version
    AppendBig(payload, 1, 2);   // kind: firmware
    AppendBig(payload, 64, 4);  // header length
    AppendBig(payload, body.size(), 8);
    AppendBig(payload, Crc(body), 4);
    std::string family = "MirskoSim";
    family.resize(32, '\0');
    payload += family;
    AppendBig(payload, major, 2);
    AppendBig(payload, minor, 2);
    AppendBig(payload, Crc(payload), 4);
    return payload + body;
}

std::string DeviceField(const std::string& field) {
    const ProcessResult result = Process::Run({Program("mirsko-devices"), "--json"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    const auto interfaces = nlohmann::json::parse(result.out, nullptr, false);
    if (interfaces.is_discarded()) {
        ADD_FAILURE() << result.out << result.err;
        return {};
    }
    for (const auto& interface : interfaces) {
        for (const auto& device : interface["devices"]) {
            return device.value(field, "");
        }
    }
    return {};
}
