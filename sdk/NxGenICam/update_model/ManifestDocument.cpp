#include "ManifestDocument.h"

#include <algorithm>
#include <mutex>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlschemas.h>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>

#include "GrammarError.h"
#include "ManifestSchema.h"

namespace NxGenICamLib {

namespace {

// What libxml2 would print by itself, such as that no memory is left.
class Silence {
  public:
    Silence() : mHandler(xmlStructuredError), mContext(xmlStructuredErrorContext) {
        xmlSetStructuredErrorFunc(nullptr, [](void*, auto) {});
    }
    ~Silence() { xmlSetStructuredErrorFunc(mContext, mHandler); }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

  private:
    xmlStructuredErrorFunc mHandler;
    void* mContext;
};

struct XmlError {
    long line = 0;  ///< 0 while there is none
    int column = 0;
    std::string what;
};

void KeepFirst(void* parser, const xmlError& error) {
    auto& kept = *static_cast<XmlError*>(static_cast<xmlParserCtxtPtr>(parser)->_private);
    // Errors of namespaces are not fatal to libxml2.
    if (kept.line == 0 && error.level >= XML_ERR_ERROR) {
        kept = {std::max(error.line, 1), error.int2, error.message != nullptr ? error.message : ""};
    }
}

void Stop(xmlParserCtxtPtr parser, const std::string& what) {
    auto& kept = *static_cast<XmlError*>(parser->_private);
    if (kept.line == 0) {
        kept = {xmlSAX2GetLineNumber(parser), 0, what};
    }
    xmlStopParser(parser);
}

// libxml2's time goes with the square of the number: 30,000 in one element would take 10 s.
void LimitAttributes(void* context, const xmlChar* name, const xmlChar* prefix,
                     const xmlChar* space, int spaceCount, const xmlChar** spaces, int count,
                     int defaulted, const xmlChar** attributes) {
    static constexpr int kMost = 16;
    if (count + spaceCount > kMost) {
        Stop(static_cast<xmlParserCtxtPtr>(context),
             "more than " + std::to_string(kMost) + " attributes of one element");
        return;
    }
    xmlSAX2StartElementNs(context, name, prefix, space, spaceCount, spaces, count, defaulted,
                          attributes);
}

bool IsUtf8(const xmlChar* encoding) {
    return encoding == nullptr || xmlStrcasecmp(encoding, BAD_CAST "UTF-8") == 0;
}

/// Compiled once and only read from then on, by all threads; kept until the process ends.
xmlSchemaPtr Schema() {
    static const xmlSchemaPtr kSchema = [] {
        const std::string_view text = ManifestSchema();
        const std::unique_ptr<xmlSchemaParserCtxt, decltype(&xmlSchemaFreeParserCtxt)> parser(
            xmlSchemaNewMemParserCtxt(text.data(), static_cast<int>(text.size())),
            xmlSchemaFreeParserCtxt);
        return parser ? xmlSchemaParse(parser.get()) : nullptr;
    }();
    return kSchema;
}

}  // namespace

ManifestDocument::ManifestDocument() {
    static std::once_flag initialised;
    std::call_once(initialised, xmlInitParser);
}

ManifestDocument::~ManifestDocument() = default;

void ManifestDocument::Freer::operator()(_xmlDoc* document) const {
    xmlFreeDoc(document);
}

NyUtilsLib::Result ManifestDocument::Read(const std::string& text) {
    if (text.empty()) {
        return RefuseManifest(1,
                              "it is empty, missing from the package, or cannot be unpacked "
                              "(damaged, encrypted, or /tmp is full)");
    }
    if (text.size() > kMaximumSize) {
        return RefuseManifest(1, "it is larger than " + std::to_string(kMaximumSize) + " bytes");
    }
    const Silence silence;
    NyUtilsLib::Result result = Parse(text);
    return result.GetCode() != 0 ? result : Validate();
}

ManifestElement ManifestDocument::Root() const {
    return ManifestElement(xmlDocGetRootElement(mDocument.get()));
}

NyUtilsLib::Result ManifestDocument::Parse(const std::string& text) {
    const std::size_t zero = text.find('\0');
    if (zero != std::string::npos) {
        // libxml2 takes it for the end of the text.
        return RefuseManifest(
            std::count(text.begin(), text.begin() + static_cast<long>(zero), '\n') + 1,
            "the character U+0000 is not allowed");
    }
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(xmlNewParserCtxt(),
                                                                              xmlFreeParserCtxt);
    if (!parser) {
        return RefuseManifest(1, "out of memory");
    }
    XmlError error;
    parser->_private = &error;
    parser->sax->serror = [](void* context, auto one) { KeepFirst(context, *one); };
    parser->sax->internalSubset = [](void* context, auto, auto, auto) {
        Stop(static_cast<xmlParserCtxtPtr>(context), "a document type declaration is not allowed");
    };
    parser->sax->startElementNs = LimitAttributes;
    mDocument.reset(xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()),
                                      nullptr, "UTF-8", XML_PARSE_NONET | XML_PARSE_BIG_LINES));
    if (error.line != 0) {
        return RefuseManifest(error.line, error.what, error.column);
    }
    if (!mDocument) {
        return RefuseManifest(1, "out of memory");
    }
    if (xmlStrEqual(mDocument->version, BAD_CAST "1.0") == 0) {
        return RefuseManifest(1, "the XML version must be 1.0");
    }
    // The text is read as UTF-8 in any case; what it declares is kept at one place or the other.
    if (!IsUtf8(mDocument->encoding) ||
        !IsUtf8(parser->input != nullptr ? parser->input->encoding : nullptr)) {
        return RefuseManifest(1, "the encoding must be UTF-8");
    }
    return {};
}

NyUtilsLib::Result ManifestDocument::Validate() const {
    const std::unique_ptr<xmlSchemaValidCtxt, decltype(&xmlSchemaFreeValidCtxt)> validator(
        Schema() != nullptr ? xmlSchemaNewValidCtxt(Schema()) : nullptr, xmlSchemaFreeValidCtxt);
    if (!validator) {
        return RefuseManifest(1, "out of memory");
    }
    GrammarError error;
    xmlSchemaSetValidStructuredErrors(
        validator.get(),
        [](void* first, auto one) { static_cast<GrammarError*>(first)->KeepFirst(*one); }, &error);
    if (xmlSchemaValidateDoc(validator.get(), mDocument.get()) != 0) {
        const std::string what = error.Describe();
        return RefuseManifest(error.Line(), what.empty() ? "it cannot be validated" : what);
    }
    return {};
}

NyUtilsLib::Result RefuseManifest(long line, std::string_view what, int column) {
    static constexpr std::size_t kLongest = 1024;
    return NyUtilsLib::Result(kNxBadManifest,
                              "Manifest.xml:" + std::to_string(line) + ":" +
                                  (column > 0 ? std::to_string(column) + ": " : " ") +
                                  PrintableText(what.substr(0, what.find('\n')), kLongest));
}

}  // namespace NxGenICamLib
