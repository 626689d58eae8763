#include "ManifestReader.h"

#include <algorithm>
#include <cstring>

#include "FULineColumn.h"
#include "FUUnicode.h"

namespace NxGenICamLib {

namespace {

constexpr const char* kSchemaInstance = "http://www.w3.org/2001/XMLSchema-instance";

std::string Tag(const pugi::xml_node& node) {
    return "<" + std::string(node.name()) + ">";
}

bool IsNamed(const pugi::xml_node& node, const char* name) {
    return std::strcmp(node.name(), name) == 0;
}

std::string UnknownElement(const pugi::xml_node& node) {
    return "unknown element " + Quoted(node.name()) + " in " + Tag(node.parent());
}

}  // namespace

FUManifestReader::FUManifestReader(std::string_view text) : mText(text), mBuffer(text) {}

bool FUManifestReader::Read() {
    constexpr unsigned int kOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                      pugi::parse_wconv_attribute | pugi::parse_ws_pcdata;
    const pugi::xml_parse_result parsed = mDocument.load_buffer_inplace(
        mBuffer.data(), mBuffer.size(), kOptions, pugi::encoding_utf8);
    if (!parsed) {
        return Fail(static_cast<std::size_t>(parsed.offset), parsed.description());
    }
    return ReadRoot(mDocument.document_element());
}

bool FUManifestReader::ReadRoot(const pugi::xml_node& root) {
    if (!IsNamed(root, "FirmwareUpdate")) {
        return Fail(OffsetOf(root),
                    "the root element must be <FirmwareUpdate>, not " + Quoted(root.name()));
    }
    if (!ReadRootAttributes(root) || !AllowElementsOnly(root)) {
        return false;
    }
    std::size_t updates = 0;
    for (const pugi::xml_node& node : root) {
        if (node.type() != pugi::node_element) {
            continue;
        }
        if (IsNamed(node, "Procedure")) {
            if (updates > 0) {
                return Fail(OffsetOf(node),
                            "every <Procedure> must stand before the first <Update>");
            }
            if (!ReadProcedure(node)) {
                return false;
            }
        } else if (IsNamed(node, "Update")) {
            if (mProcedures.empty()) {
                return Fail(OffsetOf(node), "a <Procedure> must stand before the first <Update>");
            }
            if (!AllowCount(node, ++updates, kMaximumUpdates) || !ReadUpdate(node)) {
                return false;
            }
        } else {
            return Fail(OffsetOf(node), UnknownElement(node));
        }
    }
    if (mProcedures.empty()) {
        return Fail(OffsetOf(root), "<FirmwareUpdate> needs a <Procedure>");
    }
    return updates > 0 || Fail(OffsetOf(root), "<FirmwareUpdate> needs an <Update>");
}

bool FUManifestReader::ReadRootAttributes(const pugi::xml_node& root) {
    // The two of the schema instance let an editor find the schema.
    if (!AllowAttributes(root, {"SchemaMajorVersion", "SchemaMinorVersion", "xmlns:xsi",
                                "xsi:noNamespaceSchemaLocation"})) {
        return false;
    }
    const pugi::xml_attribute prefix = root.attribute("xmlns:xsi");
    if (prefix && std::strcmp(prefix.value(), kSchemaInstance) != 0) {
        return Fail(OffsetOf(prefix),
                    std::string("\"xmlns:xsi\" must be \"") + kSchemaInstance + "\"");
    }
    const pugi::xml_attribute hint = root.attribute("xsi:noNamespaceSchemaLocation");
    if (hint && !prefix) {
        return Fail(OffsetOf(hint), "the prefix \"xsi\" is not declared");
    }
    const std::pair<const char*, const char*> versions[] = {{"SchemaMajorVersion", "1"},
                                                            {"SchemaMinorVersion", "0"}};
    for (const auto& [name, version] : versions) {
        const pugi::xml_attribute attribute = root.attribute(name);
        if (!attribute) {
            return Fail(OffsetOf(root),
                        std::string("<FirmwareUpdate> needs the attribute \"") + name + "\"");
        }
        if (std::strcmp(attribute.value(), version) != 0) {
            return Fail(OffsetOf(attribute), std::string("\"") + name + "\" must be \"" + version +
                                                 "\", not " + Quoted(attribute.value()));
        }
    }
    return true;
}

bool FUManifestReader::ReadProcedure(const pugi::xml_node& node) {
    std::string id;
    if (!AllowCount(node, mProcedures.size() + 1, kMaximumProcedures) ||
        !AllowAttributes(node, {"Id"}) || !ReadAttribute(node, "Id", FUField::kId, id) ||
        !AllowElementsOnly(node)) {
        return false;
    }
    const auto [place, added] = mProcedures.emplace(id, OffsetOf(node));
    if (!added) {
        return Fail(OffsetOf(node.attribute("Id")),
                    "the procedure id " + Quoted(id) + " stands already in line " +
                        std::to_string(FULineColumn(mText, place->second).line));
    }
    Add(node, [id](IGenFUModelBuilder& builder) { return builder.AddProcedure(id); });
    std::size_t steps = 0;
    for (const pugi::xml_node& step : node) {
        if (step.type() == pugi::node_element &&
            (!AllowCount(step, ++steps, kMaximumSteps) || !ReadStep(step))) {
            return false;
        }
    }
    return steps > 0 || Fail(OffsetOf(node), "<Procedure> needs a step");
}

bool FUManifestReader::ReadStep(const pugi::xml_node& node) {
    Fields fields;
    if (IsNamed(node, "FileUpload")) {
        std::string transport;
        if (!AllowAttributes(node, {"Transport"}) ||
            !ReadAttribute(node, "Transport", FUField::kTransport, transport) ||
            !ReadFields(node,
                        {{"FileName", FUField::kFileName, true},
                         {"DeviceFileName", FUField::kDeviceFileName, false}},
                        fields)) {
            return false;
        }
        Add(node, [fields, transport](IGenFUModelBuilder& builder) mutable {
            return builder.AddFileUpload(fields["FileName"], fields["DeviceFileName"], transport);
        });
        return true;
    }
    if (IsNamed(node, "FeatureAssert")) {
        if (!AllowAttributes(node, {}) || !ReadFields(node,
                                                      {{"FeatureName", FUField::kFeatureName, true},
                                                       {"AssertPattern", FUField::kPattern, true},
                                                       {"Message", FUField::kMessage, true}},
                                                      fields)) {
            return false;
        }
        Add(node, [fields](IGenFUModelBuilder& builder) mutable {
            return builder.AddFeatureAssert(fields["FeatureName"], fields["AssertPattern"],
                                            fields["Message"]);
        });
        return true;
    }
    if (IsNamed(node, "FeatureWrite")) {
        if (!AllowAttributes(node, {}) || !ReadFields(node,
                                                      {{"FeatureName", FUField::kFeatureName, true},
                                                       {"Value", FUField::kValue, true}},
                                                      fields)) {
            return false;
        }
        Add(node, [fields](IGenFUModelBuilder& builder) mutable {
            return builder.AddFeatureWrite(fields["FeatureName"], fields["Value"]);
        });
        return true;
    }
    if (IsNamed(node, "FeatureExecute")) {
        if (!AllowAttributes(node, {}) ||
            !ReadFields(node, {{"FeatureName", FUField::kFeatureName, true}}, fields)) {
            return false;
        }
        Add(node, [fields](IGenFUModelBuilder& builder) mutable {
            return builder.AddFeatureExecute(fields["FeatureName"]);
        });
        return true;
    }
    if (IsNamed(node, "DeviceReset")) {
        if (!AllowAttributes(node, {}) || !ReadFields(node, {}, fields)) {
            return false;
        }
        Add(node, [](IGenFUModelBuilder& builder) { return builder.AddDeviceReset(); });
        return true;
    }
    return Fail(OffsetOf(node), UnknownElement(node));
}

bool FUManifestReader::ReadUpdate(const pugi::xml_node& node) {
    std::string id;
    if (!AllowAttributes(node, {"ProcedureId"}) ||
        !ReadAttribute(node, "ProcedureId", FUField::kId, id) || !AllowElementsOnly(node)) {
        return false;
    }
    if (mProcedures.count(id) == 0) {
        return Fail(OffsetOf(node.attribute("ProcedureId")),
                    "no <Procedure> has the id " + Quoted(id));
    }
    Add(node, [id](IGenFUModelBuilder& builder) { return builder.AddUpdate(id); });
    std::vector<std::string> infos;
    std::size_t conditions = 0;
    for (const pugi::xml_node& part : node) {
        if (part.type() != pugi::node_element) {
            continue;
        }
        if (IsNamed(part, "Info")) {
            if (conditions > 0) {
                return Fail(OffsetOf(part), "every <Info> must stand before the first <Condition>");
            }
            if (!AllowCount(part, infos.size() + 1, kMaximumInfos) || !ReadInfo(part, infos)) {
                return false;
            }
        } else if (IsNamed(part, "Condition")) {
            if (!AllowCount(part, ++conditions, kMaximumConditions) || !ReadCondition(part)) {
                return false;
            }
        } else {
            return Fail(OffsetOf(part), UnknownElement(part));
        }
    }
    return conditions > 0 || Fail(OffsetOf(node), "<Update> needs a <Condition>");
}

bool FUManifestReader::ReadInfo(const pugi::xml_node& node, std::vector<std::string>& names) {
    std::string name;
    std::string text;
    if (!AllowAttributes(node, {"Name"}) ||
        !ReadAttribute(node, "Name", FUField::kInfoName, name) ||
        !ReadText(node, FUField::kInfoText, text)) {
        return false;
    }
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        return Fail(OffsetOf(node.attribute("Name")),
                    "the info " + Quoted(name) + " stands twice in <Update>");
    }
    names.push_back(name);
    Add(node, [name, text](IGenFUModelBuilder& builder) { return builder.AddInfo(name, text); });
    return true;
}

