#include <NxSystem/PrintableText.h>

namespace {

unsigned char ByteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// Number of bytes of the character that the text begins with; 1 when it begins with no UTF-8.
std::size_t CharacterLength(std::string_view text) {
    const unsigned char first = ByteAt(text, 0);
    const unsigned char second = ByteAt(text, 1);
    const std::size_t length = first >= 0xC2 && first < 0xE0   ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 1;
    // Longer than needed, which no UTF-8 is.
    if ((first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90)) {
        return 1;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((ByteAt(text, i) & 0xC0U) != 0x80) {
            return 1;
        }
    }
    return length;
}

bool IsControl(std::string_view character) {
    const unsigned char first = ByteAt(character, 0);
    if (character.size() == 1) {
        return first < 0x20 || (first >= 0x7F && first < 0xA0);
    }
    return character.size() == 2 && first == 0xC2 && ByteAt(character, 1) < 0xA0;
}

}  // namespace

std::string PrintableText(std::string_view text) {
    std::string printable;
    while (!text.empty()) {
        const std::string_view character = text.substr(0, CharacterLength(text));
        printable += IsControl(character) ? std::string_view("?") : character;
        text.remove_prefix(character.size());
    }
    return printable;
}
