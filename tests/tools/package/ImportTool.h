#pragma once

#include <string>
#include <vector>

#include "PackageTool.h"

/// Imports update files with the real mirsko-package. They are "u.guf", the package is "p.zip".
class ImportTool : public PackageTool {
  protected:
    /// A control file with each kind of step, two procedures and two updates.
    static std::string ControlFile();
    /// A control file whose only condition is this pattern.
    static std::string WithPattern(const std::string& pattern);
    static std::string OneUpload(const std::string& name = "payload/camera.dfw");

    /// Writes an update file with the members that ControlFile names.
    void WriteUpdate(const std::string& controlFile) const;

    void ExpectRefused(const std::string& controlFile, const std::string& error) const;
    /// As Expect, for an update file without a signature.
    void ExpectUnsigned(const std::vector<std::string>& arguments, int status,
                        const std::string& out, const std::string& err) const;

    /// Imports, whatever is said about it, and gives what was said.
    std::string ImportAll(const std::vector<std::string>& options = {}) const;
    [[nodiscard]] std::string Manifest() const;
    /// Whether an update is for a model after the import of a pattern.
    [[nodiscard]] bool Matches(const std::string& pattern, const std::string& model) const;
};
