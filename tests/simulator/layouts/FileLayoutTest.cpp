// Each layout in the conversation that its description asks for, by addresses and values written
// down here once more.
#include "FileLayoutFixture.h"
#include "Process.h"

using simulator::Bus;
using simulator::RegisterLayout;
using testing::HasSubstr;

TEST_P(FileLayoutTest, UpdatesThroughPlainRegisters) {
    Make(RegisterLayout::kPlain);
    Update(Plain());
    UpdateOneNamelessFile(RegisterLayout::kPlain, Plain());
}

TEST_P(FileLayoutTest, UpdatesThroughLittleEndianRegisters) {
    Make(RegisterLayout::kLittleEndian);
    mBigEndian = false;
    Update(Plain());
    EXPECT_THAT(DescribeDevice(mOptions, GetParam()),
                HasSubstr("<Address>0x10318</Address>\n    <Length>4</Length>\n"
                          "    <AccessMode>RW</AccessMode>\n    <pPort>Device</pPort>\n"
                          "    <Sign>Unsigned</Sign>\n    <Endianess>LittleEndian</Endianess>"));
    UpdateOneNamelessFile(RegisterLayout::kLittleEndian, Plain());
}

TEST_P(GigEVisionLayoutTest, UpdatesThroughLegacyEndianRegistersAgainstItsDescription) {
    Make(RegisterLayout::kLegacyEndian);
    EXPECT_EQ(Get(0x0004), 1U) << "device mode: little-endian";
    EXPECT_EQ(Get(0x0938), 3000U) << "bootstrap registers are big-endian";
    mBigEndian = false;
    Update(Plain());
    EXPECT_THAT(DescribeDevice(mOptions, GetParam()),
                testing::Not(HasSubstr("<Endianess>LittleEndian")));
    UpdateOneNamelessFile(RegisterLayout::kLegacyEndian, Plain());
}

TEST_P(GigEVisionLayoutTest, GivesRegistersOfALittleEndianDeviceByCommandAsConfigured) {
    for (const bool swap : {false, true}) {
        SCOPED_TRACE(swap);
        mOptions.registerCommandsSwap = swap;
        Make(RegisterLayout::kLittleEndian);
        auto& gvcp = dynamic_cast<GvcpDeviceChannel&>(*mChannel);
        const std::string value = swap ? "00000123" : "23010000";
        EXPECT_EQ(gvcp.Ask("0082", "00010310" + value).substr(0, 4), "0000");
        std::string bytes;
        EXPECT_EQ(mChannel->Read(0x10310, 4, bytes), 0U);
        EXPECT_EQ(bytes, std::string("\x23\x01\0\0", 4));
        EXPECT_EQ(gvcp.Ask("0080", "00010310").substr(16), value);
        EXPECT_EQ(gvcp.Ask("0080", "00000938").substr(16), "00000bb8") << "not of a bootstrap one";
    }
}

TEST_P(FileLayoutTest, UpdatesThroughRegistersThatDependOnTheSelectors) {
    Make(RegisterLayout::kSelectorDependent);
    std::uint64_t file = 0;
    std::uint64_t operation = 0;
    Steps steps;
    const auto at = [&](std::uint64_t offset) {
        return 0x11000 + 0x400 * file + 0x100 * operation + offset;
    };
    steps.select = [&](std::uint32_t value) {
        Put(0x10300, value);
        file = value;
        steps.buffer = kBuffer + 0x1000000 * file;
    };
    std::uint64_t wantedOffset = 0;
    std::uint32_t wantedLength = 0;
    steps.range = [&](std::uint64_t offset, std::uint32_t length) {
        wantedOffset = offset;
        wantedLength = length;
    };
    steps.execute = [&](std::uint32_t value, std::uint32_t mode) {
        Put(0x10304, value);
        operation = value;
        Put(at(0x00), wantedOffset);
        Put(at(0x04), wantedLength);
        Put(at(0x14), mode);
        Put(at(0x08), 1);
    };
    steps.succeeded = [&] { return Get(at(0x0c)) == 0; };
    steps.result = [&] { return Get(at(0x10)); };
    Update(steps);
    steps.select(0);
    UpdateOneNamelessFile(RegisterLayout::kSelectorDependent, steps);
}

