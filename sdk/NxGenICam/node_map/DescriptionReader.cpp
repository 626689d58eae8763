#include "DescriptionReader.h"

#include <charconv>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <libxml/xmlreader.h>

#include <NxBase/NxResultCodes.h>

namespace {

constexpr std::size_t kLargestDescription = std::size_t{16} << 20U;

const std::unordered_map<std::string_view, NodeKind> kKinds = {
    {"Integer", NodeKind::kInteger},
    {"IntReg", NodeKind::kIntReg},
    {"MaskedIntReg", NodeKind::kIntReg},
    {"StructReg", NodeKind::kStructReg},
    {"IntSwissKnife", NodeKind::kIntSwissKnife},
    {"IntConverter", NodeKind::kIntConverter},
    {"SwissKnife", NodeKind::kSwissKnife},
    {"Converter", NodeKind::kConverter},
    {"Float", NodeKind::kFloat},
    {"FloatReg", NodeKind::kFloatReg},
    {"Boolean", NodeKind::kBoolean},
    {"Command", NodeKind::kCommand},
    {"Enumeration", NodeKind::kEnumeration},
    {"String", NodeKind::kString},
    {"StringReg", NodeKind::kStringReg},
    {"Register", NodeKind::kRegister},
    {"Port", NodeKind::kPort},
};

const std::unordered_map<std::string_view, NodeTag> kTags = {
    {"Value", NodeTag::kValue},
    {"pValue", NodeTag::kPValue},
    {"pValueCopy", NodeTag::kPValueCopy},
    {"ValueIndexed", NodeTag::kValueIndexed},
    {"pValueIndexed", NodeTag::kPValueIndexed},
    {"ValueDefault", NodeTag::kValueDefault},
    {"pValueDefault", NodeTag::kPValueDefault},
    {"pIndex", NodeTag::kPIndex},
    {"Address", NodeTag::kAddress},
    {"pAddress", NodeTag::kPAddress},
    {"Length", NodeTag::kLength},
    {"pLength", NodeTag::kPLength},
    {"LSB", NodeTag::kLsb},
    {"MSB", NodeTag::kMsb},
    {"Bit", NodeTag::kBit},
    {"Sign", NodeTag::kSign},
    {"Endianess", NodeTag::kEndianess},
    {"AccessMode", NodeTag::kAccessMode},
    {"ImposedAccessMode", NodeTag::kImposedAccessMode},
    {"pIsImplemented", NodeTag::kPIsImplemented},
    {"pIsAvailable", NodeTag::kPIsAvailable},
    {"pIsLocked", NodeTag::kPIsLocked},
    {"Min", NodeTag::kMin},
    {"pMin", NodeTag::kPMin},
    {"Max", NodeTag::kMax},
    {"pMax", NodeTag::kPMax},
    {"Inc", NodeTag::kInc},
    {"pInc", NodeTag::kPInc},
    {"pPort", NodeTag::kPPort},
    {"pInvalidator", NodeTag::kPInvalidator},
    {"Cachable", NodeTag::kCachable},
    {"PollingTime", NodeTag::kPollingTime},
    {"Formula", NodeTag::kFormula},
    {"FormulaTo", NodeTag::kFormulaTo},
    {"FormulaFrom", NodeTag::kFormulaFrom},
    {"pVariable", NodeTag::kPVariable},
    {"Constant", NodeTag::kConstant},
    {"Expression", NodeTag::kExpression},
    {"OnValue", NodeTag::kOnValue},
    {"OffValue", NodeTag::kOffValue},
    {"CommandValue", NodeTag::kCommandValue},
    {"pCommandValue", NodeTag::kPCommandValue},
    {"Symbolic", NodeTag::kSymbolic},
    {"DisplayName", NodeTag::kDisplayName},
    {"ChunkID", NodeTag::kChunkId},
    {"pChunkID", NodeTag::kPChunkId},
    {"EventID", NodeTag::kEventId},
};

NxResult Refuse(const std::string& reason) {
    return NxResult(kNxBadDescription, reason);
}

std::string_view View(const xmlChar* text) {
    return text != nullptr ? std::string_view(reinterpret_cast<const char*>(text))
                           : std::string_view();
}

std::string_view Trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// The bytes of an XML declaration that are not UTF-8 after all are taken for Latin-1.
struct Complaint {
    bool isOfEncoding = false;
    int line = 0;
};

void Remember(void* complaint, xmlErrorPtr error) {
    auto& first = *static_cast<Complaint*>(complaint);
    if (first.line == 0 && error->level >= XML_ERR_ERROR) {
        first.line = error->line > 0 ? error->line : 1;
        first.isOfEncoding =
            error->code == XML_ERR_INVALID_ENCODING || error->code == XML_ERR_INVALID_CHAR ||
            error->code == XML_ERR_UNSUPPORTED_ENCODING || error->code == XML_ERR_UNKNOWN_ENCODING;
    }
}

class Reading {
  public:
    Reading(xmlTextReaderPtr reader, NodeTable& table, DescriptionSchema& schema)
        : mReader(reader), mTable(table), mSchema(schema) {}

