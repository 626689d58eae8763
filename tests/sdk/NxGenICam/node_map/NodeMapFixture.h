#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "GenXml.h"
#include "MemoryPort.h"
#include "node_map/NodeMap.h"
#include "node_map/NodeWriter.h"

/// A node map over a description whose registers lie in memory.
class NodeMapFixture : public testing::Test {
  protected:
    void Load(const std::string& nodes) {
        result = NodeMap::Load(port, GenXml::Description(nodes), map);
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }
    [[nodiscard]] NodeMap::Id Node(const std::string& name) const {
        return map->Table().Find(name);
    }
    std::string Text(const std::string& name) {
        std::string text = "untouched";
        result = map->ReadText(name, text);
        EXPECT_EQ(result.IsOK(), text != "untouched") << name;
        return text;
    }
    /// What a failure says of a feature of the device.
    std::string Why(const std::string& feature, const NxResult& failure) {
        result = failure;
        const std::string said = failure.GetDescription().GetAscii();
        const std::string begin = "The GenICam feature " + feature + " of 192.0.2.7 on eth9 ";
        EXPECT_FALSE(failure.IsOK()) << feature;
        return said.starts_with(begin) ? said.substr(begin.size()) : said;
    }
    /// Why a feature cannot be read.
    std::string Why(const std::string& name) {
        EXPECT_EQ(Text(name), "untouched") << name;
        return Why(name, result);
    }
    NodeRights Rights(const std::string& name, NodeRights::Scope scope = NodeRights::Scope::kNow) {
        NodeRights rights;
        result = map->FindRights(Node(name), scope, rights);
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        return rights;
    }
    std::string Access(const std::string& name) {
        const NodeRights rights = Rights(name);
        return std::string(rights.MayRead() ? "R" : "-") + (rights.MayWrite() ? "W" : "-");
    }
    NxResult WriteFloat(const std::string& name, double value) {
        NodeValues values = map->Access();
        return NodeWriter(values).SetFloat(Node(name), value);
    }
    /// Sets a node whatever its rights are.
    NxResult Set(const std::string& name, std::int64_t value) {
        return map->SetInteger(Node(name), value);
    }
    static std::string Repeat(const std::string& part, int times) {
        std::string text;
        for (int i = 0; i < times; ++i) {
            text += part;
        }
        return text;
    }
    /// A chain of integers, of which the last one has a value: "C0" refers to "C1" and so on.
    static std::string Chain(const std::string& name, int length) {
        std::string nodes;
        for (int i = 0; i + 1 < length; ++i) {
            nodes += GenXml::Integer(name + std::to_string(i),
                                     "<pValue>" + name + std::to_string(i + 1) + "</pValue>");
        }
        return nodes + GenXml::Integer(name + std::to_string(length - 1), "<Value>7</Value>");
    }

    std::shared_ptr<MemoryPort> port = std::make_shared<MemoryPort>();
    std::unique_ptr<NodeMap> map;
    NxResult result;
};
