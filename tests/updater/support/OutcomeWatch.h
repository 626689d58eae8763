#pragma once

#include <vector>

#include "Script.h"

/// A worker of this kind that notes whether it was transferring when it stored its outcome.
template <typename Worker>
class OutcomeWatch : public Worker {
  public:
    OutcomeWatch(Script& script, const NxString& connectionId, const NxString& fileName)
        : Worker(connectionId, fileName) {
        // The outcome is stored under a mutex of the worker's own.
        script.onLock = [this](const void* mutex) {
            const auto* const begin = reinterpret_cast<const char*>(this);
            if (mutex >= begin && mutex < begin + sizeof *this) {
                transferring.push_back(this->mTransferring);
            }
        };
    }
    [[nodiscard]] bool IsTransferring() const { return this->mTransferring; }

    /// One entry for each time that the outcome was stored or asked for.
    std::vector<bool> transferring;
};
