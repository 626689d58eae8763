#include "ControlFile.h"

#include <algorithm>
#include <utility>

#include <NxBase/Utf8.h>

#include "../check/UpdaterLimits.h"
#include "ControlText.h"
#include "WholeValuePattern.h"
#include "XmlDocument.h"

namespace {

using Kind = PackageStep::Kind;

constexpr const char* kNamespace = "http://www.genicam.org/GenFwUpdate/Version_1_0";
// What a manifest allows.
constexpr std::size_t kLongestText = 1024;
constexpr std::size_t kMostInfos = 32;
constexpr std::size_t kLongestInfoName = 64;

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::string Unknown(const std::string& place, const std::string& kind, const std::string& name) {
    return place + "unknown " + kind + " <" + name + ">";
}

/// The updater has times of its own.
bool IsTime(const std::string& name) {
    return name == "ExpectedDurationMs" || name == "MaximumExecutionTimeoutMs" ||
           name == "DeviceDiscoveryDelayMs";
}

bool IsInfoName(const std::string& name) {
    const auto isLetter = [](char character) {
        return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
    };
    return !name.empty() && name.size() <= kLongestInfoName && isLetter(name.front()) &&
           std::all_of(name.begin(), name.end(), [&isLetter](char character) {
               return isLetter(character) || (character >= '0' && character <= '9') ||
                      character == '_' || character == '.' || character == '-';
           });
}

std::string Joined(const std::set<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

std::optional<Kind> KindOf(const std::string& name) {
    for (const Kind kind : {Kind::kFileUpload, Kind::kFeatureAssert, Kind::kFeatureWrite,
                            Kind::kFeatureExecute, Kind::kDeviceReset}) {
        if (name == PackageModel::NameOf(kind)) {
            return kind;
        }
    }
    return std::nullopt;
}

}  // namespace

ControlFile::ControlFile(Options options) : mOptions(std::move(options)) {}

std::string ControlFile::Read(const std::string& text) {
    XmlDocument document;
    std::string error = document.Parse(text);
    if (!error.empty()) {
        return error;
    }
    const XmlElement root = document.Root();
    if (root.LocalName() != "GufRuleSet") {
        return "the root element is <" + root.LocalName() + ">, not <GufRuleSet>";
    }
    mNamespace = root.Namespace();
    if (mNamespace != kNamespace) {
        mWarnings.push_back("the namespace is " + Quoted(mNamespace) + ", not " +
                            Quoted(kNamespace) + "; reading it anyway");
    }
    if (Property(root, "SchemaMajorVersion") != "1") {
        mWarnings.push_back("not schema version 1; reading it anyway");
    }
    for (const XmlElement& element : root.Elements()) {
        const std::string name = NameOf(element);
        if (name == "Procedure") {
            error = ReadProcedure(element);
        } else if (name == "Update") {
            error = ReadUpdate(element);
        } else {
            mWarnings.push_back("<" + name + "> is ignored");
        }
        if (!error.empty()) {
            return error;
        }
    }
    if (!mLeftOutParts.empty()) {
        mWarnings.push_back("ignored, since a manifest has no place for them: " +
                            Joined(mLeftOutParts));
    }
    if (!mLeftOutLanguages.empty()) {
        mWarnings.push_back("texts in other languages are omitted: " + Joined(mLeftOutLanguages));
    }
    return "";
}

/// The local name of an element of the control file's own namespace; of another one it is put
/// before it in braces, so that it is none of the names that mean something.
std::string ControlFile::NameOf(const XmlElement& element) const {
    const std::string name = element.LocalName();
    return element.Namespace() == mNamespace ? name : "{" + element.Namespace() + "}" + name;
}

std::optional<XmlElement> ControlFile::Child(const XmlElement& parent,
                                             const std::string& name) const {
    for (const XmlElement& child : parent.Elements()) {
        if (NameOf(child) == name) {
            return child;
        }
    }
    return std::nullopt;
}

/// The attribute of that name, else the child element of that name, as written.
std::string ControlFile::RawProperty(const XmlElement& element, const std::string& name) const {
    const std::string attribute = element.Attribute(name);
    const auto child = Child(element, name);
    return !attribute.empty() || !child ? attribute : child->Text();
}

std::string ControlFile::Property(const XmlElement& element, const std::string& name) const {
    return Collapse(RawProperty(element, name));
}

std::string ControlFile::TextInLanguage(const std::vector<XmlElement>& candidates) {
    const auto distance = [this](const XmlElement& one) {
        return LanguageDistance(one.Attribute("Lang"), mOptions.language);
    };
    const auto best = std::min_element(candidates.begin(), candidates.end(),
                                       [&distance](const XmlElement& one, const XmlElement& other) {
                                           return distance(one) < distance(other);
                                       });
    for (auto one = candidates.begin(); one != candidates.end(); ++one) {
        if (one != best) {
            const std::string language = one->Attribute("Lang");
            mLeftOutLanguages.insert(language.empty() ? "(not named)" : language);
        }
    }
    return best == candidates.end() ? "" : best->Text();
}

std::string ControlFile::ChildInLanguage(const XmlElement& parent, const std::string& name) {
    std::vector<XmlElement> candidates;
    for (const XmlElement& child : parent.Elements()) {
        if (NameOf(child) == name) {
            candidates.push_back(child);
        }
    }
    return candidates.empty() ? parent.Attribute(name) : TextInLanguage(candidates);
}

std::string ControlFile::Fitted(const std::string& text, const std::string& place) {
    std::string fitted = Collapse(WithoutControlCharacters(text));
    if (fitted.size() <= kLongestText) {
        return fitted;
    }
    const std::string_view cut = Utf8::Cut(fitted, kLongestText);
    mWarnings.push_back(place + "a text is truncated to " + std::to_string(cut.size()) + " bytes");
    return Collapse(std::string(cut));
}

std::string ControlFile::ReadProcedure(const XmlElement& element) {
    PackageProcedure procedure{Property(element, "Id"), {}};
    for (const XmlElement& step : element.Elements()) {
        if (NameOf(step) == "Description") {
            mWarnings.push_back("procedure " + Quoted(procedure.id) +
                                ": its description is omitted");
            continue;
        }
        if (IsTime(NameOf(step))) {
            mLeftOutParts.insert(NameOf(step));
            continue;
        }
        const std::string error = ReadStep(step, procedure);
        if (!error.empty()) {
            return error;
        }
    }
    mModel.procedures.push_back(std::move(procedure));
    return "";
}

std::string ControlFile::ReadStep(const XmlElement& element, PackageProcedure& procedure) {
    const std::string name = NameOf(element);
    const auto kind = KindOf(name);
    if (!kind) {
        // To leave out a step would make another update of it.
        return Unknown("procedure " + Quoted(procedure.id) + ": ", "step", name);
    }
    const std::string place = PlaceOfStep(procedure, procedure.steps.size() + 1, *kind);
    PackageStep step;
    step.kind = *kind;
    step.description = Fitted(ChildInLanguage(element, "Description"), place);
    std::set<std::string> known = {"Description"};
    for (const PackageStepField& field : PackageModel::FieldsOf(*kind)) {
        if (field.place == PackageStepField::Place::kAttribute) {
            continue;
        }
        // The grammar of packages keeps the white space of a value.
        step.*field.value = field.value == &PackageStep::value ? RawProperty(element, field.name)
                                                               : Property(element, field.name);
        known.insert(field.name);
    }
    step.transport = *kind == Kind::kFileUpload ? mOptions.transport : "";
    const std::string error = *kind == Kind::kFeatureAssert ? ReadAssert(element, place, step) : "";
    NoteParts(element, known);
    procedure.steps.push_back(std::move(step));
    return error;
}

std::string ControlFile::ReadAssert(const XmlElement& element, const std::string& place,
                                    PackageStep& step) {
    const std::string pattern = RawProperty(element, "AssertPattern");
    if (pattern.empty()) {
        return place + "no pattern";
    }
    step.message = Fitted(ChildInLanguage(element, "Message"), place);
    if (step.message.empty()) {
        step.message = Fitted(step.featureName + " does not match " + pattern, place);
        mWarnings.push_back(place + "no message; using " + Quoted(step.message));
    }
    step.pattern = WholeValuePattern(pattern);
    return "";
}

std::string ControlFile::ReadUpdate(const XmlElement& element) {
    PackageUpdate update{Property(element, "ProcedureId"), {}, {}};
    const std::string place = "update " + std::to_string(mModel.updates.size() + 1) + ": ";
    for (const XmlElement& part : element.Elements()) {
        const std::string name = NameOf(part);
        std::string error;
        if (name == "Info") {
            error = ReadInfo(part, place, update);
        } else if (name == "Condition") {
            error = ReadCondition(part, place, update);
        } else if (name == "Description" && !part.HasElements()) {
            AddInfo(update, place, name, part.Text());
        } else {
            // It may be a condition, without which the update would be for other devices too.
            error = Unknown(place, "element", name);
        }
        if (!error.empty()) {
            return error;
        }
    }
    if (update.conditions.empty()) {
        mWarnings.push_back(place + "no condition, so it applies to every model");
        update.conditions.push_back({"DeviceModelName", "[\\s\\S]*"});
    }
    mModel.updates.push_back(std::move(update));
    return "";
}

std::string ControlFile::ReadCondition(const XmlElement& element, const std::string& place,
                                       PackageUpdate& update) {
    for (const XmlElement& part : element.Elements()) {
        const std::string name = NameOf(part);
        if (name != "FeatureName" && name != "Pattern") {
            return Unknown(place, "part of a condition", name);
        }
    }
    std::string feature = Property(element, "Feature");
    feature = feature.empty() ? Property(element, "FeatureName") : feature;
    const std::string pattern =
        element.HasElements() ? RawProperty(element, "Pattern") : element.Text();
    if (pattern.empty()) {
        return place + "a condition has no pattern";
    }
    update.conditions.push_back({feature, WholeValuePattern(pattern)});
    return "";
}

std::string ControlFile::ReadInfo(const XmlElement& element, const std::string& place,
                                  PackageUpdate& update) {
    if (!element.HasElements()) {
        std::string name = Property(element, "Name");
        name = name.empty() ? Property(element, "Key") : name;
        AddInfo(update, place, name, element.Text());
        return "";
    }
    std::vector<std::pair<std::string, std::vector<XmlElement>>> entries;
    for (const XmlElement& child : element.Elements()) {
        const std::string name = NameOf(child) == "Entry" ? Property(child, "Key") : NameOf(child);
        const auto entry = std::find_if(entries.begin(), entries.end(),
                                        [&name](const auto& one) { return one.first == name; });
        if (entry == entries.end()) {
            entries.emplace_back(name, std::vector<XmlElement>{child});
        } else {
            entry->second.push_back(child);
        }
    }
    for (const auto& [name, candidates] : entries) {
        AddInfo(update, place, name, TextInLanguage(candidates));
    }
    return "";
}

void ControlFile::AddInfo(PackageUpdate& update, const std::string& place, const std::string& name,
                          const std::string& text) {
    const bool known = std::any_of(update.infos.begin(), update.infos.end(),
                                   [&name](const PackageInfo& info) { return info.name == name; });
    if (known || !IsInfoName(name) || update.infos.size() == kMostInfos) {
        mWarnings.push_back(place + "the info " + Quoted(name) + " is omitted: " +
                            (known ? "duplicate name"
                             : !IsInfoName(name)
                                 ? "a manifest does not allow this name"
                                 : "a manifest allows at most " + std::to_string(kMostInfos)));
        return;
    }
    update.infos.push_back({name, Fitted(text, place)});
}

void ControlFile::NoteParts(const XmlElement& element, const std::set<std::string>& known) {
    for (const XmlElement& child : element.Elements()) {
        if (known.count(NameOf(child)) == 0) {
            mLeftOutParts.insert(NameOf(child));
        }
    }
    for (const std::string& name : element.AttributeNames()) {
        if (known.count(name) == 0) {
            mLeftOutParts.insert(name);
        }
    }
}
