#pragma once

#include <cstdint>
#include <string>

#include <NxBase/NxResult.h>

#include "NodeValues.h"

/// Sets nodes: finds the registers that a value goes into and writes them, or holds the writes back
/// in the values' view. Asks for no rights. The device judges what is out of range.
class NodeWriter {
  public:
    using Id = NodeTable::Id;

    /// @param values of the same access; outlives this object
    explicit NodeWriter(NodeValues& values) : mValues(values) {}

    /// @return kNxNodeAccess when the node cannot be set to that
    NxResult SetInteger(Id node, std::int64_t value);
    NxResult SetFloat(Id node, double value);

  private:
    NxResult SetBehind(Id node, std::int64_t value);
    NxResult SetCopies(Id node, std::int64_t value);
    NxResult SetRegister(Id node, std::int64_t value);
    template <typename Number>
    NxResult SetConverted(Id node, Number value);
    NxResult Set(Id node, std::int64_t value) { return SetInteger(node, value); }
    NxResult Set(Id node, double value) { return SetFloat(node, value); }
    NxResult Store(Id node, std::uint64_t address, std::span<std::byte> bytes);

    NodeValues& mValues;
};