bool FUManifestReader::ReadCondition(const pugi::xml_node& node) {
    std::string feature;
    std::string pattern;
    if (!AllowAttributes(node, {"Feature"}) ||
        !ReadAttribute(node, "Feature", FUField::kFeatureName, feature) ||
        !ReadText(node, FUField::kPattern, pattern)) {
        return false;
    }
    Add(node, [feature, pattern](IGenFUModelBuilder& builder) {
        return builder.AddCondition(feature, pattern);
    });
    return true;
}

bool FUManifestReader::ReadFields(const pugi::xml_node& node, std::vector<FieldRule> rules,
                                  Fields& fields) {
    if (!AllowElementsOnly(node)) {
        return false;
    }
    rules.push_back({"Description", FUField::kDescription, false});
    for (const pugi::xml_node& child : node) {
        if (child.type() != pugi::node_element) {
            continue;
        }
        const auto rule = std::find_if(rules.begin(), rules.end(), [&child](const FieldRule& one) {
            return IsNamed(child, one.name);
        });
        if (rule == rules.end()) {
            return Fail(OffsetOf(child), UnknownElement(child));
        }
        if (fields.count(rule->name) != 0) {
            return Fail(OffsetOf(child), Tag(child) + " stands twice in " + Tag(node));
        }
        if (!AllowAttributes(child, {}) || !ReadText(child, rule->field, fields[rule->name])) {
            return false;
        }
    }
    for (const FieldRule& rule : rules) {
        if (rule.required && fields.count(rule.name) == 0) {
            return Fail(OffsetOf(node), Tag(node) + " needs <" + rule.name + ">");
        }
    }
    return true;
}

