#include "RegisterView.h"

#include <algorithm>

#include <internal/NxBase/ReturnIfFailed.h>

namespace {

// Cameras need a dozen.
constexpr std::size_t kMostWords = 2000;

}  // namespace

RegisterView::Word* RegisterView::Find(std::uint64_t address) {
    const auto known = std::find_if(mWords.begin(), mWords.end(), [address](const Word& word) {
        return word.address == address;
    });
    if (known != mWords.end()) {
        return &*known;
    }
    if (mWords.size() >= kMostWords) {
        return nullptr;
    }
    mWords.push_back({.address = address});
    return &mWords.back();
}

bool RegisterView::Read(std::uint64_t address, std::span<std::byte> bytes, bool isSteady) {
    bool isKnown = true;
    Word* word = nullptr;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint64_t at = address + i;
        if (i == 0 || at % 4 == 0) {
            word = Find(at - at % 4);
        }
        if (word == nullptr) {
            return false;
        }
        word->isSteady |= isSteady;
        word->isVolatile |= !isSteady;
        word->isState |= mMarksState;
        word->isAsked = true;
        word->isHalf |= bytes.size() > 4;
        word->isSecondHalf |= i >= 4;
        isKnown = isKnown && (word->isKnown || (mPretends && !Stays(*word)));
        bytes[i] = word->isKnown ? word->bytes[at % 4] : std::byte{0};
    }
    return isKnown;
}

void RegisterView::Peek(std::uint64_t address, std::span<std::byte> bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint64_t at = address + i;
        for (const Word& word : mWords) {
            if (word.isKnown && word.address == at - at % 4) {
                bytes[i] = word.bytes[at % 4];
            }
        }
    }
}

void RegisterView::Note(std::uint64_t address, std::span<const std::byte> bytes) {
    Word* word = nullptr;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::uint64_t at = address + i;
        if (i == 0 || at % 4 == 0) {
            word = Find(at - at % 4);
        }
        if (word == nullptr) {
            return;
        }
        word->bytes[at % 4] = bytes[i];
        // A part of a word does not make the whole of it known.
        word->isKnown = word->isKnown || (at % 4 == 0 && bytes.size() - i >= 4);
    }
}

void RegisterView::Hold(std::uint64_t address, std::span<const std::byte> bytes) {
    Note(address, bytes);
    mWrites.push_back({.address = address, .bytes = {bytes.begin(), bytes.end()}});
}

void RegisterView::Forget() {
    for (Word& word : mWords) {
        word.isKnown = word.isKnown && Stays(word);
    }
}

bool RegisterView::HasHalvesOfState() const {
    return std::ranges::any_of(mWords,
                               [](const Word& word) { return word.isHalf && word.isState; });
}

bool RegisterView::HasHalves() const {
    return std::ranges::any_of(mWords, [](const Word& word) { return word.isHalf; });
}

NxResult RegisterView::Fetch(RegisterBus& bus, bool onlyState, bool withHalves) {
    // What shows the end comes first: what is read after it belongs to an operation that has ended.
    std::vector<GenPort::Register> registers;
    for (const bool state : {true, false}) {
        for (const Word& word : mWords) {
            if (word.isAsked && !Stays(word) && word.isState == state && (state || !onlyState) &&
                (withHalves || !word.isHalf)) {
                const bool isSecondHalf = word.isHalf && !registers.empty() &&
                                          registers.back().address + 4 == word.address &&
                                          word.isSecondHalf;
                registers.push_back({.address = word.address, .isSecondHalf = isSecondHalf});
            }
        }
    }
    if (registers.empty()) {
        return {};
    }
    NX_RETURN_IF_FAILED(bus.ReadWords(registers));
    for (const GenPort::Register& one : registers) {
        Note(one.address, one.bytes);
    }
    return {};
}
