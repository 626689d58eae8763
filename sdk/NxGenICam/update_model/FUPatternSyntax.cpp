#include "FUPatternSyntax.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace NxGenICamLib {

namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsPunctuation(char character) {
    return character != '\0' &&
           std::strchr("!\"#$%&'()*+,-./:;<=>?@[\\]^`{|}~", character) != nullptr;
}

bool IsSurrogate(unsigned int value) {
    return value >= 0xD800 && value <= 0xDFFF;
}

}  // namespace

FUPatternSyntax::FUPatternSyntax(std::string_view pattern) : mPattern(pattern) {}

bool FUPatternSyntax::Translate() {
    while (!AtEnd()) {
        if (!Step()) {
            return false;
        }
    }
    if (mDepth > 0) {
        return Fail(mPattern.size(), "a group is not closed");
    }
    if (mHighestReference > mGroups) {
        return Fail(mHighestReferencePosition,
                    "there is no group " + std::to_string(mHighestReference));
    }
    return true;
}

bool FUPatternSyntax::Step() {
    const std::size_t start = mPosition;
    switch (Current()) {
        case '(':
            return OpenGroup();
        case ')':
            return CloseGroup();
        case '[':
            return Class();
        case '\\':
            return Escape();
        case '*':
        case '+':
        case '?':
        case '{':
            return Quantifier();
        case ']':
        case '}':
            return Fail(start,
                        std::string("\"") + Current() + "\" must be written with a backslash");
        case '|':
        case '^':
        case '$':
            mOut += Current();
            ++mPosition;
            mCanRepeat = false;
            return true;
        case '.':
            ++mPosition;
            // Line ends as ECMAScript knows them, whatever PCRE2 was built with.
            PutAtom("[^\\n\\r\\x{2028}\\x{2029}]");
            return true;
        default:
            PutCharacter(ReadLiteral());
            mCanRepeat = true;
            return true;
    }
}

bool FUPatternSyntax::OpenGroup() {
    const std::size_t start = mPosition;
    if (mDepth == kMaximumDepth) {
        return Fail(start, "groups are nested deeper than " + std::to_string(kMaximumDepth));
    }
    bool known = false;
    for (const char* opening : {"(?:", "(?=", "(?!"}) {
        if (!known && Take(opening)) {
            mOut += opening;
            known = true;
        }
    }
    if (!known) {
        (void)Take("(");
        if (Current() == '?') {
            return Fail(start, "only (?: (?= and (?! may begin a group with a question mark");
        }
        mOut += '(';
        ++mGroups;
    }
    ++mDepth;
    mCanRepeat = false;
    return true;
}

bool FUPatternSyntax::CloseGroup() {
    if (mDepth == 0) {
        return Fail(mPosition, "\")\" closes no group");
    }
    --mDepth;
    ++mPosition;
    PutAtom(")");
    return true;
}

bool FUPatternSyntax::Quantifier() {
    if (!mCanRepeat) {
        return Fail(mPosition,
                    std::string("there is nothing that \"") + Current() + "\" could repeat");
    }
    if (Current() == '{') {
        if (!Braces()) {
            return false;
        }
    } else {
        mOut += Current();
        ++mPosition;
    }
    if (Take("?")) {
        mOut += '?';
    }
    mCanRepeat = false;
    return true;
}

bool FUPatternSyntax::Braces() {
    const std::size_t start = mPosition;
    unsigned int least = 0;
    unsigned int most = 0;
    bool wellFormed = Take("{") && ReadNumber(least);
    most = least;
    bool open = false;
    if (wellFormed && Take(",")) {
        open = Current() == '}';
        wellFormed = open || ReadNumber(most);
    }
    if (!wellFormed || !Take("}")) {
        return Fail(start, "\"{\" must begin {n}, {n,} or {n,m}, or be written with a backslash");
    }
    if (least > kMaximumCount || most > kMaximumCount) {
        return Fail(start, "a count is higher than " + std::to_string(kMaximumCount));
    }
    if (!open && most < least) {
        return Fail(start, "the counts stand in the wrong order");
    }
    mOut += "{" + std::to_string(least) + (open ? "," : "," + std::to_string(most)) + "}";
    return true;
}

bool FUPatternSyntax::Escape() {
    const std::size_t start = mPosition;
    ++mPosition;
    const char letter = Current();
    if (letter == 'b' || letter == 'B') {
        mOut += '\\';
        mOut += letter;
        ++mPosition;
        mCanRepeat = false;
        return true;
    }
    if (letter != '\0' && std::strchr("dDsSwW", letter) != nullptr) {
        ++mPosition;
        PutAtom(std::string("\\") + letter);
        return true;
    }
    mPosition = start;
    if (letter >= '1' && letter <= '9') {
        return BackReference();
    }
    unsigned int value = 0;
    if (!ReadCharacterEscape(value)) {
        return false;
    }
    PutCharacter(value);
    mCanRepeat = true;
    return true;
}

bool FUPatternSyntax::BackReference() {
    const std::size_t start = mPosition;
    unsigned int group = 0;
    ++mPosition;
    (void)ReadNumber(group);
    if (group > mHighestReference) {
        mHighestReference = group;
        mHighestReferencePosition = start;
    }
    PutAtom("\\g{" + std::to_string(group) + "}");
    return true;
}

