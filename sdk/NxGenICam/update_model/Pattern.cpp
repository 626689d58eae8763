#define PCRE2_CODE_UNIT_WIDTH 8

#include "Pattern.h"

#include <pcre2.h>

#include <array>
#include <string_view>

namespace NxGenICamLib {

namespace {

constexpr std::uint32_t kSteps = 200000;
constexpr std::uint32_t kHeapKiB = 4096;

// Of a compiled pattern, in bytes. Repeated groups multiply, and a manifest may have thousands of
// patterns: a larger one is compiled for each match.
constexpr std::size_t kLargestKept = std::size_t{4} * 1024;

constexpr std::uint32_t kDeepest = 4;  // groups within groups

// As ECMAScript (edition 5.1, section 15.10) has it where the two differ.
constexpr std::uint32_t kCompileOptions =
    PCRE2_UTF | PCRE2_ANCHORED | PCRE2_ENDANCHORED | PCRE2_DOLLAR_ENDONLY | PCRE2_ALT_BSUX |
    PCRE2_ALLOW_EMPTY_CLASS | PCRE2_MATCH_UNSET_BACKREF | PCRE2_NEVER_BACKSLASH_C;

struct Deleter {
    void operator()(pcre2_compile_context* context) const { pcre2_compile_context_free(context); }
    void operator()(pcre2_code* code) const { pcre2_code_free(code); }
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
    void operator()(pcre2_match_context* context) const { pcre2_match_context_free(context); }
};

template <typename Type>
using Owned = std::unique_ptr<Type, Deleter>;

PCRE2_SPTR Units(const std::string& text) {
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

std::string AtByte(std::size_t offset) {
    return " (byte " + std::to_string(offset + 1) + ")";
}

// The words that ECMAScript has too. Without this limit a manifest could use recursion and verbs,
// and a word that PCRE2 and ECMAScript read differently, such as \x{41} or \11, would silently mean
// the other.
constexpr std::string_view kEcmaScriptWords = R"((?x)
    (?: \\ (?: [dDsSwWtnvfrbB] | x[[:xdigit:]]{2} | u[[:xdigit:]]{4} | [1-9](?![0-9]) | [^[:alnum:]] )
      | \[ (?! \] ) \^? (?: [^\]\\\[] | \[ (?! [:.=] )
          | \\ (?: [dDsSwWtnvfrb] | x[[:xdigit:]]{2} | u[[:xdigit:]]{4} | [^[:alnum:]] ) )* \]
      | \( (?: \?[:=!] | (?! [?*] ) ) | \)
      | (?: [*+?] | \{ [0-9]+ (?: , [0-9]* )? \} ) \?? (?! \+ )
      | [^\\\[\](){}*+?]
    )*+ )";

/// @return how many bytes of the pattern, which PCRE2 takes, are such words
std::size_t MatchEcmaScriptWords(const std::string& pattern) {
    static const Owned<pcre2_code> kWords = [] {
        int error = 0;
        PCRE2_SIZE offset = 0;
        return Owned<pcre2_code>(pcre2_compile(
            reinterpret_cast<PCRE2_SPTR>(kEcmaScriptWords.data()), kEcmaScriptWords.size(),
            PCRE2_UTF | PCRE2_ANCHORED | PCRE2_DOTALL, &error, &offset, nullptr));
    }();
    const Owned<pcre2_match_data> data(pcre2_match_data_create(1, nullptr));
    const bool isMatched =
        kWords && data &&
        pcre2_match(kWords.get(), Units(pattern), pattern.size(), 0, 0, data.get(), nullptr) > 0;
    return isMatched ? pcre2_get_ovector_pointer(data.get())[1] : 0;
}

Owned<pcre2_code> CompileCode(const std::string& pattern, int& error, PCRE2_SIZE& offset) {
    const Owned<pcre2_compile_context> context(pcre2_compile_context_create(nullptr));
    if (!context) {
        error = PCRE2_ERROR_NOMEMORY;
        return nullptr;
    }
    pcre2_set_newline(context.get(), PCRE2_NEWLINE_ANY);
    pcre2_set_parens_nest_limit(context.get(), kDeepest);
    return Owned<pcre2_code>(pcre2_compile(Units(pattern), pattern.size(), kCompileOptions, &error,
                                           &offset, context.get()));
}

}  // namespace

class Pattern::Impl {
  public:
    Owned<pcre2_code> code;
    std::string largePattern;  ///< whose code is not kept
    Owned<pcre2_match_context> context;
};

Pattern::Pattern() : mImpl(std::make_unique<Impl>()) {}
Pattern::~Pattern() = default;
Pattern::Pattern(Pattern&&) noexcept = default;
Pattern& Pattern::operator=(Pattern&&) noexcept = default;

std::string Pattern::Compile(const std::string& pattern) {
    mImpl->context.reset(pcre2_match_context_create(nullptr));
    if (!mImpl->context) {
        return "out of memory";
    }
    pcre2_set_match_limit(mImpl->context.get(), kSteps);
    pcre2_set_heap_limit(mImpl->context.get(), kHeapKiB);
    int error = 0;
    PCRE2_SIZE offset = 0;
    mImpl->code = CompileCode(pattern, error, offset);
    if (!mImpl->code) {
        std::array<PCRE2_UCHAR, 128> text{};
        pcre2_get_error_message(error, text.data(), text.size());
        return reinterpret_cast<const char*>(text.data()) + AtByte(offset);
    }
    const std::size_t words = MatchEcmaScriptWords(pattern);
    if (words < pattern.size()) {
        mImpl->code.reset();
        return "unsupported syntax" + AtByte(words);
    }
    std::size_t size = 0;
    if (pcre2_pattern_info(mImpl->code.get(), PCRE2_INFO_SIZE, &size) != 0 || size > kLargestKept) {
        mImpl->code.reset();
        mImpl->largePattern = pattern;
    }
    return {};
}

Pattern::Match Pattern::Matches(const std::string& value) const {
    int error = 0;
    PCRE2_SIZE offset = 0;
    const Owned<pcre2_code> large =
        mImpl->largePattern.empty() ? nullptr : CompileCode(mImpl->largePattern, error, offset);
    const pcre2_code* code = large ? large.get() : mImpl->code.get();
    if (code == nullptr || value.size() > kMaximumValue) {
        return mImpl->largePattern.empty() || code != nullptr ? Match::kNo : Match::kTooCostly;
    }
    // Not kept: it grows with what a match needs, and a manifest may have thousands of patterns.
    const Owned<pcre2_match_data> data(pcre2_match_data_create_from_pattern(code, nullptr));
    if (!data) {
        return Match::kTooCostly;
    }
    const int result =
        pcre2_match(code, Units(value), value.size(), 0, 0, data.get(), mImpl->context.get());
    if (result == PCRE2_ERROR_MATCHLIMIT || result == PCRE2_ERROR_HEAPLIMIT ||
        result == PCRE2_ERROR_DEPTHLIMIT || result == PCRE2_ERROR_NOMEMORY) {
        return Match::kTooCostly;
    }
    // A value that is not UTF-8 is a failed match like any other.
    return result >= 0 ? Match::kYes : Match::kNo;
}

}  // namespace NxGenICamLib
