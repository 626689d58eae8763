#include "gvcp/GvcpAddressSpace.h"

#include <array>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "Bytes.h"
#include "FakeGvcpDevice.h"

using testing::StrEq;

namespace {

class GvcpAddressSpaceTest : public testing::Test {
  protected:
    GvcpAddressSpaceTest() {
        auto owned = std::make_unique<FakeGvcpDevice>();
        mDevice = owned.get();
        mChannel = std::make_unique<GvcpChannel>(std::move(owned), Endpoint{0x0A090802, 3956},
                                                 "10.9.8.2 on eth9");
        mSpace = std::make_unique<GvcpAddressSpace>(*mChannel, "10.9.8.2 on eth9");
    }

    std::string Read(std::uint64_t address, std::size_t count) {
        std::string bytes(count, '?');
        const NxResult result =
            mSpace->ReadBytes(address, std::as_writable_bytes(std::span(bytes)));
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        return bytes;
    }

    FakeGvcpDevice* mDevice = nullptr;
    std::unique_ptr<GvcpChannel> mChannel;
    std::unique_ptr<GvcpAddressSpace> mSpace;
};

}  // namespace

TEST_F(GvcpAddressSpaceTest, CountsAddressesModulo32Bits) {
    mDevice->Put(0xD0000000, "abcdefgh");
    EXPECT_EQ(Read(0xFFFFD0000000, 8), "abcdefgh");
    EXPECT_EQ(Read(0xFFFFFFFFD0000002, 4), "cdef");
    ASSERT_TRUE(mSpace->WriteBytes(0x1D0000000, BytesOf("ABCDEFGH")).IsOK());
    EXPECT_EQ(mDevice->Memory(0xD0000000, 8), "ABCDEFGH");

    for (const bool combined : {false, true}) {
        mSpace->CombineRegisters(combined);
        mDevice->Put(0xD0000000, "abcdefgh");
        std::array<GenPort::Register, 2> registers{GenPort::Register{.address = 0xFFFFD0000004},
                                                   GenPort::Register{.address = 0x1D0000000}};
        ASSERT_TRUE(mSpace->ReadRegisters(registers).IsOK());
        EXPECT_EQ(TextOf(registers[0].bytes), "efgh");
        EXPECT_EQ(TextOf(registers[1].bytes), "abcd");
        std::swap(registers[0].bytes, registers[1].bytes);
        ASSERT_TRUE(mSpace->WriteRegisters(registers).IsOK());
        EXPECT_EQ(mDevice->Memory(0xD0000000, 8), "efghabcd");
    }
}

TEST_F(GvcpAddressSpaceTest, GoesRoundAtTheEndOfTheSpace) {
    mDevice->Put(0xFFFFFFF8, "01234567abcdefgh");
    EXPECT_EQ(Read(0xFFFFFFF8, 16), "01234567abcdefgh");
    EXPECT_EQ(Read(0xFFFFFFFE, 6), "67abcd");
    EXPECT_EQ(Read(0x5FFFFFFFC, 8), "4567abcd");
    ASSERT_TRUE(mSpace->WriteBytes(0xFFFFFFFC, BytesOf("WXYZwxyz")).IsOK());
    EXPECT_EQ(mDevice->Memory(0xFFFFFFF8, 8), "0123WXYZ");
    EXPECT_EQ(mDevice->Memory(0, 8), "wxyzefgh");
}

TEST_F(GvcpAddressSpaceTest, SaysWhichAddressCannotBeWritten) {
    const NxResult result = mSpace->WriteBytes(0x1D0000002, BytesOf("abcd"));
    EXPECT_EQ(result.GetCode(), kNxInvalidArgument);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                StrEq("10.9.8.2 on eth9 cannot be written at 0xd0000002: the address is not a "
                      "multiple of four"));
}

TEST_F(GvcpAddressSpaceTest, WritesRegistersOfADeviceThatHasNoWriteMemory) {
    mDevice->LackWriteMemory();
    ASSERT_TRUE(mSpace->WriteBytes(0xD0000000, BytesOf("abcdefghij")).IsOK());
    // A register is written as a whole.
    EXPECT_EQ(mDevice->Memory(0xD0000000, 12), std::string("abcdefghij\0\0", 12));
    EXPECT_EQ(mDevice->RegisterWrites(), 3U);
    // It is not asked again.
    const std::size_t before = mDevice->Commands();
    mSpace->CombineRegisters(true);
    ASSERT_TRUE(mSpace->WriteBytes(0xD0000000, BytesOf("ABCDEFGH")).IsOK());
    EXPECT_EQ(mDevice->Memory(0xD0000000, 8), "ABCDEFGH");
    EXPECT_EQ(mDevice->Commands() - before, 1U);
}
