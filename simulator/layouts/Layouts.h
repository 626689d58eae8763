#pragma once

#include <memory>

#include "FileLayout.h"

namespace simulator {

// Each is in the source of its name.

[[nodiscard]] std::unique_ptr<FileLayout> MakePlainLayout(const DeviceOptions& options, Bus bus);
[[nodiscard]] std::unique_ptr<FileLayout> MakeSelectorLayout(const DeviceOptions& options, Bus bus);
[[nodiscard]] std::unique_ptr<FileLayout> MakeBitFieldLayout(const DeviceOptions& options, Bus bus);
[[nodiscard]] std::unique_ptr<FileLayout> MakeLocalSelectorLayout(const DeviceOptions& options,
                                                                  Bus bus);
[[nodiscard]] std::unique_ptr<FileLayout> MakeCommandRegisterLayout(const DeviceOptions& options,
                                                                    Bus bus);
[[nodiscard]] std::unique_ptr<FileLayout> MakeWriteOnlyExecuteLayout(const DeviceOptions& options,
                                                                     Bus bus);
[[nodiscard]] std::unique_ptr<FileLayout> MakeReadOnlyOffsetLayout(const DeviceOptions& options,
                                                                   Bus bus);
[[nodiscard]] std::unique_ptr<FileLayout> MakeWideLayout(const DeviceOptions& options, Bus bus);

}  // namespace simulator
