#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include <NxDevice/NxDfwHeader.h>

#include "../model/Package.h"

/// What there is to say of payloads and packages, as JSON (its shape: docs/packages.md) and as text
/// made from that.
using Json = nlohmann::ordered_json;

Json DescribePayload(const NxDfwHeader& header);
Json DescribePackage(const Package& package);

std::string PayloadText(const Json& payload);
std::string PackageText(const Json& package);
