#pragma once

#include <NxBase/NxApi.h>
#include <NyUtilsLib/Result.h>

namespace NxGenICamLib {

/// Something built from a firmware-update description that can be run against a device.
class NX_API IGenFUModel {
  public:
    virtual ~IGenFUModel();

    /// @return code 0 when the whole update was done; else the failing step's code, and a message
    ///         that names the step
    virtual NyUtilsLib::Result Run() = 0;
};

}  // namespace NxGenICamLib
