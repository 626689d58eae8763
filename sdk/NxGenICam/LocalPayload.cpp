#include "LocalPayload.h"

NxResult LocalPayload::Open(const std::string& path) {
    mPosition = 0;
    return mFile.Open(path);
}

NxResult LocalPayload::Read(std::span<std::byte> buffer) {
    NxResult result = mFile.ReadWhole(mPosition, buffer);
    mPosition += buffer.size();
    // Before the last bytes are sent: a mixture is never complete in the device.
    return result.IsOK() && mPosition >= Size() ? mFile.CheckUnchanged() : result;
}
