#pragma once

#include <memory>

#include "FileLayout.h"

namespace simulator {

using LayoutFactory = std::unique_ptr<FileLayout>(const DeviceOptions& options, Bus bus);

// Each is in the source of its name.
LayoutFactory MakePlainLayout;
LayoutFactory MakeSelectorLayout;
LayoutFactory MakeBitFieldLayout;
LayoutFactory MakeLocalSelectorLayout;
LayoutFactory MakeCommandRegisterLayout;
LayoutFactory MakeWriteOnlyExecuteLayout;
LayoutFactory MakeReadOnlyOffsetLayout;
LayoutFactory MakeWideLayout;

}  // namespace simulator
