#pragma once

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>
#include <NxDevice/NxDfwHeader.h>

/// Reads and builds ".dfw" payloads: the firmware itself, and the small records that set a
/// device's ID or reset it (docs/protocols/dfw-payload.md).
class NX_API NxDfwPayload {
  public:
    /// Builds the record that gives a device of the payload's family a new device ID.
    /// @param payloadFile a local firmware payload; only its header is read
    /// @param newId 1 to 63 bytes of printable ASCII
    /// @param length receives the record's size in bytes, at most `bufferSize`
    /// @return kNxLocalFile when the payload cannot be read, kNxNotAPayload when it does not begin
    ///         with a valid header, kNxInvalidArgument for an ID that cannot be, kNxBufferTooSmall
    static NxResult GetDeviceIdRecord(const NxString& payloadFile, const NxString& newId,
                                      unsigned char* buffer, unsigned int bufferSize,
                                      unsigned int& length);
    /// Builds the record that resets a device of the payload's family.
    /// @param length receives the record's size in bytes, at most `bufferSize`
    /// @return kNxLocalFile, kNxNotAPayload or kNxBufferTooSmall as above
    static NxResult GetResetRecord(const NxString& payloadFile, unsigned char* buffer,
                                   unsigned int bufferSize, unsigned int& length);

    /// Reads and checks a payload's header, its own checksum included.
    /// @return kNxLocalFile, or kNxNotAPayload with the reason; `header` untouched
    static NxResult ReadHeader(const NxString& payloadFile, NxDfwHeader& header);
    /// Reads the whole payload and checks the body's length and checksum.
    /// @return kNxLocalFile, or kNxNotAPayload with the reason; `header` untouched
    static NxResult Verify(const NxString& payloadFile, NxDfwHeader& header);
    /// Makes a firmware payload of a local file; a failure leaves no file behind.
    /// @param bodyFile at least 1 byte
    /// @param family 1 to 32 characters of printable ASCII
    /// @param payloadFile another file than `bodyFile`; an existing one is replaced
    /// @return kNxLocalFile when a file cannot be read or written, kNxInvalidArgument for the rest
    static NxResult Create(const NxString& bodyFile, const NxString& family, unsigned short major,
                           unsigned short minor, const NxString& payloadFile);
};
