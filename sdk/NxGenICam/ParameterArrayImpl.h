#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenParameterArray.h>

#include "node_map/NodeMap.h"

class NxGenParameterArray::Impl {
  public:
    explicit Impl(std::unique_ptr<NodeMap> nodes) : mNodes(std::move(nodes)) {}

    [[nodiscard]] NodeMap& Nodes() { return *mNodes; }
    NxGenEnum* FindEnum(const std::string& name);

  private:
    std::unique_ptr<NodeMap> mNodes;
    std::map<std::string, std::unique_ptr<NxGenEnum>> mEnums;
};
