#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include <NxBase/NxResult.h>

#include "GvcpAddressSpace.h"
#include "GvcpChannel.h"
#include "history/DescriptionCopy.h"
#include "xml_location/DescriptionLocation.h"

/// The GenICam XML that a GigE Vision device stores, from where its first or second URL register
/// says (GigE Vision 2.0, section 26.2.1).
class GvcpDescription {
  public:
    /// @param channel,space outlive this object
    GvcpDescription(GvcpChannel& channel, GvcpAddressSpace& space, std::string deviceName)
        : mChannel(channel), mSpace(space), mDeviceName(std::move(deviceName)) {}

    /// Sets the channel's deadline: 5 seconds, and a second more for each 16 KiB that have come.
    /// @param copy in: what was read of this device before, or null; it is taken when a few reads
    ///        show the same device with the same description. Out: the description; untouched on
    ///        failure
    /// @return the channel's failure once a command goes unanswered; else kNxBadDescription, which
    ///         says what is wrong with what each URL names
    NxResult Read(std::shared_ptr<const DescriptionCopy>& copy);

  private:
    NxResult ReadFrom(std::uint32_t urlRegister, std::shared_ptr<const DescriptionCopy>& copy,
                      std::string& problem);
    NxResult IsUnchanged(const DescriptionCopy& known, const DescriptionLocation& location,
                         bool& unchanged);
    NxResult Download(std::uint64_t address, std::span<std::byte> bytes);
    [[nodiscard]] std::string ReadIdentity();

    GvcpChannel& mChannel;
    GvcpAddressSpace& mSpace;
    std::string mDeviceName;
    GvcpChannel::Clock::time_point mStart;
    std::size_t mDone = 0;  // bytes
    std::string mIdentity;  // empty: the device does not report it
};
