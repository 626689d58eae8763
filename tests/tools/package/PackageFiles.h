#pragma once

#include <string>

#include "ManifestBuilder.h"

/// A firmware payload with a good header.
std::string GoodPayload(const std::string& body = "firmware");

/// A manifest with one procedure of these steps and one update for the model "M", without anything
/// that a check has to say something of.
/// @param steps XML; by default the upload of a.dfw
std::string GoodManifest(const std::string& steps = "");