bool FUManifestReader::ReadText(const pugi::xml_node& node, FUField field, std::string& text) {
    std::string raw;
    for (const pugi::xml_node& child : node) {
        if (child.type() == pugi::node_element) {
            return Fail(OffsetOf(child), UnknownElement(child));
        }
        raw += child.value();
    }
    text = NormalizeField(field, raw);
    const std::string wrong = CheckField(field, text);
    return wrong.empty() || Fail(OffsetOf(node), Tag(node) + " " + wrong);
}

bool FUManifestReader::ReadAttribute(const pugi::xml_node& node, const char* name, FUField field,
                                     std::string& text) {
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) {
        return Fail(OffsetOf(node), Tag(node) + " needs the attribute \"" + name + "\"");
    }
    text = NormalizeField(field, attribute.value());
    const std::string wrong = CheckField(field, text);
    return wrong.empty() ||
           Fail(OffsetOf(attribute), "\"" + std::string(name) + "\" of " + Tag(node) + " " + wrong);
}

bool FUManifestReader::AllowAttributes(const pugi::xml_node& node,
                                       std::initializer_list<const char*> names) {
    for (const pugi::xml_attribute& attribute : node.attributes()) {
        const bool known = std::any_of(names.begin(), names.end(), [&attribute](const char* name) {
            return std::strcmp(attribute.name(), name) == 0;
        });
        if (!known) {
            return Fail(OffsetOf(attribute),
                        "unknown attribute " + Quoted(attribute.name()) + " of " + Tag(node));
        }
    }
    return true;
}

bool FUManifestReader::AllowElementsOnly(const pugi::xml_node& node) {
    for (const pugi::xml_node& child : node) {
        const std::string_view value = child.value();
        const std::size_t text = value.find_first_not_of(" \t\r\n");
        if (child.type() != pugi::node_element &&
            (text != std::string_view::npos || child.type() == pugi::node_cdata)) {
            return Fail(OffsetOfText(child), "text is not allowed in " + Tag(node));
        }
    }
    return true;
}

bool FUManifestReader::AllowCount(const pugi::xml_node& node, std::size_t count,
                                  std::size_t maximum) {
    return count <= maximum ||
           Fail(OffsetOf(node), Tag(node.parent()) + " holds more than " + std::to_string(maximum) +
                                    " of " + Tag(node));
}

void FUManifestReader::Add(const pugi::xml_node& node,
                           std::function<NyUtilsLib::Result(IGenFUModelBuilder&)> make) {
    mCalls.push_back({OffsetOf(node), std::move(make)});
}

std::size_t FUManifestReader::OffsetOf(const pugi::xml_node& node) const {
    return static_cast<std::size_t>(node.name() - mBuffer.data()) - 1;
}

std::size_t FUManifestReader::OffsetOf(const pugi::xml_attribute& attribute) const {
    return static_cast<std::size_t>(attribute.name() - mBuffer.data());
}

std::size_t FUManifestReader::OffsetOfText(const pugi::xml_node& node) const {
    const auto offset = static_cast<std::size_t>(node.value() - mBuffer.data());
    const std::size_t visible = mText.find_first_not_of(" \t\r\n", std::min(offset, mText.size()));
    return std::min(visible, mText.size());
}

bool FUManifestReader::Fail(std::size_t offset, const std::string& what) {
    mErrorOffset = offset;
    mError = what;
    return false;
}

}  // namespace NxGenICamLib
