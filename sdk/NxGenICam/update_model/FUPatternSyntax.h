#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace NxGenICamLib {

/// Checks a regular expression of a manifest against the syntax of ECMAScript (edition 5.1,
/// section 15.10, without legacy octal escapes and unescaped brackets) and rewrites it for PCRE2,
/// whose own syntax knows more and means some of it otherwise.
class FUPatternSyntax {
  public:
    static constexpr unsigned int kMaximumDepth = 4;     ///< groups within groups
    static constexpr unsigned int kMaximumCount = 1000;  ///< in {n,m}

    /// @param pattern UTF-8
    explicit FUPatternSyntax(std::string_view pattern);

    /// @return whether the whole pattern is well formed; if not, GetError says why
    [[nodiscard]] bool Translate();
    /// One line, with the position of the mistake counted in bytes from 1.
    [[nodiscard]] const std::string& GetError() const { return mError; }
    [[nodiscard]] const std::string& GetTranslation() const { return mOut; }

  private:
    struct ClassItem {
        bool isSet = false;  ///< \d and its like, which cannot begin or end a range
        unsigned int value = 0;
        std::string set;
    };

    bool Step();
    bool OpenGroup();
    bool CloseGroup();
    bool Quantifier();
    bool Braces();
    bool Escape();
    bool BackReference();
    bool Class();
    bool ReadClassItem(ClassItem& item);
    bool ReadCharacterEscape(unsigned int& value);
    bool ReadHex(unsigned int digits, unsigned int& value);
    bool ReadNumber(unsigned int& value);
    unsigned int ReadLiteral();
    void PutCharacter(unsigned int value);
    void PutAtom(std::string_view text);
    [[nodiscard]] bool AtEnd() const { return mPosition >= mPattern.size(); }
    [[nodiscard]] char Current() const { return AtEnd() ? '\0' : mPattern[mPosition]; }
    bool Take(std::string_view text);
    bool Fail(std::size_t position, const std::string& what);

    std::string_view mPattern;
    std::size_t mPosition = 0;
    std::string mOut;
    std::string mError;
    unsigned int mDepth = 0;
    unsigned int mGroups = 0;
    unsigned int mHighestReference = 0;
    std::size_t mHighestReferencePosition = 0;
    bool mCanRepeat = false;
};

}  // namespace NxGenICamLib
