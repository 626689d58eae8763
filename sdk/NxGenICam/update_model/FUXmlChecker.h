#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace NxGenICamLib {

/// Checks that a text is well-formed XML 1.0 in UTF-8 (W3C, Extensible Markup Language 1.0, fifth
/// edition), without a document type declaration. pugixml, which reads it afterwards, lets much
/// pass that XML forbids, and says less about where.
class FUXmlChecker {
  public:
    static constexpr std::size_t kMaximumSize{256U << 10U};  ///< bytes
    static constexpr std::size_t kMaximumDepth = 16;         ///< elements within elements

    explicit FUXmlChecker(std::string_view text);

    /// @return whether nothing is wrong; if not, GetError and GetErrorOffset tell
    [[nodiscard]] bool Check();
    [[nodiscard]] const std::string& GetError() const { return mError; }
    /// In bytes from the start of the text.
    [[nodiscard]] std::size_t GetErrorOffset() const { return mErrorOffset; }

  private:
    bool CheckCharacters();
    bool Declaration();
    bool Markup();
    bool Comment();
    bool Instruction();
    bool CharacterData();
    bool StartTag();
    bool Attribute(std::vector<std::string_view>& names);
    bool EndTag();
    bool Text();
    bool Reference();
    [[nodiscard]] bool IsCharacterReference(std::string_view name) const;

    std::string_view ReadName();
    bool SkipSpace();
    bool Take(std::string_view text);
    bool SkipPast(std::string_view closing);
    [[nodiscard]] bool AtEnd() const { return mPosition >= mText.size(); }
    [[nodiscard]] char Current() const { return AtEnd() ? '\0' : mText[mPosition]; }
    bool Fail(std::size_t offset, const std::string& what);

    struct OpenElement {
        std::string_view name;
        std::size_t offset;
    };

    std::string_view mText;
    std::size_t mPosition = 0;
    std::vector<OpenElement> mOpen;
    bool mRootSeen = false;
    std::string mError;
    std::size_t mErrorOffset = 0;
};

}  // namespace NxGenICamLib
