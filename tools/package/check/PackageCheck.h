#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "../model/Package.h"
#include "Finding.h"

/// Looks for everything in a package that would make its update fail, or do something else than
/// its manifest seems to say.
class PackageCheck {
  public:
    explicit PackageCheck(const Package& package);

    [[nodiscard]] std::vector<Finding> Run();

  private:
    void CheckManifestMember();
    void CheckProcedure(const PackageProcedure& procedure);
    void CheckUpdate(const PackageUpdate& update, std::size_t number);
    void CheckFile(const std::string& name);
    void CheckMember(std::size_t member);
    void CheckModelTag(const std::string& fileName);
    void Error(const std::string& text);
    void Warn(std::string_view name, const std::string& text);

    const Package& mPackage;
    std::vector<Finding> mFindings;
};
