#pragma once

#include <string>
#include <vector>

#include "ZipBuilder.h"

/// A GenICam update file around a package of these members (GenICam FWUpdate 1.0): stored only.
/// @param signature CMS, over the package; empty for none
std::string MakeUpdateFile(const std::string& package, const std::string& signature = "");

/// A control file with a procedure "p" of these steps and an update by it.
/// @param steps, update XML without prefixes
std::string GoodControlFile(
    const std::string& steps,
    const std::string& update = "<Condition Feature=\"DeviceModelName\">M</Condition>");
