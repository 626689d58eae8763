#pragma once

#include <string>

#include <NxBase/NxApi.h>
#include <NyUtilsLib/Result.h>

namespace NxGenICamLib {

/// Takes a firmware-update description piece by piece, in the order of the manifest: every
/// procedure with its steps, then every update with its infos and conditions.
///
/// Each operation may refuse what it is given: a code other than 0 ends the building, and its
/// message, one line, says what is wrong. Docs: docs/packages.md.
class NX_API IGenFUModelBuilder {
  public:
    virtual ~IGenFUModelBuilder();

    /// Forgets all that was added before.
    virtual NyUtilsLib::Result Clear() = 0;

    /// Begins a procedure; the steps that follow are its own.
    virtual NyUtilsLib::Result AddProcedure(const std::string& id) = 0;
    /// @param fileName a file of the package
    /// @param deviceFileName the device's name for it; empty when the manifest gives none
    /// @param transport the manifest's name for the transport, e.g. "TFTP" or "GenICam"
    virtual NyUtilsLib::Result AddFileUpload(const std::string& fileName,
                                             const std::string& deviceFileName,
                                             const std::string& transport) = 0;
    /// @param pattern regular expression (ECMAScript) that the feature's whole value must match
    /// @param message shown to the user when it does not
    virtual NyUtilsLib::Result AddFeatureAssert(const std::string& featureName,
                                                const std::string& pattern,
                                                const std::string& message) = 0;
    virtual NyUtilsLib::Result AddFeatureWrite(const std::string& featureName,
                                               const std::string& value) = 0;
    virtual NyUtilsLib::Result AddFeatureExecute(const std::string& featureName) = 0;
    virtual NyUtilsLib::Result AddDeviceReset() = 0;

    /// Begins an update that runs the procedure of that id; the infos and conditions that follow
    /// are its own.
    virtual NyUtilsLib::Result AddUpdate(const std::string& procedureId) = 0;
    /// @param name what the text is, e.g. "Description" or "Version"
    virtual NyUtilsLib::Result AddInfo(const std::string& name, const std::string& text) = 0;
    /// @param pattern regular expression (ECMAScript) that the feature's whole value must match
    virtual NyUtilsLib::Result AddCondition(const std::string& featureName,
                                            const std::string& pattern) = 0;
};

}  // namespace NxGenICamLib
