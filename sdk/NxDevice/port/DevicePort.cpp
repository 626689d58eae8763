#include "DevicePort.h"

#include <utility>

#include "history/DeviceHistory.h"

NxResult DevicePort::Probe() {
    return {};
}

void DevicePort::NoteNoFileAccess(const std::string& reason) {
    if (mId.has_value()) {
        DeviceHistory::OfThisProcess().NoteNoFileAccess(*mId, reason);
    }
}

std::shared_ptr<const DescriptionCopy> DevicePort::EarlierDescription() const {
    return mId.has_value() ? DeviceHistory::OfThisProcess().Description(*mId) : nullptr;
}

void DevicePort::KeepDescription(std::shared_ptr<const DescriptionCopy> copy) const {
    if (mId.has_value()) {
        DeviceHistory::OfThisProcess().KeepDescription(*mId, std::move(copy));
    }
}
