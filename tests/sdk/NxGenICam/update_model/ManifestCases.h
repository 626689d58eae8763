#pragma once

#include <string>
#include <vector>

/// A manifest, and how the parser's message goes on after "Manifest.xml:"; empty for a good one.
/// Where the words are libxml2's own, which differ between its versions, only the place is given.
struct ManifestCase {
    const char* name;
    std::string text;
    std::string error;
};

/// A manifest with every kind of element but FeatureExecute, one element a line.
std::string PlainManifest();
/// The same with one part, which it must hold exactly once, replaced.
std::string ReplaceInManifest(const std::string& part, const std::string& replacement);

/// Texts that are not XML 1.0, or XML of a kind that a manifest must not use.
std::vector<ManifestCase> MalformedXml();
/// Well-formed, but against the grammar.
std::vector<ManifestCase> MalformedManifests();
/// Within the grammar but for a regular expression.
std::vector<ManifestCase> MalformedPatterns();
/// More elements than are allowed.
std::vector<ManifestCase> OverfullManifests();
/// What the parser refuses and a schema cannot see.
std::vector<ManifestCase> BeyondTheSchema();

std::vector<ManifestCase> GoodManifests();