bool FUPatternSyntax::Class() {
    const std::size_t start = mPosition;
    (void)Take("[");
    if (Take("^]")) {
        PutAtom("[\\s\\S]");
        return true;
    }
    std::string_view closing = Take("^") ? "[^" : "[";
    mOut += closing;
    if (Current() == ']') {
        return Fail(start, "a class is empty");
    }
    while (!AtEnd() && Current() != ']') {
        const std::size_t itemStart = mPosition;
        ClassItem first;
        if (!ReadClassItem(first)) {
            return false;
        }
        const bool dash =
            Current() == '-' && mPosition + 1 < mPattern.size() && mPattern[mPosition + 1] != ']';
        if (!dash) {
            first.isSet ? void(mOut += first.set) : PutCharacter(first.value);
            continue;
        }
        ++mPosition;
        ClassItem last;
        if (!ReadClassItem(last)) {
            return false;
        }
        if (first.isSet || last.isSet || last.value < first.value) {
            return Fail(itemStart, "a range of a class stands in the wrong order");
        }
        PutCharacter(first.value);
        mOut += '-';
        PutCharacter(last.value);
    }
    if (!Take("]")) {
        return Fail(start, "a class is not closed");
    }
    PutAtom("]");
    return true;
}

bool FUPatternSyntax::ReadClassItem(ClassItem& item) {
    if (Current() != '\\') {
        item.value = ReadLiteral();
        return true;
    }
    const char letter = mPosition + 1 < mPattern.size() ? mPattern[mPosition + 1] : '\0';
    if (letter == 'b') {
        mPosition += 2;
        item.value = '\b';
        return true;
    }
    if (letter != '\0' && std::strchr("dDsSwW", letter) != nullptr) {
        mPosition += 2;
        item.isSet = true;
        item.set = std::string("\\") + letter;
        return true;
    }
    return ReadCharacterEscape(item.value);
}

bool FUPatternSyntax::ReadCharacterEscape(unsigned int& value) {
    static constexpr std::array<std::pair<char, unsigned int>, 5> kControls = {
        {{'t', 0x09}, {'n', 0x0A}, {'v', 0x0B}, {'f', 0x0C}, {'r', 0x0D}}};
    const std::size_t start = mPosition;
    ++mPosition;
    if (AtEnd()) {
        return Fail(start, "a backslash stands at the end");
    }
    const char letter = Current();
    ++mPosition;
    if (IsPunctuation(letter)) {
        value = static_cast<unsigned char>(letter);
        return true;
    }
    for (const auto& [name, control] : kControls) {
        if (letter == name) {
            value = control;
            return true;
        }
    }
    if ((letter == 'x' && ReadHex(2, value)) || (letter == 'u' && ReadHex(4, value))) {
        return true;
    }
    return Fail(start, "an escape that is not known");
}

bool FUPatternSyntax::ReadHex(unsigned int digits, unsigned int& value) {
    value = 0;
    for (unsigned int index = 0; index < digits; ++index, ++mPosition) {
        const char digit = Current();
        const char lower = static_cast<char>(digit | 0x20);
        unsigned int nibble = 0;
        if (IsDigit(digit)) {
            nibble = static_cast<unsigned int>(digit - '0');
        } else if (lower >= 'a' && lower <= 'f') {
            nibble = static_cast<unsigned int>(lower - 'a') + 10;
        } else {
            return false;
        }
        value = value * 16 + nibble;
    }
    return !IsSurrogate(value);
}

bool FUPatternSyntax::ReadNumber(unsigned int& value) {
    static constexpr unsigned int kHuge = 1000000;
    const std::size_t start = mPosition;
    value = 0;
    for (; IsDigit(Current()); ++mPosition) {
        value = value < kHuge ? value * 10 + static_cast<unsigned int>(Current() - '0') : kHuge;
    }
    return mPosition > start;
}

unsigned int FUPatternSyntax::ReadLiteral() {
    const auto lead = static_cast<unsigned char>(Current());
    const unsigned int following = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    unsigned int value = following == 0 ? lead : lead & (0x3FU >> following);
    ++mPosition;
    for (unsigned int index = 0; index < following && !AtEnd(); ++index, ++mPosition) {
        value = value << 6U | (static_cast<unsigned char>(Current()) & 0x3FU);
    }
    return value;
}

void FUPatternSyntax::PutCharacter(unsigned int value) {
    const bool plain = value < 0x80 && (IsDigit(static_cast<char>(value)) ||
                                        ((value | 0x20U) >= 'a' && (value | 0x20U) <= 'z'));
    if (plain) {
        mOut += static_cast<char>(value);
        return;
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "\\x{%x}", value);
    mOut += text.data();
}

void FUPatternSyntax::PutAtom(std::string_view text) {
    mOut += text;
    mCanRepeat = true;
}

bool FUPatternSyntax::Take(std::string_view text) {
    if (mPattern.substr(mPosition, text.size()) != text) {
        return false;
    }
    mPosition += text.size();
    return true;
}

bool FUPatternSyntax::Fail(std::size_t position, const std::string& what) {
    mError = what + " (character " + std::to_string(position + 1) + ")";
    return false;
}

}  // namespace NxGenICamLib
