#include <NxBase/PrintableText.h>

#include <NxBase/Utf8.h>

namespace {

// The character that the text begins with; a byte that is not UTF-8 counts as its own number.
Utf8::Character FirstOf(std::string_view text) {
    const Utf8::Character first = Utf8::Decode(text);
    return first.length > 0 ? first : Utf8::Character{static_cast<unsigned char>(text[0]), 1};
}

bool IsControl(char32_t value) {
    return value < 0x20 || (value >= 0x7F && value < 0xA0) || value == 0x061C || value == 0x200E ||
           value == 0x200F || (value >= 0x2028 && value <= 0x202E) ||
           (value >= 0x2066 && value <= 0x2069);
}

}  // namespace

std::string PrintableText(std::string_view text, std::size_t longest) {
    std::string printable;
    for (std::size_t count = 0; !text.empty(); ++count) {
        if (count == longest) {
            return printable + "...";
        }
        const Utf8::Character character = FirstOf(text);
        printable +=
            IsControl(character.value) ? std::string_view("?") : text.substr(0, character.length);
        text.remove_prefix(character.length);
    }
    return printable;
}