TEST_P(FileLayoutTest, UpdatesThroughBitFields) {
    Make(RegisterLayout::kBitFields);
    Steps steps = Plain();
    const bool usb = GetParam() == Bus::kUsb3Vision;
    steps.execute = [this](std::uint32_t operation, std::uint32_t mode) {
        Put(0x10304, operation);
        if (operation == kOpen) {
            Put(0x1031c, mode);
        }
        Put(0x10318, 1);
    };
    steps.succeeded = [this] { return Get(0xfffffc) >> 28U == 0; };
    steps.result = [this] { return Get(0xfffffc) & 0x1ffffffU; };
    Update(steps);

    EXPECT_EQ(Get(0xffffe0), 4U);
    EXPECT_EQ(Get(0xffffe4), 4096U);
    EXPECT_EQ(Get(0xffffe8), 4096U);
    EXPECT_EQ(TryPut(0xfffffc, 0), DeviceChannel::kWriteProtect);
    const std::uint64_t size = mFirmware->State().lastStatus.size();
    Put(0x10300, kStatusTxt);
    EXPECT_EQ(Get(0xfffff8), usb ? size << 5U : size);
    steps.execute(kOpen, 0);
    EXPECT_EQ(Get(0xfffff8), usb ? size << 5U | 1U : size | 0x80000000U);
    EXPECT_EQ(TryPut(0x1031c, 1), DeviceChannel::kWriteProtect) << "the open mode is locked";
    const std::uint64_t before = Get(0xfffffc);
    steps.range(0, 6);
    steps.execute(kRead, 0);
    EXPECT_EQ(Get(0xfffffc) >> 28U, 0U) << "the increment is for what is written";
    EXPECT_NE(Get(0xfffffc) & 0xe000000U, before & 0xe000000U) << "operations are counted";
    steps.execute(kClose, 0);
    steps.select(kDfw);
    steps.execute(kOpen, 1);
    steps.range(0, 6);
    steps.execute(kWrite, 0);
    EXPECT_EQ(Get(0xfffffc) >> 28U, 4U) << "InvalidLength";
    UpdateOneNamelessFile(RegisterLayout::kBitFields, steps);
}

TEST_P(FileLayoutTest, UpdatesThroughLocalSelectors) {
    Make(RegisterLayout::kLocalSelectors);
    Steps steps = Plain();
    steps.execute = [this](std::uint32_t operation, std::uint32_t mode) {
        Put(0x10318, operation == kOpen ? 0x10 + mode : operation);
        EXPECT_EQ(Get(0x10318), 0U);
    };
    steps.succeeded = [this] { return Get(0xfffffc) >> 28U == 0; };
    steps.result = [this] { return Get(0xfffffc) & 0x1ffffffU; };
    Update(steps);
    for (const std::uint32_t value : {0U, 4U, 0x12U, ~0U}) {
        EXPECT_EQ(TryPut(0x10318, value), DeviceChannel::kInvalidParameter);
    }
    EXPECT_EQ(TryGet(0x10304), DeviceChannel::kInvalidAddress) << "no operation selector";
    EXPECT_EQ(TryPut(0x10300, 6), DeviceChannel::kInvalidParameter) << "not a file of this device";
    EXPECT_EQ(Get(0x1031c), 3U);
    UpdateOneNamelessFile(RegisterLayout::kLocalSelectors, steps);
}

TEST_P(FileLayoutTest, UpdatesThroughACommandRegister) {
    Make(RegisterLayout::kCommandRegister);
    Steps steps = Plain();
    std::uint64_t done = 0;
    steps.execute = [&](std::uint32_t operation, std::uint32_t mode) {
        Put(0x10318, operation + 0x10 * mode);
        done = Get(0x10318);
        EXPECT_EQ(done & 0xff, 0x80U);
    };
    steps.succeeded = [&] { return (done >> 8U & 0xff) == 1; };
    steps.result = [&] { return done >> 16U; };
    EXPECT_EQ(TryPut(0x10314, 16), DeviceChannel::kAccessDenied) << "no file is open";
    EXPECT_EQ(TryGet(0x10314), DeviceChannel::kAccessDenied);
    EXPECT_EQ(Get(0x1031c), 0U);
    Update(steps);
    steps.execute(kOpen, 0);
    EXPECT_EQ(Get(0x1031c), 1U);
    EXPECT_EQ(Get(0x10314), 16U);
    EXPECT_EQ(TryPut(0x10318, 4), DeviceChannel::kInvalidParameter);
    EXPECT_EQ(TryPut(0x10318, 0x100), DeviceChannel::kInvalidParameter);
    UpdateOneNamelessFile(RegisterLayout::kCommandRegister, steps);
}

