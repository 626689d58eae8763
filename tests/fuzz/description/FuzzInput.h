#pragma once

#include <cstdint>
#include <iterator>
#include <span>

using Input = std::span<const std::uint8_t>;

/// The input's bytes, one after the other; zeros when none are left.
class FuzzInput {
  public:
    explicit FuzzInput(Input input) : mInput(input) {}
    [[nodiscard]] bool AreLeft() const { return !mInput.empty(); }
    std::uint8_t Next() {
        if (mInput.empty()) {
            return 0;
        }
        const std::uint8_t byte = mInput.front();
        mInput = mInput.subspan(1);
        return byte;
    }
    template <typename List>
    auto& From(const List& list) {
        return list[Next() % std::size(list)];
    }

  private:
    Input mInput;
};
