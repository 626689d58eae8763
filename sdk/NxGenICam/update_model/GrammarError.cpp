#include "GrammarError.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include "ManifestElement.h"
#include "ManifestSchema.h"
#include "Quoted.h"

namespace NxGenICamLib {

namespace {

std::string Name(const xmlNode& node) {
    return ManifestElement(&node).Name();
}

std::string Tag(const xmlNode& node) {
    const std::string quoted = Quoted(Name(node));
    return "<" + quoted.substr(1, quoted.size() - 2) + ">";
}

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

/// What the schema says an element or attribute may hold; empty when it says nothing.
/// @param kind "element" or "attribute"
std::string Documentation(const std::string& kind, const std::string& name) {
    const std::string_view text = ManifestSchema();
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> schema(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0), xmlFreeDoc);
    const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(
        schema ? xmlXPathNewContext(schema.get()) : nullptr, xmlXPathFreeContext);
    if (!context) {
        return {};
    }
    xmlXPathRegisterNs(context.get(), BAD_CAST "xs", BAD_CAST "http://www.w3.org/2001/XMLSchema");
    const std::string declaration = "//xs:" + kind + "[@name='" + name + "']";
    // A type of its own within the declaration, a named one, or the named one that it extends.
    const std::string path = "string((" + declaration + "/* | /*/*[@name=" + declaration +
                             "/@type or @name=" + declaration +
                             "/*/*/xs:extension/@base])/xs:annotation/xs:documentation)";
    const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> found(
        xmlXPathEvalExpression(BAD_CAST path.c_str(), context.get()), xmlXPathFreeObject);
    return found && found->stringval != nullptr ? reinterpret_cast<const char*>(found->stringval)
                                                : "";
}

/// The element beside this one that has the same value of the attribute and comes first.
const xmlNode* FirstWithSame(const xmlNode& node, const char* attribute) {
    const std::string value = ManifestElement(&node).Attribute(attribute);
    for (const xmlNode* one = node.parent->children; one != &node; one = one->next) {
        if (one->type == XML_ELEMENT_NODE && Name(*one) == Name(node) &&
            ManifestElement(one).Attribute(attribute) == value) {
            return one;
        }
    }
    return &node;
}

/// The line of the first text in an element that may hold elements only.
long LineOfText(const xmlNode& node) {
    for (const xmlNode* one = node.children; one != nullptr; one = one->next) {
        if (one->type == XML_CDATA_SECTION_NODE ||
            (one->type == XML_TEXT_NODE && xmlIsBlankNode(one) == 0)) {
            // libxml2 gives the line on which the text ends.
            const std::string_view text = reinterpret_cast<const char*>(one->content);
            const std::size_t visible = std::min(text.find_first_not_of(" \t\r\n"), text.size());
            return xmlGetLineNo(one) -
                   std::count(text.begin() + static_cast<long>(visible), text.end(), '\n');
        }
    }
    return xmlGetLineNo(&node);
}

}  // namespace

void GrammarError::KeepFirst(const _xmlError& error) {
    if (mCode != 0 || error.level < XML_ERR_ERROR) {
        return;
    }
    mCode = error.code;
    mNode = static_cast<const xmlNode*>(error.node);
    mLine = error.line;
    mMessage = error.message != nullptr ? error.message : "it is not valid";
    mValue = error.str2 != nullptr ? error.str2 : "";
}

long GrammarError::Line() const {
    if (mNode == nullptr) {
        return mLine;
    }
    return mCode == XML_SCHEMAV_CVC_COMPLEX_TYPE_2_3 ? LineOfText(*mNode) : xmlGetLineNo(mNode);
}

std::string GrammarError::Describe() const {
    if (mCode == XML_SCHEMAV_CVC_IDC) {
        return DescribeIdentity();
    }
    if (mNode == nullptr) {
        return mMessage;
    }
    switch (mCode) {
        case XML_SCHEMAV_CVC_ELT_1:
            return "the root element must be <FirmwareUpdate> without a namespace, not " +
                   Tag(*mNode);
        case XML_SCHEMAV_CVC_COMPLEX_TYPE_2_3:
            return "text is not allowed in " + Tag(*mNode);
        case XML_SCHEMAV_ELEMENT_CONTENT: {
            const bool isMissing = Contains(mMessage, "Missing child");
            const xmlNode& parent = isMissing ? *mNode : *mNode->parent;
            return Tag(*mNode) +
                   (isMissing ? " is incomplete: it" : " is not expected here: " + Tag(parent)) +
                   " holds " + Documentation("element", Name(parent));
        }
        default:
            return mCode >= XML_SCHEMAV_CVC_LENGTH_VALID &&
                           mCode <= XML_SCHEMAV_CVC_ENUMERATION_VALID
                       ? DescribeValue()
                       : mMessage;
    }
}

std::string GrammarError::DescribeIdentity() const {
    if (mNode == nullptr) {
        // A reference: mValue is "['id']".
        return "unknown procedure id " +
               Quoted(mValue.size() > 4 ? mValue.substr(2, mValue.size() - 4) : mValue);
    }
    const bool isProcedure = Name(*mNode) == "Procedure";
    const char* const attribute = isProcedure ? "Id" : "Name";
    return (isProcedure ? "duplicate procedure id " : "duplicate info ") +
           Quoted(ManifestElement(mNode).Attribute(attribute)) + " (first defined on line " +
           std::to_string(xmlGetLineNo(FirstWithSame(*mNode, attribute))) + ")";
}

std::string GrammarError::DescribeValue() const {
    // Of an attribute libxml2 gives the element, and the attribute's name in its words only.
    static constexpr std::string_view kMark = "', attribute '";
    const std::size_t mark = mMessage.find(kMark);
    std::string place = Tag(*mNode);
    std::string value = ManifestElement(mNode).Text();
    std::string rule;
    if (mark == std::string::npos) {
        rule = Documentation("element", Name(*mNode));
    } else {
        const std::size_t begin = mark + kMark.size();
        const std::string name = mMessage.substr(begin, mMessage.find('\'', begin) - begin);
        place = "\"" + name + "\" of " + place;
        value = ManifestElement(mNode).Attribute(name.c_str());
        rule = Documentation("attribute", name);
    }
    return rule.empty() ? mMessage : place + " is " + Quoted(value) + ", but must be " + rule;
}

}  // namespace NxGenICamLib
