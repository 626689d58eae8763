#pragma once

#include <string>

#include "../commands/Command.h"

/// "sign": writes the signature of a payload or package beside it.
class SignCommand : public Command {
  public:
    CLI::App* Declare(CLI::App& program) override;
    [[nodiscard]] int Run() override;

  private:
    std::string mKey;
    std::string mCertificate;
    std::string mPassphraseFile;
    std::string mSignature;
    std::string mFile;
};
