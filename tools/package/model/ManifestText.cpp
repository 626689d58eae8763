#include "ManifestText.h"

#include <memory>

#include <libxml/entities.h>

namespace {

std::string Escape(const std::string& text) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> escaped(
        xmlEncodeSpecialChars(nullptr, BAD_CAST text.c_str()), xmlFree);
    return escaped ? reinterpret_cast<const char*>(escaped.get()) : "";
}

std::string Field(const char* name, const std::string& text) {
    return std::string("      <") + name + ">" + Escape(text) + "</" + name + ">\n";
}

std::string StepText(const PackageStep& step) {
    using Place = PackageStepField::Place;
    const std::string name = PackageModel::NameOf(step.kind);
    std::string tag = "    <" + name;
    std::string fields = step.description.empty() ? "" : Field("Description", step.description);
    for (const PackageStepField& field : PackageModel::FieldsOf(step.kind)) {
        const std::string& value = step.*field.value;
        if (field.place == Place::kAttribute) {
            tag += std::string(" ") + field.name + "=\"" + Escape(value) + "\"";
        } else if (field.place == Place::kElement || !value.empty()) {
            fields += Field(field.name, value);
        }
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
