#include "FUFieldRules.h"

#include <algorithm>

#include "FUUnicode.h"
#include "Pattern.h"

namespace NxGenICamLib {

namespace {

constexpr std::size_t kLongestId = 64;
constexpr std::size_t kLongestWord = 32;
constexpr std::size_t kLongestInfoName = 64;
constexpr std::size_t kLongestName = 128;
constexpr std::size_t kLongestPattern = 512;
constexpr std::size_t kLongestText = 1024;

bool IsLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsPrintable(char character) {
    return character >= 0x20 && character <= 0x7E;
}

bool IsWordCharacter(char character) {
    return IsLetter(character) || IsDigit(character) || character == '_' || character == '.' ||
           character == '-';
}

template <typename Predicate>
bool All(std::string_view text, Predicate predicate) {
    return std::all_of(text.begin(), text.end(), predicate);
}

std::string CheckLength(std::string_view text, std::size_t shortest, std::size_t longest) {
    const auto length =
        static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
            return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80;
        }));
    if (length < shortest) {
        return "must not be empty";
    }
    return length > longest ? "is longer than " + std::to_string(longest) + " characters" : "";
}

/// Such characters could steer the terminal on which the text is shown.
std::string CheckNoControls(std::string_view text) {
    while (!text.empty()) {
        const FUCharacter character = DecodeUtf8(text);
        if (character.value < 0x20 || (character.value >= 0x7F && character.value <= 0x9F)) {
            return "must not hold control characters";
        }
        text.remove_prefix(std::max<std::size_t>(character.length, 1));
    }
    return "";
}

std::string CheckText(std::string_view text, std::size_t shortest, std::size_t longest) {
    const std::string wrong = CheckLength(text, shortest, longest);
    return wrong.empty() ? CheckNoControls(text) : wrong;
}

std::string CheckId(std::string_view text) {
    if (!All(text, IsPrintable) || text.front() == ' ' || text.back() == ' ') {
        return "must be printable ASCII without spaces around it";
    }
    return "";
}

std::string CheckFileName(std::string_view text) {
    if (text.find_first_of("/\\") != std::string_view::npos) {
        return "must not hold a slash or backslash";
    }
    if (text.front() == '.') {
        return "must not begin with a dot";
    }
    if (text.find("..") != std::string_view::npos) {
        return "must not hold two dots in a row";
    }
    return All(text, IsPrintable) ? "" : "must be printable ASCII";
}

std::string CheckFeatureName(std::string_view text) {
    const bool good = !IsDigit(text.front()) && All(text, [](char character) {
        return IsLetter(character) || IsDigit(character) || character == '_';
    });
    return good ? "" : "must be letters, digits and underscores, and not begin with a digit";
}

std::string CheckPattern(std::string_view text) {
    std::string wrong = CheckNoControls(text);
    if (wrong.empty()) {
        const std::string problem = FUPattern().Compile(std::string(text));
        wrong = problem.empty() ? "" : "is not a valid regular expression: " + problem;
    }
    return wrong;
}

std::string CheckShortField(FUField field, std::string_view text, std::size_t longest) {
    std::string wrong = CheckLength(text, 1, longest);
    if (!wrong.empty()) {
        return wrong;
    }
    switch (field) {
        case FUField::kId:
            return CheckId(text);
        case FUField::kFileName:
            return CheckFileName(text);
        case FUField::kDeviceFileName:
            return All(text, IsPrintable) ? "" : "must be printable ASCII";
        case FUField::kFeatureName:
            return CheckFeatureName(text);
        case FUField::kPattern:
            return CheckPattern(text);
        case FUField::kInfoName:
            return IsLetter(text.front()) && All(text, IsWordCharacter)
                       ? ""
                       : "must be letters, digits, \"_\", \".\" and \"-\", and begin with a letter";
        default:
            return All(text, IsWordCharacter) ? ""
                                              : "must be letters, digits, \"_\", \".\" and \"-\"";
    }
}

}  // namespace

std::string NormalizeField(FUField field, std::string_view text) {
    const bool asItStands = field == FUField::kId || field == FUField::kTransport ||
                            field == FUField::kInfoName || field == FUField::kValue;
    if (asItStands) {
        return std::string(text);
    }
    std::string collapsed;
    bool gap = false;
    for (const char character : text) {
        if (character == ' ' || character == '\t' || character == '\n' || character == '\r') {
            gap = !collapsed.empty();
            continue;
        }
        if (gap) {
            collapsed += ' ';
            gap = false;
        }
        collapsed += character;
    }
    return collapsed;
}

std::string CheckField(FUField field, std::string_view text) {
    switch (field) {
        case FUField::kId:
            return CheckShortField(field, text, kLongestId);
        case FUField::kTransport:
            return CheckShortField(field, text, kLongestWord);
        case FUField::kInfoName:
            return CheckShortField(field, text, kLongestInfoName);
        case FUField::kFileName:
        case FUField::kDeviceFileName:
        case FUField::kFeatureName:
            return CheckShortField(field, text, kLongestName);
        case FUField::kPattern:
            return CheckShortField(field, text, kLongestPattern);
        case FUField::kMessage:
            return CheckText(text, 1, kLongestText);
        default:
            return CheckText(text, 0, kLongestText);
    }
}

}  // namespace NxGenICamLib
