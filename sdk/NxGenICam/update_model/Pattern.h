#pragma once

#include <memory>
#include <string>

namespace NxGenICamLib {

/// A regular expression of a manifest, ready to be matched. Both the pattern and the value come
/// from others, so memory and steps of a match are bounded.
class Pattern {
  public:
    enum class Match { kYes, kNo, kTooCostly };

    /// Values longer than this, in bytes, match nothing.
    static constexpr std::size_t kMaximumValue = 4096;

    Pattern();
    ~Pattern();
    Pattern(Pattern&&) noexcept;
    Pattern& operator=(Pattern&&) noexcept;

    /// @return empty, or what is wrong with the pattern
    [[nodiscard]] std::string Compile(const std::string& pattern);
    /// Matches the whole value, as if the pattern stood between ^(?: and )$.
    [[nodiscard]] Match Matches(const std::string& value) const;

  private:
    class Impl;
    std::unique_ptr<Impl> mImpl;
};

}  // namespace NxGenICamLib
