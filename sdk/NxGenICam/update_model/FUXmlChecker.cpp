#include "FUXmlChecker.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "FUUnicode.h"

namespace NxGenICamLib {

namespace {

bool IsSpace(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

bool IsNameStart(unsigned int value) {
    static constexpr std::array<std::pair<unsigned int, unsigned int>, 15> kRanges = {{
        {':', ':'},
        {'A', 'Z'},
        {'_', '_'},
        {'a', 'z'},
        {0xC0, 0xD6},
        {0xD8, 0xF6},
        {0xF8, 0x2FF},
        {0x370, 0x37D},
        {0x37F, 0x1FFF},
        {0x200C, 0x200D},
        {0x2070, 0x218F},
        {0x2C00, 0x2FEF},
        {0x3001, 0xD7FF},
        {0xF900, 0xFDCF},
        {0xFDF0, 0xFFFD},
    }};
    return (value >= 0x10000 && value <= 0xEFFFF) ||
           std::any_of(kRanges.begin(), kRanges.end(), [value](const auto& range) {
               return value >= range.first && value <= range.second;
           });
}

bool IsNameCharacter(unsigned int value) {
    return IsNameStart(value) || value == '-' || value == '.' || value == 0xB7 ||
           (value >= '0' && value <= '9') || (value >= 0x300 && value <= 0x36F) ||
           value == 0x203F || value == 0x2040;
}

bool IsSameIgnoringCase(std::string_view text, std::string_view lower) {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(), [](char one, char two) {
        return (one >= 'A' && one <= 'Z' ? one | 0x20 : one) == two;
    });
}

std::string Hexadecimal(const char* format, unsigned int value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

}  // namespace

FUXmlChecker::FUXmlChecker(std::string_view text) : mText(text) {}

bool FUXmlChecker::Check() {
    if (mText.empty()) {
        return Fail(0,
                    "it is empty, or the package does not hold it, or it cannot be unpacked "
                    "(damaged, encrypted, or /tmp is full)");
    }
    if (mText.size() > kMaximumSize) {
        return Fail(0, "it is larger than " + std::to_string(kMaximumSize) + " bytes");
    }
    if (!CheckCharacters()) {
        return false;
    }
    (void)Take("\xEF\xBB\xBF");
    if (!Declaration()) {
        return false;
    }
    while (!AtEnd()) {
        if (!(Current() == '<' ? Markup() : Text())) {
            return false;
        }
    }
    if (!mOpen.empty()) {
        return Fail(mOpen.back().offset, "element " + Quoted(mOpen.back().name) + " is not closed");
    }
    return mRootSeen || Fail(mText.size(), "there is no element");
}

bool FUXmlChecker::CheckCharacters() {
    for (std::size_t offset = 0; offset < mText.size();) {
        const FUCharacter character = DecodeUtf8(mText.substr(offset));
        if (character.length == 0) {
            return Fail(offset, Hexadecimal("byte 0x%02X is not UTF-8",
                                            static_cast<unsigned char>(mText[offset])));
        }
        if (!IsXmlCharacter(character.value)) {
            return Fail(offset,
                        Hexadecimal("the character U+%04X is not allowed", character.value));
        }
        offset += character.length;
    }
    return true;
}

bool FUXmlChecker::Declaration() {
    const std::size_t start = mPosition;
    if (mText.substr(start, 5) != "<?xml" || mText.size() <= start + 5 ||
        !IsSpace(mText[start + 5])) {
        return true;
    }
    mPosition += 5;
    static constexpr std::array<const char*, 3> kNames = {"version", "encoding", "standalone"};
    std::array<bool, 3> seen{};
    for (std::size_t next = 0; SkipSpace() && Current() != '?';) {
        const std::size_t nameOffset = mPosition;
        const std::string_view name = ReadName();
        const auto* const found = std::find(kNames.begin() + next, kNames.end(), name);
        if (found == kNames.end()) {
            return Fail(nameOffset, "the XML declaration is malformed");
        }
        const auto index = static_cast<std::size_t>(found - kNames.begin());
        (void)SkipSpace();
        const bool equals = Take("=");
        (void)SkipSpace();
        const std::size_t valueOffset = mPosition;
        const char quote = Current();
        const std::size_t end = equals && (quote == '"' || quote == '\'')
                                    ? mText.find(quote, valueOffset + 1)
                                    : std::string_view::npos;
        if (end == std::string_view::npos) {
            return Fail(valueOffset, "the XML declaration is malformed");
        }
        const std::string_view value = mText.substr(valueOffset + 1, end - valueOffset - 1);
        if (index == 0 && value != "1.0") {
            return Fail(valueOffset, "the XML version must be 1.0");
        }
        if (index == 1 && !IsSameIgnoringCase(value, "utf-8")) {
            return Fail(valueOffset, "the encoding must be UTF-8");
        }
        if (index == 2 && value != "yes" && value != "no") {
            return Fail(valueOffset, "the XML declaration is malformed");
        }
        mPosition = end + 1;
        seen[index] = true;
        next = index + 1;
    }
    return (seen[0] && Take("?>")) || Fail(start, "the XML declaration is malformed");
}

bool FUXmlChecker::Markup() {
    const std::size_t start = mPosition;
    if (Take("<!--")) {
        return Comment();
    }
    if (Take("<![CDATA[")) {
        return CharacterData();
    }
    if (Take("<!")) {
        return Fail(start, "document type and other declarations are not allowed");
    }
    if (Take("<?")) {
        return Instruction();
    }
    if (Take("</")) {
        return EndTag();
    }
    return StartTag();
}

bool FUXmlChecker::Comment() {
    const std::size_t start = mPosition - 4;
    if (!SkipPast("--")) {
        return Fail(start, "the comment is not closed");
    }
    return Take(">") || Fail(mPosition - 2, "\"--\" is not allowed within a comment");
}

bool FUXmlChecker::Instruction() {
    const std::size_t start = mPosition - 2;
    const std::string_view target = ReadName();
    if (target.empty()) {
        return Fail(start, "a processing instruction needs a name");
    }
    if (IsSameIgnoringCase(target, "xml")) {
        return Fail(start, "an XML declaration must be the very first text");
    }
    if (!IsSpace(Current()) && mText.substr(mPosition, 2) != "?>") {
        return Fail(mPosition, "a space is missing in a processing instruction");
    }
    return SkipPast("?>") || Fail(start, "the processing instruction is not closed");
}

bool FUXmlChecker::CharacterData() {
    const std::size_t start = mPosition - 9;
    if (mOpen.empty()) {
        return Fail(start, "text is not allowed outside the root element");
    }
    return SkipPast("]]>") || Fail(start, "the CDATA section is not closed");
}

bool FUXmlChecker::StartTag() {
    const std::size_t start = mPosition++;
    const std::string_view name = ReadName();
    if (name.empty()) {
        return Fail(start, "\"<\" must begin a tag, or be written as \"&lt;\"");
    }
    if (mOpen.empty() && mRootSeen) {
        return Fail(start, "a second root element " + Quoted(name));
    }
    if (mOpen.size() == kMaximumDepth) {
        return Fail(start, "elements are nested deeper than " + std::to_string(kMaximumDepth));
    }
    mRootSeen = true;
    std::vector<std::string_view> names;
    for (;;) {
        const bool spaced = SkipSpace();
        if (Take("/>")) {
            return true;
        }
        if (Take(">")) {
            mOpen.push_back({name, start});
            return true;
        }
        if (AtEnd() || Current() == '<') {
            return Fail(start, "the tag of " + Quoted(name) + " is not closed");
        }
        if (!spaced) {
            return Fail(mPosition, "a space is missing in the tag of " + Quoted(name));
        }
        if (!Attribute(names)) {
            return false;
        }
    }
}

bool FUXmlChecker::Attribute(std::vector<std::string_view>& names) {
    static constexpr std::size_t kMaximumAttributes = 16;
    const std::size_t start = mPosition;
    const std::string_view name = ReadName();
    if (name.empty()) {
        return Fail(start, "an attribute name is expected");
    }
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        return Fail(start, "the attribute " + Quoted(name) + " stands twice");
    }
    if (names.size() == kMaximumAttributes) {
        return Fail(start, "more than " + std::to_string(kMaximumAttributes) +
                               " attributes of one element");
    }
    names.push_back(name);
    (void)SkipSpace();
    if (!Take("=")) {
        return Fail(mPosition, "the attribute " + Quoted(name) + " needs \"=\" and a value");
    }
    (void)SkipSpace();
    const char quote = Current();
    if (quote != '"' && quote != '\'') {
        return Fail(mPosition, "the value of " + Quoted(name) + " must stand in quotes");
    }
    const std::size_t valueStart = mPosition++;
    while (!AtEnd() && Current() != quote) {
        if (Current() == '<') {
            return Fail(mPosition, "\"<\" must be written as \"&lt;\" in an attribute");
        }
        if (Current() == '&') {
            if (!Reference()) {
                return false;
            }
            continue;
        }
        ++mPosition;
    }
    return Take({&quote, 1}) || Fail(valueStart, "the value of " + Quoted(name) + " is not closed");
}

bool FUXmlChecker::EndTag() {
    const std::size_t start = mPosition - 2;
    const std::string_view name = ReadName();
    (void)SkipSpace();
    if (name.empty() || !Take(">")) {
        return Fail(start, "the end tag is malformed");
    }
    if (mOpen.empty()) {
        return Fail(start, "the end tag of " + Quoted(name) + " ends no element");
    }
    if (mOpen.back().name != name) {
        return Fail(start, "element " + Quoted(mOpen.back().name) + " is ended as " + Quoted(name));
    }
    mOpen.pop_back();
    return true;
}

bool FUXmlChecker::Text() {
    while (!AtEnd() && Current() != '<') {
        if (mOpen.empty() && !IsSpace(Current())) {
            return Fail(mPosition, "text is not allowed outside the root element");
        }
        if (Current() == '&') {
            if (!Reference()) {
                return false;
            }
            continue;
        }
        if (mText.substr(mPosition, 3) == "]]>") {
            return Fail(mPosition, "\"]]>\" is not allowed in text");
        }
        ++mPosition;
    }
    return true;
}

bool FUXmlChecker::Reference() {
    static constexpr std::array<std::string_view, 5> kEntities = {"amp", "lt", "gt", "quot",
                                                                  "apos"};
    const std::size_t start = mPosition;
    const std::size_t end = mText.find(';', start);
    if (end != std::string_view::npos) {
        const std::string_view name = mText.substr(start + 1, end - start - 1);
        if (std::find(kEntities.begin(), kEntities.end(), name) != kEntities.end() ||
            IsCharacterReference(name)) {
            mPosition = end + 1;
            return true;
        }
    }
    return Fail(start, "\"&\" must begin a known reference, or be written as \"&amp;\"");
}

bool FUXmlChecker::IsCharacterReference(std::string_view name) const {
    if (name.size() < 2 || name[0] != '#') {
        return false;
    }
    const bool hexadecimal = name[1] == 'x';
    name.remove_prefix(hexadecimal ? 2 : 1);
    unsigned int value = 0;
    const auto [end, error] =
        std::from_chars(name.data(), name.data() + name.size(), value, hexadecimal ? 16 : 10);
    return error == std::errc() && end == name.data() + name.size() && IsXmlCharacter(value);
}

std::string_view FUXmlChecker::ReadName() {
    const std::size_t start = mPosition;
    while (!AtEnd()) {
        const FUCharacter character = DecodeUtf8(mText.substr(mPosition));
        if (mPosition == start ? !IsNameStart(character.value)
                               : !IsNameCharacter(character.value)) {
            break;
        }
        mPosition += character.length;
    }
    return mText.substr(start, mPosition - start);
}

bool FUXmlChecker::SkipSpace() {
    const std::size_t start = mPosition;
    while (!AtEnd() && IsSpace(Current())) {
        ++mPosition;
    }
    return mPosition > start;
}

bool FUXmlChecker::Take(std::string_view text) {
    if (mText.substr(mPosition, text.size()) != text) {
        return false;
    }
    mPosition += text.size();
    return true;
}

bool FUXmlChecker::SkipPast(std::string_view closing) {
    const std::size_t found = mText.find(closing, mPosition);
    if (found == std::string_view::npos) {
        return false;
    }
    mPosition = found + closing.size();
    return true;
}

bool FUXmlChecker::Fail(std::size_t offset, const std::string& what) {
    mErrorOffset = offset;
    mError = what;
    return false;
}

}  // namespace NxGenICamLib
