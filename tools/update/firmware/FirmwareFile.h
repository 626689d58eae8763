#pragma once

#include <memory>
#include <string>

#include "FirmwareContent.h"
#include "FirmwarePlan.h"

/// What decides which firmware a camera takes.
struct FirmwareTarget {
    std::string model;
    std::string family;  ///< empty when it is not known
};

/// A firmware file, checked when it is opened. Any thread.
class FirmwareFile {
  public:
    enum class Fit {
        kNo,
        kPossible,  ///< nothing says that it does not fit, nor that it does
        kYes,
    };

    /// What the file holds for one camera.
    struct Answer {
        Fit fit = Fit::kNo;
        FirmwarePlan plan;   ///< unless it does not fit
        std::string reason;  ///< why it does not fit, one line
    };

    /// @param path ".dfw": a payload; ".zip": a package
    /// @param authorities PEM file of the certificates to trust: the file has to be signed under
    ///                    one of them; empty where that does not matter
    /// @param problem receives why it cannot be used, one line
    /// @return null then
    static std::unique_ptr<FirmwareFile> Open(const std::string& path,
                                              const std::string& authorities, std::string& problem);

    virtual ~FirmwareFile() = default;
    FirmwareFile(const FirmwareFile&) = delete;
    FirmwareFile& operator=(const FirmwareFile&) = delete;

    /// As the user wrote it.
    [[nodiscard]] const std::string& Name() const { return mContent.Name(); }
    /// Who signed it; empty when nobody asked.
    [[nodiscard]] const std::string& Signers() const { return mContent.Signers(); }

    /// To be called once, first. @return why it cannot be used, one line; empty if it can
    [[nodiscard]] virtual std::string Check() = 0;
    [[nodiscard]] virtual Answer For(const FirmwareTarget& target) = 0;

  protected:
    explicit FirmwareFile(FirmwareContent content);
    [[nodiscard]] const FirmwareContent& Content() const { return mContent; }

  private:
    FirmwareContent mContent;
};
