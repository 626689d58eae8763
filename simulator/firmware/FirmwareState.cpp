#include "FirmwareState.h"

#include <fstream>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

using Json = nlohmann::json;

Json ToJson(const std::optional<FirmwareImage>& image) {
    if (!image) {
        return nullptr;
    }
    return {{"version", image->version.Text()}, {"length", image->length}, {"crc32", image->crc}};
}

FirmwareVersion ToVersion(const Json& value) {
    const auto version = FirmwareVersion::Parse(value.get<std::string>());
    if (!version) {
        throw std::runtime_error("malformed version " + value.dump());
    }
    return *version;
}

std::optional<FirmwareImage> ToImage(const Json& value) {
    if (value.is_null()) {
        return std::nullopt;
    }
    return FirmwareImage{ToVersion(value.at("version")), value.at("length").get<std::uint64_t>(),
                         value.at("crc32").get<std::uint32_t>()};
}

}  // namespace

bool FirmwareState::Save(const std::filesystem::path& file) const {
    const Json json = {{"running_version", running.Text()},
                       {"stored_version", stored.Text()},
                       {"image", ToJson(image)},
                       {"flashing", ToJson(flashing)},
                       {"device_id", deviceId},
                       {"resets", resets},
                       {"transfers", transfers},
                       {"last_status", lastStatus}};
    return ReplaceFile(file, json.dump(2, ' ', true, Json::error_handler_t::replace) + "\n");
}

std::optional<FirmwareState> FirmwareState::Load(const std::filesystem::path& file,
                                                 std::string& why) {
    // The JSON library reports by exceptions; they end here.
    try {
        std::ifstream stream(file);
        stream.exceptions(std::ios::badbit);
        const Json json = Json::parse(stream);
        FirmwareState state;
        state.running = ToVersion(json.at("running_version"));
        state.stored = ToVersion(json.at("stored_version"));
        state.image = ToImage(json.at("image"));
        state.flashing = ToImage(json.at("flashing"));
        state.deviceId = json.at("device_id").get<std::string>();
        state.resets = json.at("resets").get<std::uint64_t>();
        state.transfers = json.at("transfers").get<std::uint64_t>();
        state.lastStatus = json.at("last_status").get<std::string>();
        return state;
    } catch (const std::exception& error) {
        why = file.string() + ": " + error.what();
        return std::nullopt;
    }
}

bool ReplaceFile(const std::filesystem::path& file, const std::string& content) {
    std::filesystem::path temporary = file;
    temporary += ".new";
    std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
    stream << content;
    stream.close();
    if (!stream) {
        return false;
    }
    std::error_code error;
    std::filesystem::rename(temporary, file, error);
    return !error;
}

}  // namespace simulator
