#pragma once

#include <string>

#include "Command.h"

/// payload: makes a ".dfw" payload of a binary file.
class PayloadCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    int Run() override;

  private:
    std::string mFamily;
    std::string mVersion;
    std::string mBody;
    std::string mPayload;
};
