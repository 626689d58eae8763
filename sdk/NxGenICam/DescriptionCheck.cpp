#include "DescriptionCheck.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

#include <libxml/xmlreader.h>

#include <NxBase/NxResultCodes.h>

#include "NodeGraph.h"
#include "QuietLibraries.h"

namespace {

constexpr std::size_t kLargestDescription = std::size_t{32} << 20U;
constexpr const char* kStructRegister = "StructReg";
constexpr const char* kStructEntry = "StructEntry";
constexpr long long kLongestRegister = 16LL << 20U;

// The references that are followed when a node is read, as opposed to those that list features.
constexpr std::array<std::string_view, 9> kReadReferences = {
    "pValue",        "pAddress",      "pIndex",  "pVariable",    "pLength",
    "pValueIndexed", "pValueDefault", "pOffset", "pCommandValue"};

std::string_view View(const xmlChar* text) {
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text))
                           : std::string_view();
}

std::string Trim(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(kSpace) - first + 1));
}

NxResult Bad(const std::string& reason) {
    return NxResult(kNxBadDescription, reason);
}

// One pass over the XML that fills the graph of its nodes.
class DescriptionReader {
  public:
    explicit DescriptionReader(const std::string& xml)
        : mReader(xmlReaderForMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                                     XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                  xmlFreeTextReader) {}

    NxResult Read() {
        if (mReader == nullptr) {
            return Bad("out of memory");
        }
        xmlTextReaderSetStructuredErrorHandler(mReader.get(), NoteError, this);
        int more = xmlTextReaderRead(mReader.get());
        for (; more == 1; more = xmlTextReaderRead(mReader.get())) {
            if (NxResult result = Visit(); !result.IsOK()) {
                return result;
            }
        }
        if (more != 0) {
            return Bad("line " + std::to_string(mErrorLine) + ": " + mError);
        }
        return Finish();
    }

    DescriptionFacts facts;

  private:
    struct Element {
        std::string tag;
        std::string name;  ///< of the node
        std::string text;  ///< what is directly in it, in one piece
        std::size_t node = 0;
        bool isNode = false;
        bool isReference = false;
    };

    // What a node of that name is, by all of its definitions.
    struct NodeValue {
        std::set<std::string> constants;
        std::set<std::string> links;
    };

    static void NoteError(void* context, xmlErrorPtr error) {
        auto* self = static_cast<DescriptionReader*>(context);
        if (error != nullptr && self->mErrorLine == 0) {
            self->mErrorLine = error->line;
            self->mError = Trim(error->message != nullptr ? error->message : "");
        }
    }

    NxResult Visit() {
        switch (xmlTextReaderNodeType(mReader.get())) {
            case XML_READER_TYPE_DOCUMENT_TYPE:
            case XML_READER_TYPE_ENTITY_REFERENCE:
                return Bad("it has a document type definition, which GenICam does not allow");
            case XML_READER_TYPE_ELEMENT:
                return Start();
            case XML_READER_TYPE_TEXT:
            case XML_READER_TYPE_CDATA:
            case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
            case XML_READER_TYPE_WHITESPACE:
                if (!mOpen.empty()) {
                    mOpen.back().text += View(xmlTextReaderConstValue(mReader.get()));
                }
                return {};
            case XML_READER_TYPE_END_ELEMENT:
                return End();
            default:
                return {};
        }
    }

    NxResult Start() {
        const std::string_view tag = View(xmlTextReaderConstLocalName(mReader.get()));
        if (mOpen.empty()) {
            if (tag != "RegisterDescription") {
                return Bad("its root element is not RegisterDescription");
            }
            facts.schemaMajor = Version("SchemaMajorVersion");
            facts.schemaMinor = Version("SchemaMinorVersion");
        }
        Element element;
        element.tag = tag;
        for (const std::string_view reference : kReadReferences) {
            element.isReference = element.isReference || tag == reference;
        }
        const std::string name = Attribute("Name");
        // The Name of a pVariable is the variable's, not a node's.
        if (!name.empty() && !mOpen.empty() && !element.isReference && IsNode(tag)) {
            StartNode(element, name);
            facts.anyNodeName = name;
        } else if (tag == kStructRegister) {
            // Has no name, but an address, which each of its entries is read at.
            StartNode(element, "<StructReg> " + std::to_string(mGraph.Size()));
        }
        // The step of an index may be another node's value.
        if (const std::string step = Trim(Attribute("pOffset")); !step.empty()) {
            Refer(step);
            for (const Element& open : mOpen) {
                facts.nodesWithSteps.insert(open.name);
            }
        }
        if (xmlTextReaderIsEmptyElement(mReader.get()) == 0) {
            mOpen.push_back(element);
        }
        return {};
    }

    // Constants and the like carry a Name too, but are parts of their node; an enumeration's entry
    // reads nothing and is often named like some node.
    static bool IsNode(std::string_view tag) {
        return tag != "Constant" && tag != "Expression" && tag != "Group" && tag != "EnumEntry";
    }

    // "pIsImplemented" and the like; lists of features are not read.
    static bool IsLink(std::string_view tag) {
        return tag.size() > 1 && tag[0] == 'p' && tag[1] >= 'A' && tag[1] <= 'Z' &&
               tag != "pFeature" && tag != "pSelected" && tag != "pInvalidator" && tag != "pPort";
    }

