#include <NxBase/NxResult.h>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>

namespace {

// Room for two of the longest paths and what is said of them.
constexpr std::size_t kLongestDescription = 10000;

const char* GeneralDescription(unsigned int code) {
    switch (code) {
        case kNxOk:
            return "OK";
        case kNxNoFileAccess:
            return "The device offers no GenICam file access";
        case kNxBackupLoadOnly:
            return "The device is running its backup load, which does not accept firmware by file "
                   "access";
        case kNxResetNotSupported:
            return "The device cannot be reset over this transport; restart it by hand";
        case kNxNoOutcome:
            return "The operation is still in progress";
        case kNxStatusNotSuccess:
            return "The device's status text does not report success";
        case kNxInvalidArgument:
            return "Invalid argument";
        case kNxLocalFile:
            return "A local file cannot be used";
        case kNxSocket:
            return "The network interface cannot be used";
        case kNxTimeout:
            return "The device did not respond in time; check cable, power and address";
        case kNxAccessDenied:
            return "Access to the device was denied";
        case kNxControlLost:
            return "Control of the device was lost";
        case kNxDeviceGone:
            return "The device was unplugged or no longer exists";
        case kNxProtocol:
            return "The device sent an invalid reply";
        case kNxDeviceError:
            return "The device reported an error";
        case kNxNoSuchNode:
            return "The device has no such GenICam feature";
        case kNxNodeAccess:
            return "A GenICam feature of the device cannot be read or written";
        case kNxBadDescription:
            return "The device's GenICam description cannot be used";
        case kNxFileOperation:
            return "The device refused a file operation";
        case kNxTransferIncomplete:
            return "The device accepted fewer bytes than were sent";
        case kNxTftpError:
            return "The device's TFTP server reported an error";
        case kNxNotAPayload:
            return "The file does not begin with a valid firmware header";
        case kNxBufferTooSmall:
            return "The buffer is too small for the reply";
        case kNxNotSupported:
            return "The device does not support this operation";
        case kNxBadManifest:
            return "The package's manifest cannot be used";
        case kNxNoUpdate:
            return "No update in this package is for this device";
        case kNxAssertFailed:
            return "The device does not meet the update's requirements";
        default:
            return nullptr;
    }
}

NxString DescribeCode(unsigned int code) {
    const char* text = GeneralDescription(code);
    return text != nullptr ? NxString(text)
                           : NxString("The operation failed with code " + std::to_string(code));
}

}  // namespace

NxResult::NxResult(unsigned int code)
    : mCode(code), mDescription(code == kNxOk ? NxString() : DescribeCode(code)) {}

NxResult::NxResult(unsigned int code, const NxString& description)
    : mCode(code), mDescription(PrintableText(description.GetAscii(), kLongestDescription)) {}

bool NxResult::IsOK() const {
    return mCode == kNxOk;
}

unsigned int NxResult::GetCode() const {
    return mCode;
}

const NxString& NxResult::GetDescription() const {
    return mDescription;
}
