#include "DescriptionReader.h"

#include <charconv>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <vector>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <NxBase/NxResultCodes.h>

#include "XmlText.h"

namespace {

constexpr std::size_t kLargestDescription = std::size_t{16} << 20U;
constexpr std::size_t kDeepest = 256;
constexpr std::size_t kAttributeParts = 5;  // what libxml2 gives of each
// Cameras have 150.
constexpr int kMostNames = 20000;
constexpr std::size_t kMostElements = 1000000;
constexpr const char* kTooMuch =
    "it has more than 100,000 nodes, 300,000 properties or 8 MiB of text";

bool IsRegister(NodeKind kind) {
    return kind == NodeKind::kIntReg || kind == NodeKind::kFloatReg ||
           kind == NodeKind::kStringReg || kind == NodeKind::kRegister ||
           kind == NodeKind::kStructReg;
}

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

std::string_view View(const xmlChar* begin, const xmlChar* end) {
    return {reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin)};
}

/// libxml2's events of one description, in which only what the table needs is looked at.
class Reading {
  public:
    Reading(xmlParserCtxtPtr parser, NodeTable& table, DescriptionSchema& schema)
        : mParser(parser), mTable(table), mSchema(schema) {}

    /// To be called once; what fails is refused whatever comes after it.
    NxResult Run(std::string_view xml, const char* encoding);

  private:
    /// An open element: the root or a group, a node, or a property of one.
    struct Frame {
        enum class What { kContainer, kNode, kProperty } what = What::kContainer;
        NodeTable::Id node = NodeTable::kNone;
        NodeTag tag = NodeTag::kValue;
        std::string attribute;
        std::string text;
    };
    struct Element {
        std::string_view name;
        std::string_view space;
        bool isUnbound = false;                ///< has an undeclared prefix
        std::span<const xmlChar*> attributes;  ///< name, prefix, space, and where its value is
    };

    void OnStart(const Element& element);
    void OnEnd();
    void OnText(std::string_view text);
    void OnError(const xmlError& error);

    /// @return whether the element's content is of interest
    bool Open();
    bool OpenRoot();
    bool OpenInNode(NodeTable::Id node, std::string_view element);
    bool StartNode(NodeKind kind, NodeTable::Id parent);
    bool StartProperty(NodeTable::Id node, NodeTag tag);
    void Close();
    void Stop(const std::string& reason);
    [[nodiscard]] std::string Attribute(std::string_view name) const;
    [[nodiscard]] unsigned int NumberAttribute(std::string_view name, unsigned int otherwise) const;

    xmlParserCtxtPtr mParser;
    NodeTable& mTable;
    DescriptionSchema& mSchema;
    Element mElement;  ///< the one that begins
    std::vector<Frame> mOpen;
    std::size_t mElements = 0;
    std::size_t mSkipped = 0;  ///< open elements inside one that is of no interest
    std::string mNamespace;
    bool mIsComplete = false;
    std::string mReason = "it is truncated";  ///< of ending early
};

NxResult Reading::Run(std::string_view xml, const char* encoding) {
    xmlSAXHandler events{};
    events.initialized = XML_SAX2_MAGIC;
    events.startElementNs = [](void* self, const xmlChar* name, const xmlChar* prefix,
                               const xmlChar* space, int, const xmlChar**, int attributeCount, int,
                               const xmlChar** attributes) {
        static_cast<Reading*>(self)->OnStart(
            {.name = View(name),
             .space = View(space),
             .isUnbound = prefix != nullptr && space == nullptr,
             .attributes = {attributes,
                            kAttributeParts * static_cast<std::size_t>(attributeCount)}});
    };
    events.endElementNs = [](void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
        static_cast<Reading*>(self)->OnEnd();
    };
    events.characters = [](void* self, const xmlChar* text, int length) {
        static_cast<Reading*>(self)->OnText(View(text, text + length));
    };
    events.internalSubset = [](void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
        static_cast<Reading*>(self)->Stop("it has a document type declaration");
    };
    events.serror = [](void* self, auto error) { static_cast<Reading*>(self)->OnError(*error); };
    *mParser->sax = events;
    mParser->userData = this;
    // What the text says of its encoding decides nothing; without declarations there are no
    // entities but XML's own.
    // In pieces: of a text as a whole libxml2 makes a copy.
    const auto read = [](void* rest, char* buffer, int size) {
        auto& text = *static_cast<std::string_view*>(rest);
        const std::size_t count = text.copy(buffer, static_cast<std::size_t>(size));
        text.remove_prefix(count);
        return static_cast<int>(count);
    };
    xmlFreeDoc(xmlCtxtReadIO(mParser, read, nullptr, &xml, nullptr, encoding,
                             XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_IGNORE_ENC));
    return mIsComplete ? NxResult() : Refuse(mReason);
}

void Reading::Stop(const std::string& reason) {
    mReason = reason;
    xmlStopParser(mParser);
}

void Reading::OnError(const xmlError& error) {
    if (error.level == XML_ERR_FATAL) {
        Stop("it is truncated or not well-formed XML (line " + std::to_string(error.line) + ")");
    }
}