    void Link(const std::string& from, const std::string& to) {
        facts.links.AddReference(facts.links.Add(Trim(from)), to);
    }

    void StartNode(Element& element, const std::string& name) {
        element.isNode = true;
        element.name = name;
        element.node = mGraph.Add(Trim(name));
        if (element.tag != kStructEntry) {
            Refer(Trim(name));
        } else if (mOpen.back().tag == kStructRegister) {
            // It is read where the register that it is a part of lies, not the other way round.
            mGraph.AddReference(element.node, Trim(mOpen.back().name));
            facts.links.AddReference(facts.links.Add(Trim(name)), Trim(mOpen.back().name));
            mStructures.emplace_back(name, mOpen.back().name);
        }
    }

    NxResult End() {
        const Element element = std::move(mOpen.back());
        mOpen.pop_back();
        const std::string text = Trim(element.text);
        if (element.isReference && !text.empty()) {
            Refer(text);
        } else if (IsLink(element.tag)) {
            for (const Element& open : mOpen) {
                if (open.isNode) {
                    Link(open.name, text);
                }
            }
        }
        if (element.tag == "Length" && !IsRegisterLength(text)) {
            return Bad("a register's length is \"" + text.substr(0, 40) + "\"");
        }
        if (element.tag == "pLength") {
            mLengths.insert(text);
            NoteVariableLength();
        }
        if (!mOpen.empty() && mOpen.back().isNode) {
            NodeValue& value = mValues[Trim(mOpen.back().name)];
            if (element.tag == "Value") {
                value.constants.insert(text);
            } else if (element.tag == "pValue") {
                value.links.insert(text);
            }
        }
        return {};
    }

    void NoteVariableLength() {
        for (const Element& element : mOpen) {
            if (element.tag == kStructRegister) {
                mVariableStructures.insert(element.name);
            }
            if (element.isNode) {
                facts.variableLengths[Trim(element.name)].insert(element.name);
            }
        }
    }

    static bool IsRegisterLength(const std::string& text) {
        char* end = nullptr;
        const long long length = std::strtoll(text.c_str(), &end, 0);
        return *end == '\0' && length >= 0 && length <= kLongestRegister;
    }

    // The lengths that are told by other nodes, as far as these are constants.
    NxResult CheckLengths() {
        std::vector<std::string> names(mLengths.begin(), mLengths.end());
        while (!names.empty()) {
            const NodeValue& value = mValues[names.back()];
            names.pop_back();
            for (const std::string& constant : value.constants) {
                if (!IsRegisterLength(constant)) {
                    return Bad("a register's length is \"" + constant.substr(0, 40) + "\"");
                }
            }
            for (const std::string& link : value.links) {
                if (mLengths.insert(link).second) {
                    names.push_back(link);
                }
            }
        }
        return {};
    }

    // Every enclosing node depends on it: an address formula is a node within the register's.
    void Refer(const std::string& name) {
        for (auto element = mOpen.rbegin(); element != mOpen.rend(); ++element) {
            if (element->isNode) {
                mGraph.AddReference(element->node, name);
                Link(element->name, name);
            }
            if (element->tag == kStructEntry) {
                return;
            }
        }
    }

    NxResult Finish() {
        if (mGraph.Size() == 0) {
            return Bad("it defines no node");
        }
        if (NxResult result = CheckLengths(); !result.IsOK()) {
            return result;
        }
        for (const auto& [entry, structure] : mStructures) {
            if (mVariableStructures.contains(structure)) {
                facts.variableLengths[Trim(entry)].insert(entry);
            }
        }
        std::string culprit;
        if (!mGraph.IsEvaluable(culprit)) {
            return Bad("the node " + culprit.substr(0, 80) + " depends on itself or on too much");
        }
        return {};
    }

    std::string Attribute(const char* name) {
        const std::unique_ptr<xmlChar, void (*)(void*)> value(
            xmlTextReaderGetAttribute(mReader.get(), reinterpret_cast<const xmlChar*>(name)),
            xmlFree);
        return std::string(View(value.get()));
    }

    unsigned int Version(const char* attribute) {
        const std::string text = Attribute(attribute);
        unsigned int number = 1;
        (void)std::from_chars(text.data(), text.data() + text.size(), number);
        return number;
    }

    std::unique_ptr<xmlTextReader, void (*)(xmlTextReaderPtr)> mReader;
    NodeGraph mGraph;
    std::map<std::string, NodeValue> mValues;
    std::vector<std::pair<std::string, std::string>> mStructures;  ///< entry and structure
    std::set<std::string> mVariableStructures;
    std::set<std::string> mLengths;  ///< names of the nodes that registers have their lengths from
    std::vector<Element> mOpen;
    int mErrorLine = 0;
    std::string mError = "not well-formed";
};

}  // namespace

NxResult CheckDescription(const std::string& xml, DescriptionFacts& facts) {
    QuietLibraries();
    if (xml.empty()) {
        return Bad("it is empty");
    }
    if (xml.size() > kLargestDescription) {
        return Bad("it is larger than 32 MiB");
    }
    DescriptionReader reader(xml);
    NxResult result = reader.Read();
    if (result.IsOK()) {
        facts = reader.facts;
    }
    return result;
}
