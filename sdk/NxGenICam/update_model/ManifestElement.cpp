#include "ManifestElement.h"

#include <libxml/tree.h>

namespace NxGenICamLib {

std::string ManifestElement::Name() const {
    return reinterpret_cast<const char*>(mNode->name);
}

long ManifestElement::Line() const {
    return xmlGetLineNo(mNode);
}

std::string ManifestElement::Attribute(const char* name) const {
    for (const xmlAttr* attribute = mNode->properties; attribute != nullptr;
         attribute = attribute->next) {
        if (attribute->ns == nullptr &&
            xmlStrEqual(attribute->name, reinterpret_cast<const xmlChar*>(name)) != 0) {
            return ManifestElement(reinterpret_cast<const xmlNode*>(attribute)).Text();
        }
    }
    return {};
}

std::string ManifestElement::Text() const {
    std::string text;
    for (const xmlNode* node = mNode->children; node != nullptr; node = node->next) {
        if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
            text += reinterpret_cast<const char*>(node->content);
        }
    }
    return text;
}

std::vector<ManifestElement> ManifestElement::Elements() const {
    std::vector<ManifestElement> elements;
    for (const xmlNode* node = mNode->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            elements.emplace_back(node);
        }
    }
    return elements;
}

}  // namespace NxGenICamLib
