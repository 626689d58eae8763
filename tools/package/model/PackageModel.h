#pragma once

#include <string>
#include <vector>

/// One step of a procedure, as its manifest says it.
struct PackageStep {
    enum class Kind { kFileUpload, kFeatureAssert, kFeatureWrite, kFeatureExecute, kDeviceReset };

    Kind kind = Kind::kDeviceReset;
    std::string fileName{};        ///< FileUpload
    std::string deviceFileName{};  ///< FileUpload; may be empty
    std::string transport{};       ///< FileUpload
    std::string featureName{};     ///< the three with a feature
    std::string pattern{};         ///< FeatureAssert
    std::string message{};         ///< FeatureAssert
    std::string value{};           ///< FeatureWrite
    std::string description{};     ///< written, but not read back
};

/// A field of a step: its names in a manifest and in the JSON of `mirsko-package info`.
struct PackageStepField {
    enum class Place { kAttribute, kElement, kOptionalElement };

    const char* name;
    const char* key;
    std::string PackageStep::*value;
    Place place = Place::kElement;
};

struct PackageProcedure {
    std::string id;
    std::vector<PackageStep> steps;
};

struct PackageInfo {
    std::string name;
    std::string text;
};

struct PackageCondition {
    std::string featureName;
    std::string pattern;
};

struct PackageUpdate {
    std::string procedureId;
    std::vector<PackageInfo> infos;
    std::vector<PackageCondition> conditions;
};

/// What a manifest says.
struct PackageModel {
    std::vector<PackageProcedure> procedures;
    std::vector<PackageUpdate> updates;

    /// The name of a step's element, e.g. "FileUpload".
    static const char* NameOf(PackageStep::Kind kind);
    /// What a step of that kind holds besides its description, in the order of a manifest.
    static std::vector<PackageStepField> FieldsOf(PackageStep::Kind kind);
    /// Names of all files that procedures upload, each once, in the order of the manifest.
    [[nodiscard]] std::vector<std::string> FileNames() const;
};
