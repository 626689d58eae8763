#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The register addresses and values that a client without a description has to know. For the
/// layouts of docs/simulator/layouts.md whose chunk needs one command to start an operation and one
/// to see its end, status and result.
struct BareLayout {
    struct Write {
        std::uint32_t address;
        std::uint32_t value;
    };

    std::vector<Write> open;   ///< selectors and the operation that opens the file for writing
    std::vector<Write> begin;  ///< what selects Write
    std::vector<Write> close;  ///< selectors and the operation that closes the file
    std::optional<std::uint32_t> offset;
    std::uint32_t length = 0;
    Write execute{};                        ///< starts a Write
    std::vector<std::uint32_t> state;       ///< the registers that show end, status and result
    std::size_t resultIndex = 0;            ///< which of them has the result, in
    std::uint32_t resultMask = 0xffffffff;  ///< these bits
    unsigned int resultShift = 0;
    bool littleEndian = false;

    /// Nothing where the layout is none of those.
    static std::optional<BareLayout> Named(const std::string& name);
};
