#pragma once

#include <NxBase/NxResult.h>

#include "NodeValues.h"

/// What may be done with a node: what it says itself (AccessMode, ImposedAccessMode,
/// pIsImplemented, pIsAvailable, pIsLocked) and what the nodes behind it say (GenICam Standard 2.0,
/// section 2.8.3 "Access mode"). A register that names no access mode is read-only.
struct NodeRights {
    bool isImplemented = true;
    bool isAvailable = true;
    bool isLocked = false;
    bool isReadable = true;
    bool isWritable = true;

    [[nodiscard]] bool MayRead() const { return isImplemented && isAvailable && isReadable; }
    [[nodiscard]] bool MayWrite() const {
        return isImplemented && isAvailable && isWritable && !isLocked;
    }

    enum class Scope {
        kNow,
        kEver,  ///< without availability and locks, which change as the device is used
    };
    /// @return not OK, `rights` untouched, when the device cannot be asked or the description is
    ///         at fault
    static NxResult Find(NodeValues& values, NodeTable::Id node, Scope scope, NodeRights& rights);
};
