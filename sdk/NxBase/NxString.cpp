#include <NxBase/NxString.h>

#include <cstddef>
#include <cstdint>

namespace {

// A byte that is not UTF-8 becomes one of the wide characters 0xDC80 to 0xDCFF: low surrogates,
// which no valid text holds on their own.
constexpr wchar_t kEscape = 0xDC00;

bool IsEscape(wchar_t character) {
    return character >= 0xDC80 && character <= 0xDCFF;
}

bool IsContinuation(unsigned char byte) {
    return (byte & 0xC0U) == 0x80U;
}

// Length in bytes of the well-formed UTF-8 sequence at the start of `text`; 0 when there is none.
std::size_t SequenceLength(const unsigned char* text, std::size_t available) {
    const unsigned char first = text[0];
    std::size_t length = 0;
    std::uint32_t smallest = 0;
    std::uint32_t code = 0;
    if (first < 0x80U) {
        return 1;
    }
    if ((first & 0xE0U) == 0xC0U) {
        length = 2, smallest = 0x80, code = first & 0x1FU;
    } else if ((first & 0xF0U) == 0xE0U) {
        length = 3, smallest = 0x800, code = first & 0x0FU;
    } else if ((first & 0xF8U) == 0xF0U) {
        length = 4, smallest = 0x10000, code = first & 0x07U;
    } else {
        return 0;
    }
    if (length > available) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if (!IsContinuation(text[i])) {
            return 0;
        }
        code = (code << 6U) | (text[i] & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= smallest && code <= 0x10FFFF && !surrogate ? length : 0;
}

std::wstring ToWide(const std::string& narrow) {
    std::wstring wide;
    wide.reserve(narrow.size());
    const auto* bytes = reinterpret_cast<const unsigned char*>(narrow.data());
    for (std::size_t i = 0; i < narrow.size();) {
        const std::size_t length = SequenceLength(bytes + i, narrow.size() - i);
        if (length == 0) {
            wide.push_back(static_cast<wchar_t>(kEscape + bytes[i]));
            ++i;
            continue;
        }
        std::uint32_t code = length == 1 ? bytes[i] : bytes[i] & (0x7FU >> length);
        for (std::size_t k = 1; k < length; ++k) {
            code = (code << 6U) | (bytes[i + k] & 0x3FU);
        }
        wide.push_back(static_cast<wchar_t>(code));
        i += length;
    }
    return wide;
}

void AppendUtf8(std::string& narrow, std::uint32_t code) {
    const auto append = [&narrow](std::uint32_t byte) {
        narrow.push_back(static_cast<char>(byte));
    };
    if (code < 0x80) {
        append(code);
    } else if (code < 0x800) {
        append(0xC0U | (code >> 6U));
        append(0x80U | (code & 0x3FU));
    } else if (code < 0x10000) {
        append(0xE0U | (code >> 12U));
        append(0x80U | ((code >> 6U) & 0x3FU));
        append(0x80U | (code & 0x3FU));
    } else {
        append(0xF0U | (code >> 18U));
        append(0x80U | ((code >> 12U) & 0x3FU));
        append(0x80U | ((code >> 6U) & 0x3FU));
        append(0x80U | (code & 0x3FU));
    }
}

std::string ToNarrow(const std::wstring& wide) {
    std::string narrow;
    narrow.reserve(wide.size());
    for (const wchar_t character : wide) {
        if (IsEscape(character)) {
            narrow.push_back(static_cast<char>(character - kEscape));
            continue;
        }
        const auto code = static_cast<std::uint32_t>(character);
        const bool encodable = code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
        AppendUtf8(narrow, encodable ? code : 0xFFFD);
    }
    return narrow;
}

}  // namespace

NxString::NxString(const char* text) : NxString(std::string(text != nullptr ? text : "")) {}

NxString::NxString(const wchar_t* text)
    : NxString(ToNarrow(text != nullptr ? std::wstring(text) : std::wstring())) {}

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
    // Converted anew: two halves of one character may meet where the texts are joined.
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
