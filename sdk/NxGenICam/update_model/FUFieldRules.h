#pragma once

#include <string>
#include <string_view>

namespace NxGenICamLib {

/// The kinds of text that a manifest's elements and attributes hold. Each is a simple type of
/// FirmwareUpdate.xsd; rule and type must stay the same.
enum class FUField {
    kId,
    kTransport,
    kFileName,
    kDeviceFileName,
    kFeatureName,
    kPattern,
    kMessage,
    kValue,
    kDescription,
    kInfoName,
    kInfoText,
};

/// The text as the rule sees it: white space trimmed and collapsed (XML Schema's whiteSpace
/// "collapse") where the kind asks for it.
std::string NormalizeField(FUField field, std::string_view text);

/// @param text valid UTF-8, normalised
/// @return empty, or what is wrong with it, to be read after the name of the place
std::string CheckField(FUField field, std::string_view text);

}  // namespace NxGenICamLib
