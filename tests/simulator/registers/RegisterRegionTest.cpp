#include "simulator/registers/RegisterRegion.h"

#include <gtest/gtest.h>

#include "Hex.h"

using simulator::DeviceMemory;
using simulator::MemoryStatus;
using simulator::ReadOnlyRegion;
using simulator::RegisterRegion;
using Access = RegisterRegion::Access;

namespace {

std::string Read(DeviceMemory& memory, std::uint64_t address, std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    EXPECT_EQ(memory.ReadMemory(address, bytes), MemoryStatus::kOk);
    return ToHex(bytes);
}

MemoryStatus Write(DeviceMemory& memory, std::uint64_t address, const std::string& hex) {
    return memory.WriteMemory(address, FromHex(hex));
}

}  // namespace

TEST(DeviceMemoryTest, ReadsAndWritesAcrossRegionsSideBySideButNotAcrossGaps) {
    DeviceMemory memory;
    auto& upper = memory.Add<RegisterRegion>(0x110U, 0x10U, std::endian::big);
    auto& lower = memory.Add<RegisterRegion>(0x100U, 0x10U, std::endian::big);
    memory.Add<ReadOnlyRegion>(0x200U, std::vector<std::uint8_t>{1, 2, 3, 4});
    lower.Define(0x100, 16, Access::kReadWrite);
    upper.Define(0x110, 16, Access::kReadWrite);
    EXPECT_EQ(Write(memory, 0x10c, "0102030405060708"), MemoryStatus::kOk);
    EXPECT_EQ(Read(memory, 0x10a, 12), "000001020304050607080000");
    EXPECT_EQ(Read(memory, 0x200, 4), "01020304");
    std::vector<std::uint8_t> bytes(8);
    for (const std::uint64_t address :
         {std::uint64_t{0xfc}, std::uint64_t{0x11c}, std::uint64_t{0x200}, ~std::uint64_t{3}}) {
        EXPECT_EQ(memory.ReadMemory(address, bytes), MemoryStatus::kInvalidAddress);
        EXPECT_EQ(memory.WriteMemory(address, bytes), MemoryStatus::kInvalidAddress);
    }
    EXPECT_EQ(Write(memory, 0x200, "05"), MemoryStatus::kWriteProtect);
    EXPECT_EQ(DeviceMemory().ReadMemory(0, bytes), MemoryStatus::kInvalidAddress);
}

TEST(RegisterRegionTest, HasNumbersInItsByteOrder) {
    DeviceMemory memory;
    memory.Add<RegisterRegion>(0U, 4U, std::endian::big).SetNumber(0, 0x01020304);
    memory.Add<RegisterRegion>(4U, 4U, std::endian::little).SetNumber(4, 0x01020304);
    EXPECT_EQ(Read(memory, 0, 8), "0102030404030201");
}

TEST(RegisterRegionTest, KeepsATextsLastByteZero) {
    RegisterRegion region(0, 8, std::endian::big);
    region.SetText(0, 4, "abcdef");
    EXPECT_EQ(region.GetText(0, 4), "abc");
    region.SetText(0, 4, "x");
    EXPECT_EQ(region.GetText(0, 4), "x");
}

TEST(RegisterRegionTest, WritesOnlyWhereEveryByteIsWritable) {
    DeviceMemory memory;
    auto& region = memory.Add<RegisterRegion>(0U, 32U, std::endian::big);
    region.Define(4, 4, Access::kReadWrite);
    region.Define(8, 4, Access::kReadWrite);
    region.Define(12, 4, Access::kReadOnly);
    EXPECT_EQ(Write(memory, 6, "01020304"), MemoryStatus::kOk);
    EXPECT_EQ(Write(memory, 2, "ffffffff"), MemoryStatus::kWriteProtect);
    EXPECT_EQ(Write(memory, 10, "ffffffff"), MemoryStatus::kWriteProtect);
    EXPECT_EQ(Write(memory, 12, "ff"), MemoryStatus::kWriteProtect);
    EXPECT_EQ(Write(memory, 20, "ff"), MemoryStatus::kWriteProtect);
    EXPECT_EQ(Read(memory, 0, 16),
              "00000000"
              "00000102"
              "03040000"
              "00000000");
}

