#pragma once

#include <cstdint>
#include <span>

#include <NxBase/NxResult.h>

#include "NodeValues.h"

/// The registers that values lie in, within one access to a node: where each is, how it holds its
/// value, and its bytes. Fails as NodeValues does.
class NodePlaces {
  public:
    using Id = NodeValues::Id;
    using Place = NodeValues::Place;

    /// @param values of the same access; outlives this object
    explicit NodePlaces(NodeValues& values) : mValues(values) {}

    NxResult Locate(Id registerNode, Place& place);
    /// Of a register that holds a number: also how it holds it.
    NxResult Locate(Id registerNode, Place& place, RegisterFormat& format);
    /// @return kNxBadDescription above 16 MiB
    NxResult FindLength(Id registerNode, std::uint64_t& length);
    /// How an integer or float register of that length holds its value.
    NxResult FindFormat(Id registerNode, const Place& place, RegisterFormat& format);
    /// Whether that register is reached through the device's own port.
    NxResult IsOfDevice(Id registerNode, bool& isOfDevice);

    NxResult Integer(Id registerNode, std::int64_t& value);
    NxResult Float(Id registerNode, double& value);
    /// The bytes of a register that holds a number, in memory order; from the view where known.
    NxResult ReadNumber(Id registerNode, const Place& place, std::span<std::byte> bytes);
    /// Asks the device for a register.
    /// @param isNumber false for texts, which have no byte order
    NxResult ReadDevice(Id registerNode, const Place& place, std::span<std::byte> bytes,
                        bool isNumber);

  private:
    NxResult AddIndex(Id owner, const NodeTable::Property& index, Place& place);
    bool IsSteady(Id registerNode);

    NodeValues& mValues;
};
