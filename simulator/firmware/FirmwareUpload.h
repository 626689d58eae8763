#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Crc32.h"
#include "simulator/registers/ByteOrder.h"

namespace simulator {

class FirmwareStore;

/// One payload on its way into RemoteUpdateDfw, whatever the bus. Made by
/// FirmwareStore::BeginUpload; there is at most one at a time. Destroying it before Finish drops
/// what has come so far and leaves the status "Transfer incomplete: …". Used by one thread.
class FirmwareUpload {
  public:
    ~FirmwareUpload();
    FirmwareUpload(const FirmwareUpload&) = delete;
    FirmwareUpload& operator=(const FirmwareUpload&) = delete;

    /// Puts bytes at an offset, over what is there already. A bus that sends in order passes
    /// `Size()`; one that repeats a chunk may write it again at the same place.
    /// @return false when it would leave a gap, exceed the flash, or the disk is full, and as a
    /// fault
    [[nodiscard]] bool Write(std::uint64_t offset, ConstBytes bytes);

    /// Number of bytes so far.
    [[nodiscard]] std::uint64_t Size() const { return mSize; }

    /// The payload is complete: checks it and carries it out; `FirmwareStore::Status` tells the
    /// outcome. A firmware is being flashed, or already is when flashing takes no time; a device
    /// ID is taken; a reset is requested. Nothing may be written afterwards.
    /// @param padding how many bytes there may be at most behind the length that the header says
    void Finish(std::uint32_t padding = 0);

  private:
    friend class FirmwareStore;
    explicit FirmwareUpload(FirmwareStore& store);

    [[nodiscard]] bool WriteBody(std::uint64_t offset, ConstBytes bytes) const;
    // Drops what is behind the body, if that may be padding.
    void CutPadding(std::uint64_t bodyLength);
    [[nodiscard]] std::uint32_t BodyCrc() const;
    [[nodiscard]] std::string BodyText(std::size_t limit) const;

    FirmwareStore& mStore;
    std::vector<std::uint8_t> mHead;  // the header's place; what follows it is in the file
    int mBody;                        // descriptor of the store's incoming file
    std::uint64_t mSize = 0;
    Crc32 mSequentialCrc;
    bool mSequential = true;
    std::uint32_t mMaxPadding = 0;
    bool mFinished = false;
};

}  // namespace simulator
