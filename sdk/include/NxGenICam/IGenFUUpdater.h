#pragma once

#include <list>
#include <string>

#include <NxBase/NxApi.h>
#include <NyUtilsLib/Result.h>

namespace NxGenICamLib {

/// What a firmware-update run asks of the program that updates the device. Code 0 is success;
/// any other code ends the run, except that a condition whose feature cannot be read does not hold.
/// GenFUUpdaterCodes.h lists the codes whose meaning is shown to the user; a result with a message
/// of its own is shown with that message.
class NX_API IGenFUUpdater {
  public:
    virtual ~IGenFUUpdater();

    /// Reads a GenICam feature as text.
    /// @param value untouched on failure
    virtual NyUtilsLib::Result ReadGenStringValue(const std::string& nodeName,
                                                  std::string& value) = 0;
    /// Sets a GenICam feature from text.
    virtual NyUtilsLib::Result WriteGenStringValue(const std::string& nodeName,
                                                   const std::string& value) = 0;
    /// Executes a GenICam command.
    virtual NyUtilsLib::Result ExecuteGenCommand(const std::string& nodeName) = 0;
    /// Symbolic names of an enumeration's entries.
    virtual NyUtilsLib::Result GetGenEnumEntries(const std::string& nodeName,
                                                 std::list<std::string>& entries) = 0;
    /// Transfers one file of the package to the device; returns when it is done or failed.
    /// @param fileName as the manifest has it
    /// @param transport the manifest's name for the transport, e.g. "TFTP" or "GenICam"
    virtual NyUtilsLib::Result Write(const std::string& fileName, const std::string& transport) = 0;
    /// Restarts the device.
    virtual NyUtilsLib::Result Reset() = 0;
};

}  // namespace NxGenICamLib
