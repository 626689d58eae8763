#include "ManifestText.h"

namespace {

std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

std::string Field(const char* name, const std::string& text) {
    return std::string("      <") + name + ">" + Escape(text) + "</" + name + ">\n";
}

std::string StepText(const PackageStep& step) {
    using Kind = PackageStep::Kind;
    std::string fields;
    if (!step.description.empty()) {
        fields += Field("Description", step.description);
    }
    switch (step.kind) {
        case Kind::kFileUpload:
            fields += Field("FileName", step.fileName);
            if (!step.deviceFileName.empty()) {
                fields += Field("DeviceFileName", step.deviceFileName);
            }
            break;
        case Kind::kFeatureAssert:
            fields += Field("FeatureName", step.featureName) +
                      Field("AssertPattern", step.pattern) + Field("Message", step.message);
            break;
        case Kind::kFeatureWrite:
            fields += Field("FeatureName", step.featureName) + Field("Value", step.value);
            break;
        case Kind::kFeatureExecute:
            fields += Field("FeatureName", step.featureName);
            break;
        case Kind::kDeviceReset:
            break;
    }
    const std::string name = PackageModel::NameOf(step.kind);
    std::string tag = "    <" + name;
    if (step.kind == Kind::kFileUpload) {
        tag += " Transport=\"" + Escape(step.transport) + "\"";
    }
    return fields.empty() ? tag + "/>\n" : tag + ">\n" + fields + "    </" + name + ">\n";
}

}  // namespace

std::string ManifestText(const PackageModel& model) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<FirmwareUpdate SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\">\n";
    for (const PackageProcedure& procedure : model.procedures) {
        text += "  <Procedure Id=\"" + Escape(procedure.id) + "\">\n";
        for (const PackageStep& step : procedure.steps) {
            text += StepText(step);
        }
        text += "  </Procedure>\n";
    }
    for (const PackageUpdate& update : model.updates) {
        text += "  <Update ProcedureId=\"" + Escape(update.procedureId) + "\">\n";
        for (const PackageInfo& info : update.infos) {
            text +=
                "    <Info Name=\"" + Escape(info.name) + "\">" + Escape(info.text) + "</Info>\n";
        }
        for (const PackageCondition& condition : update.conditions) {
            text += "    <Condition Feature=\"" + Escape(condition.featureName) + "\">" +
                    Escape(condition.pattern) + "</Condition>\n";
        }
        text += "  </Update>\n";
    }
    return text + "</FirmwareUpdate>\n";
}
