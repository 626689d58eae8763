#include "registers/RegisterBus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "Bytes.h"
#include "MemoryPort.h"

using testing::ElementsAre;

namespace {

class RegisterBusTest : public testing::Test {
  protected:
    RegisterBusTest() { port->Store(0xB000, "abcdefgh"); }

    std::shared_ptr<MemoryPort> port = std::make_shared<MemoryPort>();
    RegisterBus bus{port};
};

}  // namespace

TEST_F(RegisterBusTest, LeavesTheRestOfTheWordsAsItIs) {
    ASSERT_TRUE(bus.Write(0xB003, BytesOf("DE")).IsOK());
    EXPECT_EQ(port->Load(0xB000, 8), "abcDEfgh");
    EXPECT_THAT(port->log, ElementsAre("READMEM 8", "WRITEMEM 8"));
}

TEST_F(RegisterBusTest, WritesNothingWhenTheRestCannotBeRead) {
    port->failedReads[0xB000] = NxResult(kNxTimeout, "the device is gone");
    EXPECT_EQ(bus.Write(0xB002, BytesOf("C")).GetCode(), kNxTimeout);
    EXPECT_EQ(port->Load(0xB000, 4), "abcd");
}

TEST_F(RegisterBusTest, WritesAnyBytesWhereTheTransportCan) {
    port->hasRegisterCommands = false;
    ASSERT_TRUE(bus.Write(0xB003, BytesOf("DE")).IsOK());
    EXPECT_EQ(port->Load(0xB000, 8), "abcDEfgh");
    EXPECT_THAT(port->log, ElementsAre("WRITEMEM 2"));
}
