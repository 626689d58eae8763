#include "ControlFile.h"

#include <algorithm>
#include <utility>

namespace {

/// An element's or attribute's name without its namespace prefix.
std::string LocalName(const char* name) {
    const std::string text = name;
    const std::size_t colon = text.rfind(':');
    return colon == std::string::npos ? text : text.substr(colon + 1);
}

std::string Collapse(const std::string& text) {
    std::string collapsed;
    for (const char character : text) {
        const bool space =
            character == ' ' || character == '\t' || character == '\n' || character == '\r';
        if (!space) {
            collapsed += character;
        } else if (!collapsed.empty() && collapsed.back() != ' ') {
            collapsed += ' ';
        }
    }
    if (!collapsed.empty() && collapsed.back() == ' ') {
        collapsed.pop_back();
    }
    return collapsed;
}

std::string NotKnown(const std::string& place, const std::string& kind, const std::string& name) {
    return place + "the " + kind + " <" + name + "> is not known";
}

std::string TextOf(const pugi::xml_node& node) {
    std::string text;
    for (const pugi::xml_node& child : node) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            text += child.value();
        }
    }
    return text;
}

std::string ChildText(const pugi::xml_node& node, const char* name) {
    for (const pugi::xml_node& child : node) {
        if (LocalName(child.name()) == name) {
            return Collapse(TextOf(child));
        }
    }
    return "";
}

/// The attribute of that name, else the child element of that name, as it stands.
std::string RawProperty(const pugi::xml_node& node, const char* name) {
    for (const pugi::xml_attribute& attribute : node.attributes()) {
        if (LocalName(attribute.name()) == name) {
            return attribute.value();
        }
    }
    for (const pugi::xml_node& child : node) {
        if (LocalName(child.name()) == name) {
            return TextOf(child);
        }
    }
    return "";
}

std::string Property(const pugi::xml_node& node, const char* name) {
    return Collapse(RawProperty(node, name));
}

bool HasElements(const pugi::xml_node& node) {
    return std::any_of(node.begin(), node.end(), [](const pugi::xml_node& child) {
        return child.type() == pugi::node_element;
    });
}

}  // namespace

ControlFile::ControlFile(std::string transport) : mTransport(std::move(transport)) {}

std::string ControlFile::Read(const std::string& text) {
    pugi::xml_document document;
    const pugi::xml_parse_result parsed =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata);
    if (!parsed) {
        return std::string(parsed.description()) + " at byte " + std::to_string(parsed.offset);
    }
    const pugi::xml_node root = document.document_element();
    if (LocalName(root.name()) != "FirmwareUpdate") {
        return "it describes no firmware update";
    }
    if (Property(root, "SchemaMajorVersion") != "1") {
        mWarnings.push_back("it is not of schema version 1; it is read as if it were");
    }
    for (const pugi::xml_node& node : root) {
        const std::string name = LocalName(node.name());
        std::string error;
        if (name == "Procedure") {
            error = ReadProcedure(node);
        } else if (name == "Update") {
            error = ReadUpdate(node);
        } else if (node.type() == pugi::node_element) {
            mWarnings.push_back("<" + name + "> is left out");
        }
        if (!error.empty()) {
            return error;
        }
    }
    return "";
}

std::string ControlFile::ReadProcedure(const pugi::xml_node& node) {
    PackageProcedure procedure{Property(node, "Id"), {}};
    for (const pugi::xml_node& step : node) {
        const std::string error =
            step.type() == pugi::node_element ? ReadStep(step, procedure) : "";
        if (!error.empty()) {
            return error;
        }
    }
    mModel.procedures.push_back(std::move(procedure));
    return "";
}

std::string ControlFile::ReadStep(const pugi::xml_node& node, PackageProcedure& procedure) {
    const std::string name = LocalName(node.name());
    const std::string place = "procedure \"" + procedure.id + "\": ";
    PackageStep step;
    step.description = ChildText(node, "Description");
    if (name == "Description") {
        mWarnings.push_back(place + "its description is left out");
        return "";
    }
    if (name == "FileUpload") {
        step.kind = PackageStep::Kind::kFileUpload;
        step.fileName = Property(node, "FileName");
        step.deviceFileName = Property(node, "DeviceFileName");
        step.transport = Property(node, "Transport");
        if (step.transport.empty()) {
            step.transport = mTransport;
        }
    } else if (name == "FeatureAssert") {
        step.kind = PackageStep::Kind::kFeatureAssert;
        step.featureName = Property(node, "FeatureName");
        step.pattern = Property(node, "AssertPattern");
        step.message = Property(node, "Message");
        if (step.message.empty()) {
            step.message = step.featureName + " does not match " + step.pattern;
            mWarnings.push_back(place + "a FeatureAssert has no message; \"" + step.message +
                                "\" is taken");
        }
    } else if (name == "FeatureWrite") {
        step.kind = PackageStep::Kind::kFeatureWrite;
        step.featureName = Property(node, "FeatureName");
        // The grammar of packages keeps its white space.
        step.value = RawProperty(node, "Value");
    } else if (name == "FeatureExecute") {
        step.kind = PackageStep::Kind::kFeatureExecute;
        step.featureName = Property(node, "FeatureName");
    } else if (name == "DeviceReset") {
        step.kind = PackageStep::Kind::kDeviceReset;
    } else {
        // To leave out a step would make another update of it.
        return NotKnown(place, "step", name);
    }
    procedure.steps.push_back(std::move(step));
    return "";
}

std::string ControlFile::ReadUpdate(const pugi::xml_node& node) {
    PackageUpdate update{Property(node, "ProcedureId"), {}, {}};
    const std::string place = "update " + std::to_string(mModel.updates.size() + 1) + ": ";
    for (const pugi::xml_node& part : node) {
        const std::string name = LocalName(part.name());
        if (name == "Info") {
            ReadInfo(part, update);
        } else if (name == "Condition") {
            std::string feature = Property(part, "Feature");
            feature = feature.empty() ? Property(part, "FeatureName") : feature;
            std::string pattern = Collapse(TextOf(part));
            pattern = pattern.empty() ? Property(part, "Pattern") : pattern;
            update.conditions.push_back({feature, pattern});
        } else if (part.type() == pugi::node_element) {
            if (HasElements(part)) {
                // It may be a condition, without which the update would be for other devices too.
                return NotKnown(place, "element", name);
            }
            AddInfo(update, name, TextOf(part));
        }
    }
    mModel.updates.push_back(std::move(update));
    return "";
}

void ControlFile::ReadInfo(const pugi::xml_node& node, PackageUpdate& update) {
    for (const pugi::xml_node& child : node) {
        if (child.type() == pugi::node_element) {
            AddInfo(update, LocalName(child.name()), TextOf(child));
        }
    }
    std::string name = Property(node, "Name");
    name = name.empty() ? Property(node, "Key") : name;
    if (!name.empty() && !HasElements(node)) {
        AddInfo(update, name, TextOf(node));
    } else if (!HasElements(node)) {
        mWarnings.push_back("an Info without a name is left out");
    }
}

void ControlFile::AddInfo(PackageUpdate& update, const std::string& name, const std::string& text) {
    const bool known = std::any_of(update.infos.begin(), update.infos.end(),
                                   [&name](const PackageInfo& info) { return info.name == name; });
    if (!known) {
        update.infos.push_back({name, Collapse(text)});
    }
}