    /// @return not OK when the description is to be refused whatever its encoding
    NxResult Run();
    [[nodiscard]] bool IsComplete() const { return mIsComplete; }
    [[nodiscard]] bool SawRoot() const { return mSawRoot; }

  private:
    /// An open element: the root or a group, a node, or a property of one.
    struct Frame {
        enum class What { kContainer, kNode, kProperty } what = What::kContainer;
        NodeTable::Id node = NodeTable::kNone;
        NodeTag tag = NodeTag::kValue;
        std::string attribute;
        std::string text;
    };

    /// @return whether the element's content is of interest
    bool Open();
    bool OpenRoot();
    bool OpenInNode(NodeTable::Id node, std::string_view element);
    bool StartNode(NodeKind kind, NodeTable::Id parent);
    bool StartProperty(NodeTable::Id node, NodeTag tag);
    void Close();
    [[nodiscard]] std::string Attribute(const char* name) const;
    [[nodiscard]] unsigned int NumberAttribute(const char* name, unsigned int otherwise) const;

    xmlTextReaderPtr mReader;
    NodeTable& mTable;
    DescriptionSchema& mSchema;
    std::vector<Frame> mOpen;
    std::string mNamespace;
    bool mSawRoot = false;
    bool mIsComplete = false;
    bool mIsFull = false;
    bool mIsOther = false;
};

NxResult Reading::Run() {
    int more = xmlTextReaderRead(mReader);
    while (more == 1 && !mIsComplete) {
        switch (xmlTextReaderNodeType(mReader)) {
            case XML_READER_TYPE_DOCUMENT_TYPE:
                return Refuse("it has a document type declaration");
            case XML_READER_TYPE_ELEMENT:
                if (!Open()) {
                    if (mIsOther) {
                        return Refuse("it is not a register description");
                    }
                    more = xmlTextReaderNext(mReader);
                    continue;
                }
                break;
            case XML_READER_TYPE_TEXT:
            case XML_READER_TYPE_CDATA:
                if (!mOpen.empty() && mOpen.back().what == Frame::What::kProperty) {
                    mOpen.back().text += View(xmlTextReaderConstValue(mReader));
                }
                break;
            case XML_READER_TYPE_END_ELEMENT:
                Close();
                break;
            default:
                break;
        }
        if (mIsFull) {
            return Refuse("it has more nodes, or more text in them, than any camera's");
        }
        more = mIsComplete ? 0 : xmlTextReaderRead(mReader);
    }
    return {};
}

bool Reading::Open() {
    bool opened = false;
    const std::string_view element = View(xmlTextReaderConstLocalName(mReader));
    if (mOpen.empty()) {
        opened = OpenRoot();
    } else if (View(xmlTextReaderConstNamespaceUri(mReader)) != mNamespace) {
        return false;
    } else if (mOpen.back().what == Frame::What::kNode) {
        opened = OpenInNode(mOpen.back().node, element);
    } else if (mOpen.back().what == Frame::What::kContainer) {
        if (element == "Group") {
            mOpen.emplace_back();
            opened = true;
        } else if (const auto kind = kKinds.find(element); kind != kKinds.end()) {
            opened = StartNode(kind->second, NodeTable::kNone);
        }
    }
    if (opened && xmlTextReaderIsEmptyElement(mReader) == 1) {
        Close();
    }
    return opened;
}

bool Reading::OpenRoot() {
    if (View(xmlTextReaderConstLocalName(mReader)) != "RegisterDescription") {
        mIsOther = true;
        return false;
    }
    mSawRoot = true;
    mNamespace = View(xmlTextReaderConstNamespaceUri(mReader));
    mSchema.major = NumberAttribute("SchemaMajorVersion", mSchema.major);
    mSchema.minor = NumberAttribute("SchemaMinorVersion", mSchema.minor);
    mOpen.emplace_back();
    return true;
}

bool Reading::OpenInNode(NodeTable::Id node, std::string_view element) {
    const NodeKind kind = mTable.Kind(node);
    if (kind == NodeKind::kEnumeration && element == "EnumEntry") {
        return StartNode(NodeKind::kEnumEntry, node);
    }
    if (kind == NodeKind::kStructReg && element == "StructEntry") {
        return StartNode(NodeKind::kIntReg, node);
    }
    if (element == "IntSwissKnife") {
        // Schema 1.0 lets a part of an address stand inside the register.
        const bool started = StartNode(NodeKind::kIntSwissKnife, NodeTable::kNone);
        if (started) {
            mIsFull |= !mTable.Append(node, NodeTag::kPAddress, "", "", mOpen.back().node);
        }
        return started;
    }
    const auto tag = kTags.find(element);
    return tag != kTags.end() && StartProperty(node, tag->second);
}

bool Reading::StartNode(NodeKind kind, NodeTable::Id parent) {
    const std::string name = Attribute("Name");
    const NodeTable::Id node = mTable.Add(kind, Trim(name), parent);
    if (node == NodeTable::kNone) {
        mIsFull = true;
        return false;
    }
    mOpen.emplace_back();
    mOpen.back().what = Frame::What::kNode;
    mOpen.back().node = node;
    return true;
}

bool Reading::StartProperty(NodeTable::Id node, NodeTag tag) {
    Frame frame;
    frame.what = Frame::What::kProperty;
    frame.node = node;
    frame.tag = tag;
    switch (tag) {
        case NodeTag::kPIndex:
            frame.attribute = Attribute("Offset");
            if (frame.attribute.empty()) {
                frame.attribute = Attribute("pOffset");
                frame.tag = frame.attribute.empty() ? tag : NodeTag::kPIndexWithStep;
            }
            break;
        case NodeTag::kValueIndexed:
        case NodeTag::kPValueIndexed:
            frame.attribute = Attribute("Index");
            break;
        case NodeTag::kPVariable:
        case NodeTag::kConstant:
        case NodeTag::kExpression:
            frame.attribute = Attribute("Name");
            break;
        default:
            break;
    }
    mOpen.push_back(std::move(frame));
    return true;
}

void Reading::Close() {
    const Frame& frame = mOpen.back();
    if (frame.what == Frame::What::kProperty) {
        mIsFull |= !mTable.Append(frame.node, frame.tag, Trim(frame.text), Trim(frame.attribute));
    }
    mOpen.pop_back();
    mIsComplete = mOpen.empty();
}

std::string Reading::Attribute(const char* name) const {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> value(
        xmlTextReaderGetAttribute(mReader, reinterpret_cast<const xmlChar*>(name)), xmlFree);
    return std::string(View(value.get()));
}

unsigned int Reading::NumberAttribute(const char* name, unsigned int otherwise) const {
    const std::string text = Attribute(name);
    unsigned int number = otherwise;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : otherwise;
}

NxResult ReadAs(const char* encoding, const std::string& xml, NodeTable& table,
                DescriptionSchema& schema, Complaint& complaint) {
    const std::unique_ptr<xmlTextReader, decltype(&xmlFreeTextReader)> reader(
        xmlReaderForMemory(xml.data(), static_cast<int>(xml.size()), nullptr, encoding,
                           XML_PARSE_NONET | XML_PARSE_COMPACT),
        xmlFreeTextReader);
    if (reader == nullptr) {
        return Refuse("it cannot be read");
    }
    xmlTextReaderSetStructuredErrorHandler(
        reader.get(), [](void* complaints, xmlErrorPtr error) { Remember(complaints, error); },
        &complaint);
    Reading reading(reader.get(), table, schema);
    NxResult result = reading.Run();
    if (result.IsOK() && !reading.IsComplete()) {
        result = Refuse(complaint.line != 0 ? "it is cut short or not well-formed XML (line " +
                                                  std::to_string(complaint.line) + ")"
                                            : "it is cut short");
    }
    return result;
}

}  // namespace

NxResult ReadDescription(const std::string& xml, NodeTable& table, DescriptionSchema& schema) {
    static std::once_flag initialised;
    std::call_once(initialised, xmlInitParser);
    if (xml.empty()) {
        return Refuse("it is empty");
    }
    if (xml.size() > kLargestDescription) {
        return Refuse("it is larger than 16 MiB");
    }
    Complaint complaint;
    NxResult result = ReadAs(nullptr, xml, table, schema, complaint);
    if (!result.IsOK() && complaint.isOfEncoding) {
        // Tool tips were written by hand: a text that is said to be UTF-8 and is not.
        NodeTable again;
        Complaint other;
        if (ReadAs("ISO-8859-1", xml, again, schema, other).IsOK()) {
            table = std::move(again);
            result = NxResult();
        }
    }
    if (result.IsOK()) {
        table.Finish();
        if (table.Count() == 0) {
            result = Refuse("it has no nodes");
        }
    }
    return result;
}
