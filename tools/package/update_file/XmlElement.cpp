#include "XmlElement.h"

#include <libxml/tree.h>

namespace {

std::string Utf8(const xmlChar* text) {
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

std::string TextOf(const xmlNode* first) {
    std::string text;
    for (const xmlNode* node = first; node != nullptr; node = node->next) {
        if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
            text += Utf8(node->content);
        }
    }
    return text;
}

}  // namespace

std::string XmlElement::LocalName() const {
    return Utf8(mNode->name);
}

std::string XmlElement::Namespace() const {
    return mNode->ns != nullptr ? Utf8(mNode->ns->href) : "";
}

std::vector<XmlElement> XmlElement::Elements() const {
    std::vector<XmlElement> elements;
    for (const xmlNode* node = mNode->children; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            elements.emplace_back(node);
        }
    }
    return elements;
}

std::string XmlElement::Text() const {
    return TextOf(mNode->children);
}

std::string XmlElement::Attribute(const std::string& name) const {
    for (const xmlAttr* attribute = mNode->properties; attribute != nullptr;
         attribute = attribute->next) {
        if (attribute->ns == nullptr && Utf8(attribute->name) == name) {
            return TextOf(attribute->children);
        }
    }
    return "";
}

std::vector<std::string> XmlElement::AttributeNames() const {
    std::vector<std::string> names;
    for (const xmlAttr* attribute = mNode->properties; attribute != nullptr;
         attribute = attribute->next) {
        names.push_back(Utf8(attribute->name));
    }
    return names;
}
