#include "ManifestReader.h"

#include <memory>
#include <string>
#include <unordered_map>

#include <libxml/xmlschemastypes.h>

#include "ManifestDocument.h"
#include "Pattern.h"

namespace NxGenICamLib {

namespace {

using Result = NyUtilsLib::Result;

// White space as the schema's type token has it.
std::string Collapse(const std::string& text) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> collapsed(
        xmlSchemaCollapseString(BAD_CAST text.c_str()), xmlFree);
    return collapsed ? reinterpret_cast<const char*>(collapsed.get()) : text;
}

std::string Field(const ManifestElement& step, const std::string& name) {
    for (const ManifestElement& field : step.Elements()) {
        if (field.Name() == name) {
            return name == "Value" ? field.Text() : Collapse(field.Text());
        }
    }
    return {};
}

using Call = Result (*)(const ManifestElement& element, IGenFUModelBuilder& builder);

const std::unordered_map<std::string, Call> kCalls = {
    {"Procedure",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddProcedure(element.Attribute("Id"));
     }},
    {"FileUpload",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddFileUpload(Field(element, "FileName"), Field(element, "DeviceFileName"),
                                      element.Attribute("Transport"));
     }},
    {"FeatureAssert",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddFeatureAssert(Field(element, "FeatureName"),
                                         Field(element, "AssertPattern"),
                                         Field(element, "Message"));
     }},
    {"FeatureWrite",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddFeatureWrite(Field(element, "FeatureName"), Field(element, "Value"));
     }},
    {"FeatureExecute",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddFeatureExecute(Field(element, "FeatureName"));
     }},
    {"DeviceReset", [](const ManifestElement& /*element*/,
                       IGenFUModelBuilder& builder) { return builder.AddDeviceReset(); }},
    {"Update",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddUpdate(element.Attribute("ProcedureId"));
     }},
    {"Info",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddInfo(element.Attribute("Name"), Collapse(element.Text()));
     }},
    {"Condition",
     [](const ManifestElement& element, IGenFUModelBuilder& builder) {
         return builder.AddCondition(Collapse(element.Attribute("Feature")),
                                     Collapse(element.Text()));
     }},
};

}  // namespace

Result CheckPatterns(const ManifestElement& element) {
    const std::string name = element.Name();
    if (name == "AssertPattern" || name == "Condition") {
        const std::string wrong = Pattern().Compile(Collapse(element.Text()));
        return wrong.empty()
                   ? Result()
                   : RefuseManifest(element.Line(),
                                    "<" + name + "> is not a valid regular expression: " + wrong);
    }
    for (const ManifestElement& child : element.Elements()) {
        Result result = CheckPatterns(child);
        if (result.GetCode() != 0) {
            return result;
        }
    }
    return {};
}

Result BuildModel(const ManifestElement& element, IGenFUModelBuilder& builder) {
    const auto call = kCalls.find(element.Name());
    const Result result = call != kCalls.end() ? call->second(element, builder) : Result();
    if (result.GetCode() != 0) {
        return RefuseManifest(element.Line(), result.GetMessage());
    }
    for (const ManifestElement& child : element.Elements()) {
        Result built = BuildModel(child, builder);
        if (built.GetCode() != 0) {
            return built;
        }
    }
    return {};
}

}  // namespace NxGenICamLib
