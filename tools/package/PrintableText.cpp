#include "PrintableText.h"

#include <algorithm>

std::string PrintableText(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char byte) { return (byte >= 0 && byte < 0x20) || byte == 0x7F; }, '?');
    return text;
}
