#pragma once

/// Carries out one step, an expression that gives an NxResult, and returns its failure from the
/// enclosing function; after a success the next step follows.
#define NX_RETURN_IF_FAILED(...)                                 \
    do {                                                         \
        if (auto nxOutcome = (__VA_ARGS__); !nxOutcome.IsOK()) { \
            return nxOutcome;                                    \
        }                                                        \
    } while (false)
