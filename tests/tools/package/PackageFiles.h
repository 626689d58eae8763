#pragma once

#include <string>

/// A firmware payload with a good header.
std::string GoodPayload(const std::string& body = "firmware", const std::string& family = "SIMCAM");

/// A manifest with one procedure of these steps and one update for the model "M", without anything
/// that a check has to say something of.
/// @param steps XML; by default the upload of a.dfw
std::string GoodManifest(const std::string& steps = "");

/// XML of one upload.
std::string Upload(const std::string& fileName, const std::string& transport = "GenICam");
