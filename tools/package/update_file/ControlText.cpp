#include "ControlText.h"

#include <memory>

#include <libxml/xmlschemastypes.h>

#include <NxBase/Ascii.h>

std::string Collapse(const std::string& text) {
    const std::unique_ptr<xmlChar, decltype(xmlFree)> collapsed(
        xmlSchemaCollapseString(BAD_CAST text.c_str()), xmlFree);
    return collapsed ? reinterpret_cast<const char*>(collapsed.get()) : text;
}

std::string WithoutControlCharacters(const std::string& text) {
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool isC1 = text[index] == '\xC2' && index + 1 < text.size() &&
                          static_cast<unsigned char>(text[index + 1]) < 0xA0;
        if (isC1 || text[index] == '\x7F') {
            result += ' ';
            index += isC1 ? 1 : 0;
        } else {
            result += text[index];
        }
    }
    return result;
}

int LanguageDistance(const std::string& language, const std::string& wanted) {
    const std::string one = Ascii::LowerCase(language);
    const auto primary = [](const std::string& tag) { return tag.substr(0, tag.find('-')); };
    const std::string other = Ascii::LowerCase(wanted);
    if (one == other) {
        return 0;
    }
    if (!one.empty() && primary(one) == primary(other)) {
        return 1;
    }
    return one == "en" ? 2 : primary(one) == "en" ? 3 : one.empty() ? 4 : 5;
}
