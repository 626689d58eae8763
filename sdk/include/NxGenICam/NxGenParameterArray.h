#pragma once

#include <memory>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

class NxGenEnum;

/// The GenICam node map of one connection (GenICam GenApi; feature names of the SFNC).
///
/// One thread at a time. Owned by the NxDevice that gave it out.
class NX_API NxGenParameterArray {
  public:
    class Impl;

    explicit NxGenParameterArray(std::unique_ptr<Impl> impl);
    ~NxGenParameterArray();
    NxGenParameterArray(const NxGenParameterArray&) = delete;
    NxGenParameterArray& operator=(const NxGenParameterArray&) = delete;

    /// Reads a node as text: string, enumeration, integer, float, boolean.
    /// @return not OK, `value` untouched, when there is no such node or it cannot be read
    NxResult GetStringValue(const NxString& name, NxString& value);
    /// Executes a command node; does not wait until the device has carried it out.
    /// @return kNxNoSuchNode for an unknown node, kNxNodeAccess for one that is not a command or
    ///         cannot be executed now; otherwise what the path to the device returns
    NxResult ExecuteCommand(const NxString& name);
    /// Null when the node is absent, not implemented or not an enumeration, or when the device
    /// fails to report whether it is implemented. Owned by the node map.
    NxGenEnum* GetEnum(const NxString& name);

    /// For the SDK's own libraries.
    [[nodiscard]] Impl& GetImpl() const { return *mImpl; }

  private:
    std::unique_ptr<Impl> mImpl;
};
