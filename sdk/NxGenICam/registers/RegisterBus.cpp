#include "RegisterBus.h"

#include <algorithm>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

namespace {

// GigE Vision 2.0, section 28: device mode register, and the end of the bootstrap registers, which
// are big-endian in every device.
constexpr std::uint64_t kDeviceMode = 0x0004;
constexpr std::uint64_t kEndOfBootstrap = 0xA000;
constexpr std::byte kBigEndian{0x80};

void Turn(GenPort::Register& word) {
    std::reverse(word.bytes.begin(), word.bytes.end());
}

}  // namespace

NxResult RegisterBus::IsLittleEndian(bool& isLittle) {
    if (!mKnowsMode && mPort->HasRegisterCommands()) {
        std::array<GenPort::Register, 1> mode{{{.address = kDeviceMode}}};
        NxResult result = mPort->ReadRegisters(mode);
        // A device that refuses it is taken for a big-endian one, as most are.
        const bool isRefused =
            result.GetCode() == kNxDeviceError || result.GetCode() == kNxAccessDenied;
        if (!result.IsOK() && !isRefused) {
            return result;
        }
        mIsLittleEndian = !isRefused && (mode[0].bytes[0] & kBigEndian) == std::byte{0};
    }
    mKnowsMode = true;
    isLittle = mIsLittleEndian;
    return {};
}

NxResult RegisterBus::Arrange(std::uint64_t address, std::span<std::byte> bytes) {
    bool turns = mReverses && (address & 0xFFFFFFFFU) >= kEndOfBootstrap;
    if (IsByCommand(bytes.size())) {
        bool isLittle = false;
        NX_RETURN_IF_FAILED(IsLittleEndian(isLittle));
        turns = turns != isLittle;
    }
    if (turns) {
        std::reverse(bytes.begin(), bytes.end());
    }
    return {};
}

NxResult RegisterBus::Read(std::uint64_t address, std::span<std::byte> bytes) {
    if (!IsByCommand(bytes.size())) {
        return mPort->ReadMemory(address, bytes);
    }
    std::array<GenPort::Register, 1> one{{{.address = address}}};
    NxResult result = mPort->ReadRegisters(one);
    std::copy(one[0].bytes.begin(), one[0].bytes.end(), bytes.begin());
    return result;
}

NxResult RegisterBus::Write(std::uint64_t address, std::span<const std::byte> bytes) {
    if (!IsByCommand(bytes.size())) {
        const bool isWhole = address % 4 == 0 && bytes.size() % 4 == 0;
        return isWhole || !mPort->HasRegisterCommands() ? mPort->WriteMemory(address, bytes)
                                                        : WritePart(address, bytes);
    }
    std::array<GenPort::Register, 1> one{{{.address = address}}};
    std::copy(bytes.begin(), bytes.end(), one[0].bytes.begin());
    return mPort->WriteRegisters(one);
}

// GigE Vision writes whole words only: the rest of them is written as it is.
NxResult RegisterBus::WritePart(std::uint64_t address, std::span<const std::byte> bytes) {
    const std::uint64_t first = address - address % 4;
    std::vector<std::byte> words((address + bytes.size() - first + 3) / 4 * 4);
    NX_RETURN_IF_FAILED(mPort->ReadMemory(first, words));
    std::copy(bytes.begin(), bytes.end(),
              words.begin() + static_cast<std::ptrdiff_t>(address - first));
    return mPort->WriteMemory(first, words);
}

bool RegisterBus::TakesWords(std::uint64_t address, std::size_t size) const {
    // Both halves of a register go into one command.
    const bool takesHalves =
        !mUsesRegisterCommands && (mPort->CombinesRegisters() || !mPort->HasRegisterCommands());
    return address % 4 == 0 && (size == 4 || (size == 8 && takesHalves));
}

void RegisterBus::ExpectLittleEndianWords() {
    if (mPort->HasRegisterCommands() && !mUsesRegisterCommands &&
        mWordOrder == WordOrder::kAssumed) {
        mWordOrder = WordOrder::kUnknown;
    }
}

void RegisterBus::LearnWordOrder(std::uint64_t address) {
    std::array<GenPort::Register, 1> read{{{.address = address}}};
    GenPort::Register known{.address = address};
    if (!mPort->ReadMemory(address, known.bytes).IsOK()) {
        return;
    }
    GenPort::Register turned = known;
    Turn(turned);
    if (turned.bytes == known.bytes) {
        return;
    }
    if (!mPort->ReadRegisters(read).IsOK()) {
        mWordOrder = WordOrder::kOnlyMemory;
    } else if (read[0].bytes == turned.bytes) {
        mWordOrder = WordOrder::kReversed;
    } else {
        mWordOrder = read[0].bytes == known.bytes ? WordOrder::kAsInMemory : WordOrder::kOnlyMemory;
    }
}

NxResult RegisterBus::ReadWords(std::span<GenPort::Register> words) {
    if (WritesWords()) {
        NxResult result = mPort->ReadRegisters(words);
        if (mWordOrder == WordOrder::kReversed) {
            std::for_each(words.begin(), words.end(), Turn);
        }
        return result;
    }
    for (std::size_t first = 0; first < words.size();) {
        std::size_t count = 1;
        while (first + count < words.size() &&
               words[first + count].address == words[first].address + 4 * count) {
            ++count;
        }
        std::vector<std::byte> bytes(4 * count);
        NX_RETURN_IF_FAILED(mPort->ReadMemory(words[first].address, bytes));
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            words[first + i / 4].bytes[i % 4] = bytes[i];
        }
        first += count;
    }
    return {};
}

NxResult RegisterBus::WriteWords(std::span<const GenPort::Register> words) {
    if (mWordOrder != WordOrder::kReversed) {
        return mPort->WriteRegisters(words);
    }
    std::vector<GenPort::Register> turned(words.begin(), words.end());
    std::for_each(turned.begin(), turned.end(), Turn);
    return mPort->WriteRegisters(turned);
}