TEST(RegisterRegionTest, CallsTheHooksOfTheRegistersTouchedAndUndoesWhatTheyRefuse) {
    DeviceMemory memory;
    auto& region = memory.Add<RegisterRegion>(0U, 16U, std::endian::big);
    std::uint32_t reads = 0;
    region.Define(0, 4, Access::kReadOnly, {[&] { region.SetNumber(0, ++reads); }, nullptr});
    std::uint32_t writes = 0;
    region.Define(4, 4, Access::kReadWrite, {nullptr, [&] {
                                                 ++writes;
                                                 return region.GetNumber(4) > 9
                                                            ? MemoryStatus::kInvalidParameter
                                                            : MemoryStatus::kOk;
                                             }});
    EXPECT_EQ(Read(memory, 0, 2), "0000");
    EXPECT_EQ(Read(memory, 4, 4), "00000000");
    EXPECT_EQ(Read(memory, 0, 8), "0000000200000000");
    EXPECT_EQ(Write(memory, 4, "00000009"), MemoryStatus::kOk);
    EXPECT_EQ(Write(memory, 4, "0000000a"), MemoryStatus::kInvalidParameter);
    EXPECT_EQ(Read(memory, 4, 4), "00000009");
    EXPECT_EQ(writes, 2U);
}

TEST(RegisterRegionTest, RefusesToReadAWriteOnlyRegister) {
    DeviceMemory memory;
    auto& region = memory.Add<RegisterRegion>(0x100U, 0x10U, std::endian::big);
    region.Define(0x104, 4, Access::kWriteOnly);
    std::vector<std::uint8_t> bytes(8);
    EXPECT_EQ(memory.ReadMemory(0x100, bytes), MemoryStatus::kAccessDenied);
    EXPECT_EQ(Write(memory, 0x104, "00000007"), MemoryStatus::kOk);
    EXPECT_EQ(region.GetNumber(0x104), 7U);
}

TEST(RegisterRegionTest, HasNothingBetweenItsRegistersIfTheyAreNotReserved) {
    DeviceMemory memory;
    auto& region = memory.Add<RegisterRegion>(0x100U, 0x10U, std::endian::big,
                                              RegisterRegion::Gaps::kUnmapped);
    region.DefineStored(0x104, 5);
    region.DefineStored(0x108, 6);
    EXPECT_EQ(Read(memory, 0x104, 8), "0000000500000006");
    std::vector<std::uint8_t> bytes(8);
    for (const std::uint64_t address : {0x100U, 0x108U}) {
        EXPECT_EQ(memory.ReadMemory(address, bytes), MemoryStatus::kInvalidAddress);
        EXPECT_EQ(memory.WriteMemory(address, bytes), MemoryStatus::kInvalidAddress);
    }
    EXPECT_EQ(region.GetNumber(0x108), 6U);
}

TEST(RegisterRegionTest, GivesALongRegisterAsAWholeOnly) {
    for (const std::endian order : {std::endian::big, std::endian::little}) {
        DeviceMemory memory;
        auto& region = memory.Add<RegisterRegion>(0x100U, 0x10U, order);
        region.DefineLong(0x100, Access::kReadWrite);
        region.SetLong(0x100, 0x0102030405060708U);
        EXPECT_EQ(Read(memory, 0x100, 8),
                  order == std::endian::big ? "0102030405060708" : "0807060504030201");
        EXPECT_EQ(region.GetLong(0x100), 0x0102030405060708U);
        EXPECT_EQ(Read(memory, 0x100, 12).substr(16), "00000000");
        EXPECT_EQ(Write(memory, 0x100, "00000000"), MemoryStatus::kBadAlignment);
        EXPECT_EQ(Write(memory, 0x104, "0000000000000000"), MemoryStatus::kBadAlignment);
        EXPECT_EQ(region.GetLong(0x100), 0x0102030405060708U);
    }
}

TEST(RegisterRegionTest, AsksWhetherARegisterIsAvailableOrLockedEachTime) {
    DeviceMemory memory;
    auto& region = memory.Add<RegisterRegion>(0x100U, 0x10U, std::endian::big);
    bool available = false;
    bool locked = true;
    region.Define(0x100, 4, Access::kReadWrite, {.isAvailable = [&] { return available; }});
    region.Define(0x104, 4, Access::kReadWrite, {.isLocked = [&] { return locked; }});
    std::vector<std::uint8_t> bytes(4);
    EXPECT_EQ(memory.ReadMemory(0x100, bytes), MemoryStatus::kAccessDenied);
    EXPECT_EQ(Write(memory, 0x100, "00000001"), MemoryStatus::kAccessDenied);
    EXPECT_EQ(Write(memory, 0x104, "00000001"), MemoryStatus::kWriteProtect);
    EXPECT_EQ(Read(memory, 0x104, 4), "00000000");
    available = true;
    locked = false;
    EXPECT_EQ(Write(memory, 0x100, "0000000200000003"), MemoryStatus::kOk);
    EXPECT_EQ(Read(memory, 0x100, 8), "0000000200000003");
}
