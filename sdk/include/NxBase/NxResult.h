#pragma once

#include <NxBase/NxApi.h>
#include <NxBase/NxString.h>

/// The outcome of an SDK operation: a code of NxResultCodes.h and a line for a service engineer.
class [[nodiscard]] NX_API NxResult {
  public:
    /// Success.
    NxResult() = default;
    /// The description is the general one of that code.
    explicit NxResult(unsigned int code);
    /// @param description one line without a line end: what failed, on which device and interface,
    ///        with which protocol code, and what to do. It goes through PrintableText as a whole,
    ///        so that nothing which steers a terminal gets through; a text from outside in it
    ///        should do so before, to keep its length from hiding the rest.
    NxResult(unsigned int code, const NxString& description);

    [[nodiscard]] bool IsOK() const;
    [[nodiscard]] unsigned int GetCode() const;
    [[nodiscard]] const NxString& GetDescription() const;

  private:
    unsigned int mCode = 0;
    NxString mDescription;
};
