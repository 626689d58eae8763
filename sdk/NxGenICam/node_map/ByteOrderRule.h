#pragma once

#include <NxBase/NxResult.h>

#include "NodeValues.h"

/// Finds out whether a device's registers hold their bytes the other way round than its description
/// says: some cameras are little-endian inside, describe big-endian registers and claim schema 1.1,
/// by which memory is read as described.
///
/// Only asked of a GigE Vision device whose device mode register says little-endian. Enumerations
/// whose present value is one of their entries in one order only, and integers whose present value
/// lies within constant bounds in one order only, decide; if they disagree or none is conclusive,
/// the description holds.
namespace ByteOrderRule {

/// To be applied once, before anything is written.
/// @return what the bus failed with; a device's refusal of single registers is not a failure
NxResult Settle(const NodeTable& table, RegisterBus& bus, NodeValues::LocalValues& locals);

}  // namespace ByteOrderRule
