#pragma once

#include <string>
#include <vector>

#include "../check/Finding.h"
#include "Command.h"

/// check: looks for whatever would make an update with this file fail.
class CheckCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    int Run() override;

  private:
    [[nodiscard]] bool IsAccepted(const Finding& finding) const;
    void Print(const std::vector<Finding>& findings) const;
    void PrintJson(const std::vector<Finding>& findings, bool isGood) const;
    [[nodiscard]] std::vector<Finding> CheckPackage() const;
    [[nodiscard]] std::vector<Finding> CheckPlainPayload() const;

    std::string mFile;
    std::vector<std::string> mModels;
    std::vector<std::string> mAccepted;  // names of warnings
    bool mAsJson = false;
};
