#pragma once

namespace NxGenICamLib {

/// Every code that the updater answers the calls of IGenFUUpdater with. 0 is success.
enum GenFUUpdaterCode : unsigned int {
    kGenFUDone = 0,
    kGenFUFailed = 1,          ///< Write: no path to the device, or the file was not accepted
    kGenFUNoTransfer = 16,     ///< Reset: no transfer is running, so there is no device to reset
    kGenFUUnreadable = 25,     ///< ReadGenStringValue: the device cannot read the value
    kGenFUNotProvided = 1540,  ///< the updater does not provide this operation
};

}  // namespace NxGenICamLib