void Reading::OnStart(const Element& element) {
    mElement = element;
    // libxml2 keeps each name for as long as it reads.
    if (xmlDictSize(mParser->dict) > kMostNames) {
        Stop("it has more than 20,000 different names");
    } else if (++mElements > kMostElements) {
        Stop("it has more than 1,000,000 elements");
    } else if (mSkipped + mOpen.size() >= kDeepest) {
        Stop("it has elements nested more than 256 deep");
    } else if (mSkipped > 0 || !Open()) {
        ++mSkipped;
    }
}

void Reading::OnEnd() {
    if (mSkipped > 0) {
        --mSkipped;
    } else if (!mOpen.empty()) {
        Close();
    }
}

void Reading::OnText(std::string_view text) {
    if (mSkipped > 0 || mOpen.empty() || mOpen.back().what != Frame::What::kProperty) {
        return;
    }
    if (mOpen.back().text.size() + text.size() > NodeTable::kMostText) {
        Stop(kTooMuch);
    } else {
        mOpen.back().text += text;
    }
}

bool Reading::Open() {
    if (mOpen.empty()) {
        return OpenRoot();
    }
    if (mElement.isUnbound || mElement.space != mNamespace) {
        return false;
    }
    if (mOpen.back().what == Frame::What::kNode) {
        return OpenInNode(mOpen.back().node, mElement.name);
    }
    if (mOpen.back().what != Frame::What::kContainer) {
        return false;
    }
    if (mElement.name == "Group") {
        mOpen.emplace_back();
        return true;
    }
    const auto kind = KindOfElement(mElement.name);
    return kind.has_value() && StartNode(*kind, NodeTable::kNone);
}

bool Reading::OpenRoot() {
    if (mElement.name != "RegisterDescription") {
        Stop("it is not a register description");
        return false;
    }
    mNamespace = mElement.space;
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
    if (element == "IntSwissKnife" && IsRegister(kind)) {
        // Schema 1.0 allows a part of an address inside the register.
        const bool started = StartNode(NodeKind::kIntSwissKnife, NodeTable::kNone);
        if (started && !mTable.Append(node, NodeTag::kPAddress, "", "", mOpen.back().node)) {
            Stop(kTooMuch);
        }
        return started;
    }
    const auto tag = TagOfElement(element);
    return tag.has_value() && StartProperty(node, *tag);
}

bool Reading::StartNode(NodeKind kind, NodeTable::Id parent) {
    const std::string name = Attribute("Name");
    const NodeTable::Id node = mTable.Add(kind, Trim(name), parent);
    if (node == NodeTable::kNone) {
        Stop(kTooMuch);
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
    if (tag == NodeTag::kPIndex) {
        frame.attribute = Attribute("Offset");
        if (frame.attribute.empty()) {
            frame.attribute = Attribute("pOffset");
            frame.tag = frame.attribute.empty() ? tag : NodeTag::kPIndexWithStep;
        }
    } else if (tag == NodeTag::kValueIndexed || tag == NodeTag::kPValueIndexed) {
        frame.attribute = Attribute("Index");
    } else if (tag == NodeTag::kPVariable || tag == NodeTag::kConstant ||
               tag == NodeTag::kExpression) {
        frame.attribute = Attribute("Name");
    }
    mOpen.push_back(std::move(frame));
    return true;
}

void Reading::Close() {
    const Frame& frame = mOpen.back();
    if (frame.what == Frame::What::kProperty &&
        !mTable.Append(frame.node, frame.tag, Trim(frame.text), Trim(frame.attribute))) {
        Stop(kTooMuch);
    }
    mOpen.pop_back();
    if (mOpen.empty()) {
        // Whatever comes after it decides nothing.
        mIsComplete = true;
    }
}

std::string Reading::Attribute(std::string_view name) const {
    for (auto rest = mElement.attributes; !rest.empty(); rest = rest.subspan(kAttributeParts)) {
        if (rest[1] == nullptr && View(rest[0]) == name) {
            return std::string(View(rest[3], rest[4]));
        }
    }
    return {};
}

unsigned int Reading::NumberAttribute(std::string_view name, unsigned int otherwise) const {
    const std::string text = Attribute(name);
    unsigned int number = otherwise;
    const char* const end = text.data() + text.size();
    return std::from_chars(text.data(), end, number).ptr == end ? number : otherwise;
}

// Names, numbers and formulas are ASCII: all other encodings than Unicode's are read as Latin-1,
// and so are tool tips that were written by hand in a text that is said to be UTF-8 and is not.
const char* FindEncoding(const std::string& xml) {
    return xmlCheckUTF8(reinterpret_cast<const xmlChar*>(xml.c_str())) != 0 ? "UTF-8"
                                                                            : "ISO-8859-1";
}

NxResult ReadUtf8(const std::string& xml, NodeTable& table, DescriptionSchema& schema) {
    if (HasUnbearableTag(xml)) {
        return Refuse("it has a tag with more than 100 attributes or 1 MiB");
    }
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(xmlNewParserCtxt(),
                                                                              xmlFreeParserCtxt);
    if (parser == nullptr) {
        return Refuse("out of memory");
    }
    return Reading(parser.get(), table, schema).Run(xml, FindEncoding(xml));
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
    table = NodeTable(xml.size());
    NxResult result =
        IsUtf16(xml) ? ReadUtf8(FromUtf16(xml), table, schema) : ReadUtf8(xml, table, schema);
    if (result.IsOK()) {
        table.Finish();
        if (table.Count() == 0) {
            result = Refuse("it has no nodes");
        }
    }
    return result;
}
