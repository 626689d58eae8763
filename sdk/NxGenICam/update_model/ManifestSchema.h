#pragma once

#include <string_view>

namespace NxGenICamLib {

/// FirmwareUpdate.xsd as it is installed; CMake puts it into the library.
std::string_view ManifestSchema();

}  // namespace NxGenICamLib
