#pragma once

#include <string>

struct _xmlError;  // NOLINT(bugprone-reserved-identifier): libxml2 names it so
struct _xmlNode;   // NOLINT(bugprone-reserved-identifier)

namespace NxGenICamLib {

/// The first mistake that libxml2 finds when it validates a document, which must outlive it.
class GrammarError {
  public:
    void KeepFirst(const _xmlError& error);

    [[nodiscard]] long Line() const;
    /// One sentence. What an element may hold is quoted from the schema's documentation; where
    /// nothing here says it better, the words are libxml2's.
    [[nodiscard]] std::string Describe() const;

  private:
    [[nodiscard]] std::string DescribeIdentity() const;
    [[nodiscard]] std::string DescribeValue() const;

    int mCode = 0;  ///< libxml2's; 0 while there is none
    const _xmlNode* mNode = nullptr;
    long mLine = 1;
    std::string mMessage;
    std::string mValue;  ///< of a reference to nothing, as libxml2 writes it
};

}  // namespace NxGenICamLib
