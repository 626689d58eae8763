#pragma once

#include <NxDevice/NxDfwHeader.h>

#include "FirmwareFile.h"

/// A bare payload (docs/protocols/dfw-payload.md).
class PayloadFile : public FirmwareFile {
  public:
    explicit PayloadFile(FirmwareContent content);

    /// Reads the whole file.
    [[nodiscard]] std::string Check() override;
    /// Decided by the model tags in the file's path, which the updater knows too, and by the
    /// family. It is said to fit where the model's name begins with the family.
    [[nodiscard]] Answer For(const FirmwareTarget& target) override;

  private:
    NxDfwHeader mHeader;
};
