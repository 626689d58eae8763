#include <NxBase/NxString.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

#include <NxBase/Utf8.h>

namespace {

// A byte that is not UTF-8 becomes one of the wide characters 0xDC80 to 0xDCFF: low surrogates,
// which no valid text holds on their own.
constexpr wchar_t kEscape = 0xDC00;

bool IsEscape(wchar_t character) {
    return character >= 0xDC80 && character <= 0xDCFF;
}

std::wstring ToWide(std::string_view narrow) {
    std::wstring wide;
    wide.reserve(narrow.size());
    while (!narrow.empty()) {
        const Utf8::Character character = Utf8::Decode(narrow);
        wide.push_back(character.length == 0
                           ? static_cast<wchar_t>(kEscape + static_cast<unsigned char>(narrow[0]))
                           : static_cast<wchar_t>(character.value));
        narrow.remove_prefix(std::max<std::size_t>(character.length, 1));
    }
    return wide;
}

std::string ToNarrow(std::wstring_view wide) {
    std::string narrow;
    narrow.reserve(wide.size());
    for (const wchar_t character : wide) {
        if (IsEscape(character)) {
            narrow.push_back(static_cast<char>(character - kEscape));
        } else {
            Utf8::Append(narrow, static_cast<char32_t>(character));
        }
    }
    return narrow;
}

}  // namespace

NxString::NxString(const char* text) : NxString(std::string(text != nullptr ? text : "")) {}

NxString::NxString(const wchar_t* text) : NxString(ToNarrow(text != nullptr ? text : L"")) {}

// Cut at a zero byte: both forms are handed out as zero-terminated texts and must agree.
NxString::NxString(const std::string& text)
    : mNarrow(text, 0, text.find('\0')), mWide(ToWide(mNarrow)) {}

const char* NxString::GetAscii() const {
    return mNarrow.c_str();
}

const wchar_t* NxString::GetUnicode() const {
    return mWide.c_str();
}

unsigned int NxString::GetLength() const {
    return static_cast<unsigned int>(mNarrow.size());
}

NxString& NxString::operator+=(const NxString& other) {
    // Converted again: two halves of one character may meet where the texts are joined.
    mNarrow += other.mNarrow;
    mWide = ToWide(mNarrow);
    return *this;
}

bool NxString::operator==(const NxString& other) const {
    return mNarrow == other.mNarrow;
}

bool NxString::operator!=(const NxString& other) const {
    return mNarrow != other.mNarrow;
}

bool NxString::operator==(const char* other) const {
    return mNarrow == (other != nullptr ? other : "");
}

bool NxString::operator!=(const char* other) const {
    return !(*this == other);
}
