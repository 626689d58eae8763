#include "XmlDocument.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

XmlDocument::XmlDocument() = default;

XmlDocument::~XmlDocument() = default;

void XmlDocument::Freer::operator()(_xmlDoc* document) const {
    xmlFreeDoc(document);
}

std::string XmlDocument::Parse(const std::string& text) {
    // Errors of encodings libxml2 would print although it is asked not to.
    xmlSetStructuredErrorFunc(nullptr, [](void*, auto) {});
    xmlResetLastError();
    mDocument.reset(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    if (!mDocument) {
        const xmlError* const error = xmlGetLastError();
        if (error == nullptr || error->message == nullptr) {
            return "not XML";
        }
        const std::string message = error->message;
        return "line " + std::to_string(error->line) + ": " + message.substr(0, message.find('\n'));
    }
    if (mDocument->intSubset != nullptr || mDocument->extSubset != nullptr) {
        return "document type declarations are not accepted";
    }
    return "";
}

XmlElement XmlDocument::Root() const {
    return XmlElement(xmlDocGetRootElement(mDocument.get()));
}
