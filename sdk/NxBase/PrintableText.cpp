#include <NxBase/PrintableText.h>

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

// The character's number; a byte that is not UTF-8 counts as its own number.
unsigned int CodePoint(std::string_view character) {
    if (character.size() == 1) {
        return ByteAt(character, 0);
    }
    unsigned int value = ByteAt(character, 0) & (0x7FU >> character.size());
    for (std::size_t i = 1; i < character.size(); ++i) {
        value = value << 6U | (ByteAt(character, i) & 0x3FU);
    }
    return value;
}

bool IsControl(unsigned int value) {
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
        const std::string_view character = text.substr(0, CharacterLength(text));
        printable += IsControl(CodePoint(character)) ? std::string_view("?") : character;
        text.remove_prefix(character.size());
    }
    return printable;
}
