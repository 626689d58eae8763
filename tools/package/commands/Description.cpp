#include "Description.h"

#include <NxBase/Hexadecimal.h>

#include "../archive/MemberHeader.h"

namespace {

std::string ContentOf(NxDfwHeader::Kind kind) {
    switch (kind) {
        case NxDfwHeader::Kind::kDeviceId:
            return "device ID";
        case NxDfwHeader::Kind::kReset:
            return "reset";
        default:
            return "firmware";
    }
}

Json DescribeStep(const PackageStep& step) {
    Json result{{"step", PackageModel::NameOf(step.kind)}};
    for (const PackageStepField& field : PackageModel::FieldsOf(step.kind)) {
        const std::string& value = step.*field.value;
        if (field.place != PackageStepField::Place::kOptionalElement || !value.empty()) {
            result[field.key] = value;
        }
    }
    return result;
}

Json DescribeUpdate(const PackageUpdate& update) {
    Json infos = Json::object();
    for (const PackageInfo& info : update.infos) {
        infos[info.name] = info.text;
    }
    Json conditions = Json::array();
    for (const PackageCondition& condition : update.conditions) {
        conditions.push_back({{"feature", condition.featureName}, {"pattern", condition.pattern}});
    }
    return {{"procedureId", update.procedureId}, {"infos", infos}, {"conditions", conditions}};
}

std::string Text(const Json& value) {
    return value.get<std::string>();
}

std::string StepText(const Json& step) {
    const std::string name = Text(step["step"]);
    if (name == "FileUpload") {
        return name + " of " + Text(step["fileName"]) + " by " + Text(step["transport"]);
    }
    if (name == "FeatureAssert") {
        return name + ": " + Text(step["feature"]) + " must match " + Text(step["pattern"]);
    }
    if (name == "FeatureWrite") {
        return name + ": " + Text(step["feature"]) + " = " + Text(step["value"]);
    }
    return step.contains("feature") ? name + ": " + Text(step["feature"]) : name;
}

}  // namespace

Json DescribePayload(const NxDfwHeader& header) {
    return {{"kind", "payload"},
            {"content", ContentOf(header.kind)},
            {"family", header.family},
            {"version", std::to_string(header.major) + "." + std::to_string(header.minor)},
            {"bodyLength", header.bodyLength},
            {"bodyCrc", HexDigits(header.bodyCrc, 8)}};
}

Json DescribePackage(const Package& package) {
    Json members = Json::array();
    for (std::size_t index = 0; index < package.GetArchive().Members().size(); ++index) {
        const Archive::Member& member = package.GetArchive().Members()[index];
        Json entry{{"name", member.name},
                   {"size", member.size},
                   {"compressedSize", member.compressedSize}};
        if (const auto header = ReadMemberHeader(package.GetArchive(), index)) {
            entry["payload"] = DescribePayload(*header);
        }
        members.push_back(entry);
    }
    Json procedures = Json::array();
    for (const PackageProcedure& procedure : package.GetModel().procedures) {
        Json steps = Json::array();
        for (const PackageStep& step : procedure.steps) {
            steps.push_back(DescribeStep(step));
        }
        procedures.push_back({{"id", procedure.id}, {"steps", steps}});
    }
    Json updates = Json::array();
    for (const PackageUpdate& update : package.GetModel().updates) {
        updates.push_back(DescribeUpdate(update));
    }
    return {{"kind", "package"},
            {"members", members},
            {"procedures", procedures},
            {"updates", updates}};
}

std::string PayloadText(const Json& payload) {
    return Text(payload["content"]) + " for family " + Text(payload["family"]) + ", version " +
           Text(payload["version"]) + ", " +
           std::to_string(payload["bodyLength"].get<std::uint64_t>()) + " bytes, CRC " +
           Text(payload["bodyCrc"]);
}

std::string PackageText(const Json& package) {
    std::string text = "members:\n";
    for (const Json& member : package["members"]) {
        text += "  " + Text(member["name"]) + ", " +
                std::to_string(member["size"].get<std::uint64_t>()) + " bytes";
        if (member.contains("payload")) {
            text += ": " + PayloadText(member["payload"]);
        }
        text += '\n';
    }
    for (const Json& procedure : package["procedures"]) {
        text += "procedure \"" + Text(procedure["id"]) + "\":\n";
        std::size_t number = 0;
        for (const Json& step : procedure["steps"]) {
            text += "  " + std::to_string(++number) + ". " + StepText(step) + '\n';
        }
    }
    for (const Json& update : package["updates"]) {
        text += "update by procedure \"" + Text(update["procedureId"]) + "\":\n";
        for (const auto& [name, info] : update["infos"].items()) {
            text += "  " + name + ": " + Text(info) + '\n';
        }
        for (const Json& condition : update["conditions"]) {
            text += "  if " + Text(condition["feature"]) + " matches " +
                    Text(condition["pattern"]) + '\n';
        }
    }
    return text;
}
