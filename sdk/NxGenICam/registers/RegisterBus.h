#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <NxBase/NxResult.h>
#include <internal/NxGenICam/GenPort.h>

/// A device's registers as its description means them: hides in which order a register's bytes
/// come, which differs with the description's schema, the device and the command.
///
/// "Memory order" is the order to which the description's `Endianess` applies; "the device's order"
/// is what its commands give.
class RegisterBus {
  public:
    explicit RegisterBus(std::shared_ptr<GenPort> port) : mPort(std::move(port)) {}

    [[nodiscard]] GenPort& Port() const { return *mPort; }

    /// For a schema below 1.1 on GigE Vision: registers of four bytes are accessed by register
    /// commands, whose bytes a little-endian device swaps (GenICam Standard 2.0, appendix 3).
    void UseRegisterCommands() { mUsesRegisterCommands = mPort->HasRegisterCommands(); }
    [[nodiscard]] bool UsesRegisterCommands() const { return mUsesRegisterCommands; }
    /// Turns the bytes of integer registers round, outside the bootstrap registers: for a device
    /// whose description gives the wrong order.
    void Reverse() { mReverses = !mReverses; }
    /// Whether the device mode register says so; asked once. Only GigE Vision devices may be.
    NxResult IsLittleEndian(bool& isLittle);

    [[nodiscard]] bool Reverses() const { return mReverses; }

    /// A register that holds a number, of 1 to 8 bytes, in the device's order.
    NxResult Read(std::uint64_t address, std::span<std::byte> bytes);
    NxResult Write(std::uint64_t address, std::span<const std::byte> bytes);
    /// Turns the bytes of a number from the device's order into memory order, or back.
    NxResult Arrange(std::uint64_t address, std::span<std::byte> bytes);

    // Below: words as they lie in the device, for whoever accesses several registers at once.

    /// Whether the words of that register may be accessed together with others.
    [[nodiscard]] bool TakesWords(std::uint64_t address, std::size_t size) const;
    /// Whether a part of a word may be taken from the whole of it.
    [[nodiscard]] bool TakesPartsOfWords() const { return !mUsesRegisterCommands; }
    /// To be said before words are accessed: some of them hold little-endian numbers, so that
    /// register commands are used only once it is known in which order they give the bytes.
    void ExpectLittleEndianWords();
    /// Finds that order out with a register that may be read, unless its bytes read the same from
    /// both ends.
    void LearnWordOrder(std::uint64_t address);
    [[nodiscard]] bool KnowsWordOrder() const { return mWordOrder != WordOrder::kUnknown; }
    /// Whether words may be written, by register commands: not before their order is known.
    [[nodiscard]] bool WritesWords() const {
        return mWordOrder != WordOrder::kUnknown && mWordOrder != WordOrder::kOnlyMemory;
    }
    /// With one command where the bus can; neighbours with one at least.
    NxResult ReadWords(std::span<GenPort::Register> words);
    /// With one command where the bus can.
    NxResult WriteWords(std::span<const GenPort::Register> words);

  private:
    enum class WordOrder { kAssumed, kUnknown, kAsInMemory, kReversed, kOnlyMemory };

    NxResult WritePart(std::uint64_t address, std::span<const std::byte> bytes);
    /// Whether an access of that size goes by register command.
    [[nodiscard]] bool IsByCommand(std::size_t size) const {
        return mUsesRegisterCommands && size == 4;
    }

    std::shared_ptr<GenPort> mPort;
    bool mUsesRegisterCommands = false;
    bool mReverses = false;
    bool mKnowsMode = false;
    bool mIsLittleEndian = false;
    WordOrder mWordOrder = WordOrder::kAssumed;  ///< kAssumed is kAsInMemory
};
