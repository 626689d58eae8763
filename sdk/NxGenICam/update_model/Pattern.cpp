#define PCRE2_CODE_UNIT_WIDTH 8

#include "Pattern.h"

#include <pcre2.h>

#include <array>

#include "FUPatternSyntax.h"

namespace NxGenICamLib {

namespace {

constexpr std::uint32_t kSteps = 200000;
constexpr std::uint32_t kHeapKiB = 4096;

constexpr std::uint32_t kCompileOptions = PCRE2_UTF | PCRE2_ANCHORED | PCRE2_ENDANCHORED |
                                          PCRE2_DOLLAR_ENDONLY | PCRE2_MATCH_UNSET_BACKREF |
                                          PCRE2_NEVER_BACKSLASH_C;

struct Deleter {
    void operator()(pcre2_code* code) const { pcre2_code_free(code); }
    void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
    void operator()(pcre2_match_context* context) const { pcre2_match_context_free(context); }
};

template <typename Type>
using Owned = std::unique_ptr<Type, Deleter>;

PCRE2_SPTR Units(const std::string& text) {
    return reinterpret_cast<PCRE2_SPTR>(text.data());
}

}  // namespace

class FUPattern::Impl {
  public:
    std::string Compile(const std::string& pattern) {
        FUPatternSyntax syntax(pattern);
        if (!syntax.Translate()) {
            return syntax.GetError();
        }
        const std::string& translation = syntax.GetTranslation();
        int error = 0;
        PCRE2_SIZE offset = 0;
        mCode.reset(pcre2_compile(Units(translation), translation.size(), kCompileOptions, &error,
                                  &offset, nullptr));
        mContext.reset(pcre2_match_context_create(nullptr));
        mData.reset(mCode ? pcre2_match_data_create_from_pattern(mCode.get(), nullptr) : nullptr);
        if (!mCode) {
            std::array<PCRE2_UCHAR, 128> text{};
            pcre2_get_error_message(error, text.data(), text.size());
            return reinterpret_cast<const char*>(text.data());
        }
        if (!mContext || !mData) {
            return "out of memory";
        }
        pcre2_set_match_limit(mContext.get(), kSteps);
        pcre2_set_heap_limit(mContext.get(), kHeapKiB);
        return {};
    }

    Match Matches(const std::string& value) const {
        if (!mCode || value.size() > kMaximumValue) {
            return Match::kNo;
        }
        const int result =
            pcre2_match(mCode.get(), Units(value), value.size(), 0, 0, mData.get(), mContext.get());
        if (result == PCRE2_ERROR_MATCHLIMIT || result == PCRE2_ERROR_HEAPLIMIT ||
            result == PCRE2_ERROR_DEPTHLIMIT || result == PCRE2_ERROR_NOMEMORY) {
            return Match::kTooCostly;
        }
        // A value that is not UTF-8 is a failed match like any other.
        return result >= 0 ? Match::kYes : Match::kNo;
    }

  private:
    Owned<pcre2_code> mCode;
    Owned<pcre2_match_context> mContext;
    Owned<pcre2_match_data> mData;
};

FUPattern::FUPattern() : mImpl(std::make_unique<Impl>()) {}
FUPattern::~FUPattern() = default;
FUPattern::FUPattern(FUPattern&&) noexcept = default;
FUPattern& FUPattern::operator=(FUPattern&&) noexcept = default;

std::string FUPattern::Compile(const std::string& pattern) {
    return mImpl->Compile(pattern);
}

FUPattern::Match FUPattern::Matches(const std::string& value) const {
    return mImpl->Matches(value);
}

}  // namespace NxGenICamLib
