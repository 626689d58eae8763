#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenParameterArray.h>

#include "Script.h"

class NxGenEnum::Impl {
  public:
    explicit Impl(std::vector<Script::EnumEntry> listed) : entries(std::move(listed)) {}
    std::vector<Script::EnumEntry> entries;
};

class NxGenParameterArray::Impl {
  public:
    std::vector<std::unique_ptr<NxGenEnum>> enums;
};
