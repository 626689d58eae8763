#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include <NxBase/NxResult.h>
#include <internal/NxGenICam/GenPort.h>

#include "RegisterBus.h"

/// What is known of a device's registers while one operation is repeated on it: lets the nodes be
/// evaluated again and again without a command for each register that they hang on.
///
/// Words that the device may change are forgotten when an operation is started and then fetched
/// together. Words that stay as they are while the operation is selected are kept. Writes can be
/// held back, so that all of them go out with one command.
class RegisterView {
  public:
    /// A write of one register, in the device's order.
    struct Write {
        std::uint64_t address = 0;
        std::vector<std::byte> bytes;
    };

    /// @param steady nodes of registers that only this computer changes: the selectors
    explicit RegisterView(std::set<std::uint32_t> steady) : mSteady(std::move(steady)) {}

    [[nodiscard]] bool IsSteady(std::uint32_t node) const { return mSteady.contains(node); }

    /// While true, what is not known reads as zeros and is noted for the next Fetch.
    void PretendZeros(bool pretend) { mPretends = pretend; }
    [[nodiscard]] bool Pretends() const { return mPretends; }
    /// While true, the requested words show whether the operation has ended.
    void MarkAsState(bool mark) { mMarksState = mark; }

    /// @param bytes in the device's order
    /// @return false when some of them are not known
    bool Read(std::uint64_t address, std::span<std::byte> bytes, bool isSteady);
    /// The bytes that are known; the others stay as they are.
    void Peek(std::uint64_t address, std::span<std::byte> bytes);
    /// What was read from the device or written to it.
    void Note(std::uint64_t address, std::span<const std::byte> bytes);

    /// Holds a write back and notes what it leaves in the device.
    void Hold(std::uint64_t address, std::span<const std::byte> bytes);
    [[nodiscard]] std::size_t HeldWrites() const { return mWrites.size(); }
    std::vector<Write> TakeWrites() { return std::exchange(mWrites, {}); }

    /// Forgets what the device may have changed.
    void Forget();
    /// Asks the device for all that may have changed, or for the state only.
    /// @param withHalves also for registers of eight bytes, word by word
    NxResult Fetch(RegisterBus& bus, bool onlyState, bool withHalves);
    [[nodiscard]] bool HasHalves() const;
    [[nodiscard]] bool HasHalvesOfState() const;

    /// To be counted whenever Read has not known a register.
    void CountMiss() { ++mMisses; }
    [[nodiscard]] int Misses() const { return mMisses; }

    void NoteLittleEndian() { mHoldsLittleEndian = true; }
    [[nodiscard]] bool HoldsLittleEndian() const { return mHoldsLittleEndian; }

  private:
    struct Word {
        std::uint64_t address = 0;
        std::array<std::byte, 4> bytes{};
        bool isKnown = false;
        bool isSteady = false;
        bool isVolatile = false;  ///< a part of it may change, whatever the rest does
        bool isState = false;
        bool isAsked = false;  ///< not only written
        bool isHalf = false;   ///< of a register of eight bytes
        bool isSecondHalf = false;
    };
    /// Null where there are too many.
    Word* Find(std::uint64_t address);
    static bool Stays(const Word& word) { return word.isSteady && !word.isVolatile; }

    std::set<std::uint32_t> mSteady;
    std::vector<Word> mWords;  ///< in the order in which they were asked for first
    std::vector<Write> mWrites;
    int mMisses = 0;
    bool mPretends = false;
    bool mMarksState = false;
    bool mHoldsLittleEndian = false;
};
