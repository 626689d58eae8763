#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "GenXml.h"
#include "MemoryPort.h"

/// Parameters over a description whose registers lie in memory.
class ParameterArrayFixture : public testing::Test {
  protected:
    void Load(const std::string& nodes, int schemaMinor = 1) {
        result = MakeParameterArray(port, GenXml::Description(nodes, 1, schemaMinor), parameters);
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }
    std::string Text(const std::string& name) {
        NxString text("untouched");
        result = parameters->GetStringValue(NxString(name), text);
        return text.GetAscii();
    }
    std::string EntryName(const std::string& enumeration, unsigned int index) {
        NxGenEnumEntry entry;
        NxString name("untouched");
        result = parameters->GetEnum(NxString(enumeration))->GetEntryByIndex(index, entry);
        if (result.IsOK()) {
            result = entry.GetName(name);
        }
        return name.GetAscii();
    }
    NxResult LoadXml(const std::string& xml) { return MakeParameterArray(port, xml, parameters); }

    std::shared_ptr<MemoryPort> port = std::make_shared<MemoryPort>();
    std::unique_ptr<NxGenParameterArray> parameters;
    NxResult result;
};
