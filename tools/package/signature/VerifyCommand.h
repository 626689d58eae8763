#pragma once

#include <string>

#include "../commands/Command.h"

/// "verify": checks who signed a payload or package, and that it was not changed since.
class VerifyCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    [[nodiscard]] int Run() override;

  private:
    std::string mAuthorities;
    std::string mSignature;
    std::string mFile;
};
