#pragma once

/// Every code that an NxResult carries. 0 is success.
enum NxResultCode : unsigned int {
    kNxOk = 0,

    // Fixed by the updater's own contract.
    kNxNoFileAccess = 16,          ///< the device offers no GenICam file access
    kNxBackupLoadOnly = 20,        ///< the device runs its backup load, which takes no file access
    kNxResetNotSupported = 26,     ///< the transport cannot deliver a reset record
    kNxNoOutcome = 0x605,          ///< the operation has not ended yet
    kNxStatusNotSuccess = 0x4000,  ///< the device's status text shows no success

    // The SDK's own.
    kNxInvalidArgument = 0x100,     ///< a value that cannot be used, e.g. a malformed connection ID
    kNxLocalFile = 0x101,           ///< a file of this computer cannot be opened, read or written
    kNxSocket = 0x102,              ///< the network interface or socket cannot be used
    kNxTimeout = 0x103,             ///< the device did not answer in time
    kNxAccessDenied = 0x104,        ///< the device or the operating system refuses access
    kNxControlLost = 0x105,         ///< the device gave control to somebody else, or was restarted
    kNxDeviceGone = 0x106,          ///< the device was unplugged or does not exist
    kNxProtocol = 0x107,            ///< an answer that breaks the protocol
    kNxDeviceError = 0x108,         ///< the device answered with an error status
    kNxNoSuchNode = 0x109,          ///< the node map has no such node, or it is not implemented
    kNxNodeAccess = 0x10a,          ///< the node cannot be read or written
    kNxBadDescription = 0x10b,      ///< the device's GenICam XML cannot be used
    kNxFileOperation = 0x10c,       ///< the device refused a file operation
    kNxTransferIncomplete = 0x10d,  ///< fewer bytes arrived than were sent
    kNxTftpError = 0x10e,           ///< the TFTP server answered with an ERROR packet
    kNxNotAPayload = 0x10f,         ///< the file does not begin with a valid firmware header
    kNxBufferTooSmall = 0x110,      ///< the caller's buffer cannot hold the answer
    kNxNotSupported = 0x111,        ///< this kind of device has no such operation
    kNxBadManifest = 0x120,         ///< a package's manifest breaks the grammar
    kNxNoUpdate = 0x121,            ///< no update of the package is for this device
    kNxAssertFailed = 0x122,        ///< a device value that an update asks for is not there
};
