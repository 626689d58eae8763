#include "OutcomeJson.h"

#include <cmath>

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

/// Raised when a member changes its meaning or goes; more members may come at any time.
constexpr int kFormat = 1;

double Seconds(std::chrono::duration<double> time) {
    constexpr double kMilliseconds = 1000;
    return std::round(time.count() * kMilliseconds) / kMilliseconds;
}

std::string OneLine(const Json& object) {
    // Device texts may hold bytes that are not UTF-8.
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string CameraJson(const Camera& camera, const Outcome& outcome) {
    return OneLine({{"format", kFormat},
                    {"type", "camera"},
                    {"interface", camera.interface},
                    {"kind", camera.isUsb ? "USB3 Vision" : "GigE Vision"},
                    {"vendor", camera.vendor},
                    {"model", camera.model},
                    {"serial", camera.serial},
                    {"userName", camera.userName},
                    {"mac", camera.mac},
                    {"address", camera.address},
                    {"connectionId", camera.connectionId},
                    {"transport", outcome.transport},
                    {"file", outcome.file},
                    {"fileVersion", outcome.fileVersion},
                    {"versionBefore", camera.version},
                    {"storedVersion", outcome.storedVersion},
                    {"versionAfter", outcome.runningVersion},
                    {"outcome", outcome.Name()},
                    {"reason", outcome.reason},
                    {"seconds", Seconds(outcome.time)}});
}

std::string SummaryJson(const std::vector<Outcome>& outcomes, bool dryRun, int status,
                        std::chrono::duration<double> time) {
    Json counts = Json::object();
    for (const Outcome& outcome : outcomes) {
        counts[outcome.Name()] = counts.value(outcome.Name(), 0) + 1;
    }
    return OneLine({{"format", kFormat},
                    {"type", "summary"},
                    {"dryRun", dryRun},
                    {"cameras", outcomes.size()},
                    {"outcomes", counts},
                    {"status", status},
                    {"seconds", Seconds(time)}});
}
