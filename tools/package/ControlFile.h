#pragma once

#include <pugixml.hpp>
#include <string>
#include <vector>

#include "PackageModel.h"

/// Reads the control file of a GenICam update file (GenICam FWUpdate 1.0), whatever namespace,
/// order or further elements its author used, into the model of a package.
class ControlFile {
  public:
    /// @param transport for uploads, whose transport a control file does not tell
    explicit ControlFile(std::string transport);

    /// @return empty, or why the control file cannot be converted
    [[nodiscard]] std::string Read(const std::string& text);
    /// File names still stand as in the control file, folders included.
    [[nodiscard]] PackageModel& GetModel() { return mModel; }
    /// What was left out or made up.
    [[nodiscard]] const std::vector<std::string>& Warnings() const { return mWarnings; }

  private:
    std::string ReadProcedure(const pugi::xml_node& node);
    std::string ReadStep(const pugi::xml_node& node, PackageProcedure& procedure);
    std::string ReadUpdate(const pugi::xml_node& node);
    void ReadInfo(const pugi::xml_node& node, PackageUpdate& update);
    static void AddInfo(PackageUpdate& update, const std::string& name, const std::string& text);

    std::string mTransport;
    PackageModel mModel;
    std::vector<std::string> mWarnings;
};