TEST_P(FileLayoutTest, ShowsTheCommandUntilItIsDone) {
    mOptions.operationTime = std::chrono::milliseconds(100);
    Make(RegisterLayout::kCommandRegister);
    Put(0x10300, kStatusTxt);
    Put(0x10318, 0);
    EXPECT_EQ(Get(0x10318), 0U) << "opens for reading, and is busy";
    EXPECT_EQ(TryPut(0x10318, 1), DeviceChannel::kBusy);
    ASSERT_TRUE(WaitUntil([&] { return Get(0x10318) == 0x180; }));
    Make(RegisterLayout::kLocalSelectors);
    Put(0x10300, kStatusTxt);
    Put(0x10318, 0x10);
    EXPECT_EQ(Get(0x10318), 0x10U);
    ASSERT_TRUE(WaitUntil([&] { return Get(0x10318) == 0; }));
    mOptions.executeKeepsValue = true;
    Make(RegisterLayout::kLocalSelectors);
    Put(0x10300, kStatusTxt);
    Put(0x10318, 0x10);
    ASSERT_TRUE(WaitUntil([&] { return TryPut(0x10318, 1) == 0; }));
    EXPECT_EQ(Get(0x10318), 1U);
}

TEST_P(FileLayoutTest, UpdatesThroughAWriteOnlyExecuteRegister) {
    Make(RegisterLayout::kWriteOnlyExecute);
    Update(Plain());
    EXPECT_EQ(TryGet(0x10318), DeviceChannel::kAccessDenied);
    std::string bytes;
    EXPECT_EQ(mChannel->Read(0x10310, 0x1c, bytes), DeviceChannel::kAccessDenied)
        << "nor read in a block";
    mOptions.executeKeepsValue = true;
    Make(RegisterLayout::kWriteOnlyExecute);
    Update(Plain());
    EXPECT_EQ(Get(0x10318), 1U);
    EXPECT_THAT(DescribeDevice(mOptions, GetParam()),
                HasSubstr("<ImposedAccessMode>WO</ImposedAccessMode>\n"
                          "    <pValue>FileOperationExecuteReg</pValue>"));
    UpdateOneNamelessFile(RegisterLayout::kWriteOnlyExecute, Plain());
}

TEST_P(FileLayoutTest, KeepsWhatWasWrittenToAWriteOnlyReset) {
    Make(RegisterLayout::kWriteOnlyExecute);
    Put(0x10200, 1);
    EXPECT_EQ(Get(0x10200), 1U);
}

TEST_P(GigEVisionLayoutTest, AcknowledgesAnOperationWhenItIsDoneIfNothingShowsIt) {
    mOptions.operationTime = std::chrono::milliseconds(150);
    Make(RegisterLayout::kWriteOnlyExecute);
    Put(0x10300, kStatusTxt);
    Put(0x10318, 1);
    EXPECT_EQ(dynamic_cast<GvcpDeviceChannel&>(*mChannel).Delay(), mOptions.operationTime);
    EXPECT_EQ(Get(0x1031c), 0U);
}

TEST_P(FileLayoutTest, UpdatesThroughAReadOnlyOffset) {
    Make(RegisterLayout::kReadOnlyOffset);
    Steps steps = Plain();
    steps.range = [&](std::uint64_t offset, std::uint32_t length) {
        Put(0x10314, length);
        EXPECT_EQ(Get(0x10400 + 0x10 * Get(0x10300)), offset) << "kept by the device";
    };
    Update(steps);
    EXPECT_EQ(TryPut(0x10400, 0), DeviceChannel::kWriteProtect);
    EXPECT_EQ(TryGet(0x10310), DeviceChannel::kInvalidAddress);
    EXPECT_EQ(Get(0x10414), mFirmware->State().lastStatus.size());
    steps.select(kStatusTxt);
    Succeed(steps, kOpen, 0);
    Put(0x10314, 4);
    Succeed(steps, kRead);
    Succeed(steps, kRead);
    EXPECT_EQ(Get(0x10410), 8U) << "an operation done twice shows";
    EXPECT_EQ(Get(0x10400), 0U) << "of another file";
    steps.range = [&](std::uint64_t offset, std::uint32_t length) {
        Put(0x10314, length);
        EXPECT_EQ(Get(0x10400), offset);
    };
    UpdateOneNamelessFile(RegisterLayout::kReadOnlyOffset, steps);
}

