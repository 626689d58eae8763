#pragma once

#include <memory>
#include <string>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxGenICam/NxGenParameterArray.h>
#include <internal/NxGenICam/GenPort.h>

/// Makes the node map that a GenICam XML describes, over a device's registers.
/// @param xml not trusted; it may be dropped afterwards
/// @return kNxBadDescription when the XML is cut short, malformed or harmful; `parameters`
///         untouched
NX_API NxResult MakeParameterArray(std::shared_ptr<GenPort> port, const std::string& xml,
                                   std::unique_ptr<NxGenParameterArray>& parameters);
