#pragma once

#include <list>
#include <string>

#include <NxBase/NxApi.h>
#include <NyUtilsLib/Result.h>

namespace NxGenICamLib {

/// What a firmware-update run asks of the program that updates the device. Code 0 is success;
/// any other code ends the run, except that a condition whose feature cannot be read does not hold.
/// GenFUUpdaterCodes.h lists the codes whose meaning is told to the user; a result with a message
/// of its own is told with that.
class NX_API IGenFUUpdater {
  public:
    virtual ~IGenFUUpdater();

    virtual NyUtilsLib::Result ReadGenStringValue(const std::string& nodeName,
                                                  std::string& value) = 0;
    virtual NyUtilsLib::Result WriteGenStringValue(const std::string& nodeName,
                                                   const std::string& value) = 0;
    virtual NyUtilsLib::Result ExecuteGenCommand(const std::string& nodeName) = 0;
    virtual NyUtilsLib::Result GetGenEnumEntries(const std::string& nodeName,
                                                 std::list<std::string>& entries) = 0;
    /// Transfers one file of the package to the device.
    /// @param transport the manifest's word for the way, e.g. "TFTP" or "GenICam"
    virtual NyUtilsLib::Result Write(const std::string& fileName, const std::string& transport) = 0;
    virtual NyUtilsLib::Result Reset() = 0;
};

}  // namespace NxGenICamLib
