#pragma once

#include <string>

#include <NxBase/NxResult.h>

#include "NodeTable.h"

/// What the root of a GenICam XML says of the rules that it was written by.
struct DescriptionSchema {
    unsigned int major = 1;
    unsigned int minor = 1;

    /// Below 1.1, registers of four bytes are meant for register commands on GigE Vision
    /// (GenICam Standard 2.0, appendix 3).
    [[nodiscard]] bool IsBelowOneOne() const { return major < 1 || (major == 1 && minor < 1); }
};

/// Reads a GenICam XML in one pass (GenApi schema 1.0 and 1.1). Nodes and elements that no value
/// hangs on are skipped, `<Extension>` and foreign namespaces with all that is in them. Ends at the
/// end of the root element: devices leave the rest of an older text behind it.
/// @param table empty before; filled as far as the reading came
/// @return kNxBadDescription with the reason alone, which names no device, when the text is cut
///         short, not well-formed, has a DTD, is not a register description or does not fit
NxResult ReadDescription(const std::string& xml, NodeTable& table, DescriptionSchema& schema);
