#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include <NxGenICam/IGenFUModelBuilder.h>

#include "FUFieldRules.h"

namespace NxGenICamLib {

/// Checks a manifest, already known to be well-formed XML, against the grammar, and turns it into
/// the calls that build its model.
class FUManifestReader {
  public:
    /// One call to the builder, and where in the manifest its reason stands.
    struct Call {
        std::size_t offset;  ///< bytes from the start of the text
        std::function<NyUtilsLib::Result(IGenFUModelBuilder&)> make;
    };

    static constexpr std::size_t kMaximumProcedures = 64;
    static constexpr std::size_t kMaximumSteps = 256;  ///< of one procedure
    static constexpr std::size_t kMaximumUpdates = 256;
    static constexpr std::size_t kMaximumInfos = 32;       ///< of one update
    static constexpr std::size_t kMaximumConditions = 32;  ///< of one update

    explicit FUManifestReader(std::string_view text);

    /// @return whether the manifest keeps the grammar; if not, GetError and GetErrorOffset tell
    [[nodiscard]] bool Read();
    [[nodiscard]] const std::vector<Call>& GetCalls() const { return mCalls; }
    [[nodiscard]] const std::string& GetError() const { return mError; }
    [[nodiscard]] std::size_t GetErrorOffset() const { return mErrorOffset; }

  private:
    struct FieldRule {
        const char* name;
        FUField field;
        bool required;
    };
    using Fields = std::map<std::string, std::string>;

    bool ReadRoot(const pugi::xml_node& root);
    bool ReadRootAttributes(const pugi::xml_node& root);
    bool ReadProcedure(const pugi::xml_node& node);
    bool ReadStep(const pugi::xml_node& node);
    bool ReadUpdate(const pugi::xml_node& node);
    bool ReadInfo(const pugi::xml_node& node, std::vector<std::string>& names);
    bool ReadCondition(const pugi::xml_node& node);

    /// Reads the children of a step, which may stand in any order, each at most once.
    bool ReadFields(const pugi::xml_node& node, std::vector<FieldRule> rules, Fields& fields);
    bool ReadText(const pugi::xml_node& node, FUField field, std::string& text);
    bool ReadAttribute(const pugi::xml_node& node, const char* name, FUField field,
                       std::string& text);
    bool AllowAttributes(const pugi::xml_node& node, std::initializer_list<const char*> names);
    /// Refuses anything but elements below the node.
    bool AllowElementsOnly(const pugi::xml_node& node);
    bool AllowCount(const pugi::xml_node& node, std::size_t count, std::size_t maximum);

    void Add(const pugi::xml_node& node,
             std::function<NyUtilsLib::Result(IGenFUModelBuilder&)> make);
    [[nodiscard]] std::size_t OffsetOf(const pugi::xml_node& node) const;
    [[nodiscard]] std::size_t OffsetOf(const pugi::xml_attribute& attribute) const;
    /// Where the first visible character of a text stands.
    [[nodiscard]] std::size_t OffsetOfText(const pugi::xml_node& node) const;
    bool Fail(std::size_t offset, const std::string& what);

    std::string_view mText;
    /// pugixml parses in place, so each name and text of the document points into this copy, at
    /// the same offset as in the text.
    std::string mBuffer;
    pugi::xml_document mDocument;
    std::map<std::string, std::size_t> mProcedures;  ///< id to offset
    std::vector<Call> mCalls;
    std::string mError;
    std::size_t mErrorOffset = 0;
};

}  // namespace NxGenICamLib
