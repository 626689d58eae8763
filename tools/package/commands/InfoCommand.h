#pragma once

#include <string>

#include "Command.h"

/// info: shows what a payload or package holds.
class InfoCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    int Run() override;

  private:
    std::string mFile;
    bool mAsJson = false;
};