TEST_P(FileLayoutTest, UpdatesThroughWideRegisters) {
    Make(RegisterLayout::kWide);
    const std::uint64_t base = 0xffffd0000000;
    Steps steps;
    steps.select = [&](std::uint32_t file) { Put(base, file); };
    steps.range = [&](std::uint64_t offset, std::uint32_t length) {
        Put(base + 0x18, offset, 8);
        Put(base + 0x20, length);
    };
    steps.execute = [&](std::uint32_t operation, std::uint32_t mode) {
        Put(base + 0x04, operation);
        Put(base + 0x2c, mode);
        Put(base + 0x10, 1, 8);
        EXPECT_EQ(Get(base + 0x10, 8), 0U);
    };
    steps.succeeded = [&] { return Get(base + 0x24) == 0; };
    steps.result = [&] { return Get(base + 0x28); };
    steps.buffer = base + 0x1000000;
    Update(steps);
    EXPECT_EQ(Get(base + 0x30, 8), mFirmware->State().lastStatus.size());
    for (const std::uint64_t half : {base + 0x10, base + 0x14, base + 0x18, base + 0x1c}) {
        EXPECT_EQ(TryPut(half, 1), DeviceChannel::kBadAlignment);
        EXPECT_EQ(TryGet(half), DeviceChannel::kBadAlignment);
    }
    EXPECT_EQ(TryGet(base + 0x08), DeviceChannel::kInvalidAddress);
    // GigE Vision knows the lower half of an address only.
    EXPECT_EQ(TryGet(base & 0xffffffffU),
              GetParam() == Bus::kGigEVision ? 0U : DeviceChannel::kInvalidAddress);
    UpdateOneNamelessFile(RegisterLayout::kWide, steps);
}

TEST_P(FileLayoutTest, RefusesWhatARegisterDoesNotAllow) {
    for (const RegisterLayout layout : simulator::kLayoutNames.Values()) {
        SCOPED_TRACE(simulator::kLayoutNames.NameOf(layout));
        Make(layout);
        EXPECT_EQ(TryPut(0x10000, 0), DeviceChannel::kWriteProtect) << "the vendor's name";
        EXPECT_EQ(TryPut(0x100000, 0), DeviceChannel::kWriteProtect) << "the description";
        for (const std::uint64_t address :
             {0x10180, 0x1020c, 0x10308, 0x11f00, 0xa000, 0xf000000}) {
            EXPECT_EQ(TryGet(address), DeviceChannel::kInvalidAddress) << std::hex << address;
            EXPECT_EQ(TryPut(address, 0), DeviceChannel::kInvalidAddress) << std::hex << address;
        }
    }
}

TEST_P(FileLayoutTest, TellsTheCommandsOfEachOperation) {
    mOptions.operationEvents = true;
    Make(RegisterLayout::kPlain);
    Update(Plain());
    std::vector<nlohmann::json> writes;
    for (const nlohmann::json& event : mEvents.All()) {
        if (event["event"] == "file_operation" && event["operation"] == "write") {
            writes.push_back(event);
        }
        if (event["event"] == "file_close" && event["operations"].contains("write")) {
            EXPECT_EQ(event["operations"],
                      (nlohmann::json{{"open", 1}, {"write", 5}, {"close", 1}}));
        }
    }
    ASSERT_EQ(writes.size(), 5U);
    EXPECT_EQ(writes[1]["offset"], 40);
    EXPECT_EQ(writes[1]["length"], 40);
    EXPECT_EQ(writes[1]["result"], 40);
    EXPECT_EQ(writes[1]["succeeded"], true);
    const auto total = [](const nlohmann::json& event) {
        std::uint64_t sum = 0;
        for (const auto& count : event["commands"].is_object()
                                     ? event["commands"]
                                     : nlohmann::json{{"all", event["commands"]}}) {
            sum += count.get<std::uint64_t>();
        }
        return sum;
    };
    // Buffer, offset, length, operation, mode, execute; status and result.
    EXPECT_EQ(total(writes[2]) - total(writes[1]), 8U);
}

static std::string BusName(const testing::TestParamInfo<Bus>& bus) {
    return bus.param == Bus::kGigEVision ? "GigEVision" : "Usb3Vision";
}

INSTANTIATE_TEST_SUITE_P(Every, FileLayoutTest, testing::Values(Bus::kGigEVision, Bus::kUsb3Vision),
                         BusName);
INSTANTIATE_TEST_SUITE_P(The, GigEVisionLayoutTest, testing::Values(Bus::kGigEVision), BusName);
