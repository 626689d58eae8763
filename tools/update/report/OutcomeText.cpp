#include "OutcomeText.h"

#include <algorithm>
#include <cmath>

#include <NxBase/PrintableText.h>

namespace {

std::string Versions(const Camera& camera, const Outcome& outcome) {
    std::string text = "runs " + (camera.version.empty() ? "?" : PrintableText(camera.version));
    if (!outcome.storedVersion.empty()) {
        text += ", stored " + PrintableText(outcome.storedVersion);
    }
    if (!outcome.file.empty()) {
        text += ", " + PrintableText(outcome.file) + " has " + PrintableText(outcome.fileVersion);
    }
    return text + (outcome.transport.empty() ? "" : ", by " + outcome.transport);
}

}  // namespace

std::string OutcomeText(const Camera& camera, const Outcome& outcome, bool dryRun) {
    std::string text = camera.Name() + ": ";
    if (dryRun) {
        text += Versions(camera, outcome) + ": ";
    }
    switch (outcome.kind) {
        case Outcome::Kind::kUpdated:
            text += "updated from " + PrintableText(camera.version) + " to " +
                    PrintableText(outcome.runningVersion) + " in " +
                    std::to_string(std::lround(outcome.time.count())) + " s";
            break;
        case Outcome::Kind::kCurrent:
            text += "nothing to do: " + outcome.reason;
            break;
        case Outcome::Kind::kNeeded:
            text += "needs the update";
            break;
        case Outcome::Kind::kRefused:
            text += "refused: " + outcome.reason;
            break;
        case Outcome::Kind::kFailed:
            text += "failed: " + outcome.reason;
            break;
        case Outcome::Kind::kStored:
            text += "stored " + PrintableText(outcome.fileVersion) + ", " + outcome.reason;
            break;
        case Outcome::Kind::kInterrupted:
            text += "interrupted: " + outcome.reason;
            break;
        case Outcome::Kind::kNotStarted:
            text += "not started";
            break;
    }
    return text;
}

std::string SummaryText(const std::vector<Outcome>& outcomes) {
    using Kind = Outcome::Kind;
    std::string text;
    for (const Kind kind : {Kind::kUpdated, Kind::kNeeded, Kind::kCurrent, Kind::kStored,
                            Kind::kRefused, Kind::kFailed, Kind::kInterrupted, Kind::kNotStarted}) {
        const auto count = std::ranges::count(outcomes, kind, &Outcome::kind);
        if (count > 0) {
            Outcome named;
            named.kind = kind;
            text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + named.Name();
        }
    }
    return text;
}
