#pragma once

#include <string>
#include <vector>

#include "DeviceRecord.h"
#include "Script.h"

/// What one run of the updater's main left.
struct UpdaterOutcome {
    int exitStatus = -1;
    std::string out;
    std::string err;
    std::string outWithFlushes;
    std::string errWithFlushes;
    std::size_t largestWrite = 0;
};

/// Runs the updater's main with these arguments over the script in force.
UpdaterOutcome RunMain(const std::vector<std::string>& arguments);

/// A network interface with these devices behind it.
InterfaceRecord Network(const std::string& mac, const std::vector<DeviceRecord>& devices = {});
/// A USB host controller with these devices behind it.
InterfaceRecord Usb(const std::vector<DeviceRecord>& devices = {});
DeviceRecord Camera(const std::string& model, const std::string& connectionId);
DeviceRecord Loader(const std::string& model, const std::string& connectionId);
DeviceRecord UsbCamera(const std::string& model, const std::string& connectionId);

/// Expects the calls of a direct update by file access that succeeds, without device ID.
void ExpectFileAccessUpdate(Script& script, const std::string& connectionId,
                            const std::string& path);
/// The same from the worker's own connection on: the transfer, not yet validated.
void ExpectFileAccessTransfer(Script& script, const std::string& connectionId,
                              const std::string& path);
/// Expects that the status is read once, by file access.
void ExpectFileAccessStatus(Script& script, const std::string& status);
/// Expects the direct mode's look at the device before it chooses the transport.
void ExpectProbe(Script& script, const std::string& connectionId);
void ExpectTftpTransfer(Script& script, const std::string& connectionId, const std::string& path);
void ExpectTftpStatus(Script& script, const std::string& connectionId, const std::string& status);
/// Expects a reset record for that payload, sent by TFTP.
void ExpectTftpReset(Script& script, const std::string& connectionId, const std::string& path);
