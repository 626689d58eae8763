#include "NxGenFileFixture.h"

#include <algorithm>
#include <string>

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

#include "GenXml.h"

using testing::StrEq;

namespace {

using NxGenFileWriteTest = NxGenFileFixture;

TEST_F(NxGenFileWriteTest, WritesAFileByteForByte) {
    Connect();
    const std::string content = RandomBytes(100 * 1024 + 3, 1);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    ExpectOK(file.Close());
    EXPECT_EQ(device->openFile, "");
    long done = 0;
    long total = 0;
    ExpectOK(file.GetProgress(done, total));
    EXPECT_EQ(done, 100 * 1024 + 3);
    EXPECT_EQ(total, 100 * 1024 + 3);
}

TEST_F(NxGenFileWriteTest, WritesAnEmptyFile) {
    Connect();
    ExpectOK(WriteFile(""));
    EXPECT_TRUE(device->port->log.size() < 3);
    ExpectOK(file.Close());
}

// Commands per chunk: data in blocks of 536 bytes, then one command that starts the operation and
// one that asks for its outcome.
TEST_F(NxGenFileWriteTest, NeedsThreeCommandsForABlockWhereRegistersAreCombined) {
    Connect();
    ExpectOK(WriteFile(RandomBytes(1024, 1)));
    auto& log = device->port->log;
    log.erase(log.begin());  // selects the operation
    EXPECT_THAT(log, testing::ElementsAre("WRITEMEM 512", "WRITEREG 3", "READREG 3", "WRITEMEM 512",
                                          "WRITEREG 3", "READREG 3"));
}

TEST_F(NxGenFileWriteTest, NeedsSixCommandsForABlockWhereRegistersAreNotCombined) {
    Connect();
    device->port->combinesRegisters = false;
    ExpectOK(WriteFile(RandomBytes(1024, 1)));
    auto& log = device->port->log;
    // Selects the operation; the first block, which sets the length as well; the second.
    ASSERT_EQ(log.size(), 1U + 7U + 6U);
    EXPECT_THAT(std::vector<std::string>(log.end() - 6, log.end()),
                testing::ElementsAre("WRITEMEM 512", "WRITEREG 1", "WRITEREG 1", "READREG 1",
                                     "READREG 1", "READREG 1"));
}

TEST_F(NxGenFileWriteTest, MovesNoMoreAtOnceThanTheLengthMayBe) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.lengthLimit = "<Max>300</Max>", .statusTag = tag});
        const std::string content = RandomBytes(700, 9);
        ExpectOK(WriteFile(content));
        EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
        EXPECT_THAT(device->port->log, testing::Contains("WRITEMEM 300"));
        EXPECT_THAT(device->port->log, testing::Not(testing::Contains("WRITEMEM 512")));
        ExpectOK(file.Close());
        device->files["StatusTxt"] = content;
        ExpectOK(file.Open(parameters.get(), "StatusTxt", NxGenOpenMode::kRead));
        std::string buffer(1024, 'x');
        long read = 0;
        ExpectOK(file.Read(reinterpret_cast<unsigned char*>(buffer.data()), 1024, read));
        EXPECT_EQ(buffer.substr(0, static_cast<std::size_t>(read)), content);
    }
}

TEST_F(NxGenFileWriteTest, AsksForTheLargestLengthOnceTheOperationIsSelected) {
    // The operation's own number, 2 for Read and 3 for Write, times 100.
    const std::string limit =
        "<IntSwissKnife Name=\"Limit\"><pVariable Name=\"OPERATION\">OperationReg</pVariable>"
        "<Formula>100 * OPERATION</Formula></IntSwissKnife>\n";
    Connect({.lengthLimit = "<pMax>Limit</pMax>"});
    std::string xml = device->Xml();
    Load(xml.insert(xml.find("<Port "), limit));
    const std::string content = RandomBytes(1000, 9);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    EXPECT_THAT(device->port->log, testing::Contains("WRITEMEM 300"));
}

TEST_F(NxGenFileWriteTest, BelievesNoMaximumThatAllowsNothing) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.lengthLimit = "<Max>0</Max>", .statusTag = tag});
        ExpectOK(WriteFile("content"));
        EXPECT_EQ(device->files["RemoteUpdateDfw"], "content");
    }
}

TEST_F(NxGenFileWriteTest, FillsTheBufferWhereTheLargestLengthCannotBeFound) {
    // A node that is missing, a formula without a value, and a register that cannot be read.
    const std::string limits =
        "<IntSwissKnife Name=\"NoNumber\"><Formula>1 / 0</Formula></IntSwissKnife>\n" +
        GenXml::Register("Unreadable", 0x3000);
    for (const char* limit : {"Missing", "NoNumber", "Unreadable"}) {
        for (const char* tag : {"IntReg", "MaskedIntReg"}) {
            SCOPED_TRACE(std::string(limit) + " " + tag);
            Connect({.lengthLimit = std::string("<pMax>") + limit + "</pMax>", .statusTag = tag});
            std::string xml = device->Xml();
            Load(xml.insert(xml.find("<Port "), limits));
            device->port->failedReads[0x3000] = NxResult(kNxDeviceError, "INVALID_ADDRESS 0x8003");
            const std::string content = RandomBytes(1000, 9);
            ExpectOK(WriteFile(content));
            EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
            EXPECT_THAT(device->port->log, testing::Contains("WRITEMEM 512"));
        }
    }
}

TEST_F(NxGenFileWriteTest, FillsTheLastFourBytesOfAChunkWithZerosWithinTheBuffer) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.bufferSize = 510, .statusTag = tag});
        device->port->Store(FileDevice::kBufferAddress, std::string(520, 'x'));
        const std::string content = RandomBytes(509 + 508, 9);
        ExpectOK(WriteFile(content));
        EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
        const std::vector<std::string>& log = device->port->log;
        EXPECT_EQ(std::count(log.begin(), log.end(), "WRITEMEM 508"), 2);
        EXPECT_EQ(device->port->Load(FileDevice::kBufferAddress + 508, 12), std::string(12, 'x'));

        ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
        const unsigned char record[] = {1, 2, 3, 4, 5};
        long written = 0;
        ExpectOK(file.Write(record, sizeof record, written));
        EXPECT_EQ(written, 5);
        EXPECT_EQ(device->port->Load(FileDevice::kBufferAddress, 8),
                  std::string("\1\2\3\4\5\0\0\0", 8));
        EXPECT_EQ(std::count(log.begin(), log.end(), "WRITEMEM 8"), 1);
    }
}

TEST_F(NxGenFileWriteTest, WritesABufferOfAFewBytesWithoutZerosPastItsEnd) {
    Connect({.bufferSize = 3});
    device->port->Store(FileDevice::kBufferAddress, "xxxxxxxx");
    ExpectOK(WriteFile("12345"));
    EXPECT_EQ(device->files["RemoteUpdateDfw"], "12345");
    EXPECT_EQ(device->port->Load(FileDevice::kBufferAddress + 3, 5), "xxxxx");
}

struct Cost {
    unsigned int bufferSize;
    bool combines;
    std::size_t commands;
};

class NxGenFileCostTest : public NxGenFileWriteTest, public testing::WithParamInterface<Cost> {};

TEST_P(NxGenFileCostTest, WritesAChunkWithTheFewestCommands) {
    for (const bool dependsOnSelectors : {false, true}) {
        Connect({.bufferSize = GetParam().bufferSize, .dependsOnSelectors = dependsOnSelectors});
        device->port->combinesRegisters = GetParam().combines;
        const std::string content = RandomBytes(3 * GetParam().bufferSize, 2);
        ExpectOK(WriteFile(content.substr(0, GetParam().bufferSize)));
        const std::size_t one = device->port->log.size();
        ExpectOK(file.Close());
        ExpectOK(WriteFile(content));
        const std::size_t three = device->port->log.size();
        EXPECT_EQ((three - one) / 2, GetParam().commands);
        EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
        ExpectOK(file.Close());
    }
}

INSTANTIATE_TEST_SUITE_P(Buffers, NxGenFileCostTest,
                         testing::Values(Cost{512, true, 3}, Cost{536, true, 3},
                                         Cost{4096, true, 10}, Cost{65536, true, 125},
                                         Cost{512, false, 6}, Cost{4096, false, 13},
                                         Cost{65536, false, 128}),
                         [](const auto& cost) {
                             return std::to_string(cost.param.bufferSize) + "Bytes" +
                                    (cost.param.combines ? "RegistersCombined"
                                                         : "OneRegisterAtATime");
                         });

TEST_F(NxGenFileWriteTest, NeedsNoMoreCommandsWhereARegisterIsNotPlain) {
    Connect({.dependsOnSelectors = true, .statusTag = "MaskedIntReg"});
    const std::string content = RandomBytes(1536, 3);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    const std::vector<std::string>& log = device->port->log;
    EXPECT_THAT(std::vector<std::string>(log.end() - 6, log.end()),
                testing::ElementsAre("WRITEMEM 512", "WRITEREG 3", "READREG 3", "WRITEMEM 512",
                                     "WRITEREG 3", "READREG 3"));
}

TEST_F(NxGenFileWriteTest, AsksOnceForARegistersStepThatLiesInTheDevice) {
    Connect();
    std::string xml = device->Xml();
    const std::string address = "<Address>0x2010</Address>";
    xml.insert(xml.find(address) + address.size(), "<pIndex pOffset=\"StepReg\">One</pIndex>");
    xml.insert(xml.find("<Port "),
               GenXml::Register("StepReg", 0x3000) + GenXml::Integer("One", "<Value>1</Value>"));
    int asked = 0;
    device->port->onRead = [&asked](std::uint64_t at) { asked += at == 0x3000 ? 1 : 0; };
    Load(xml);
    ExpectOK(WriteFile(RandomBytes(512, 3)));
    ExpectOK(file.Close());
    asked = 0;
    const std::string content = RandomBytes(5120, 3);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    EXPECT_LE(asked, 4);  // while the file is opened, and once for the ten chunks
}

TEST_F(NxGenFileWriteTest, AsksEachTimeForARegistersStepThatMayNotBeCached) {
    Connect();
    std::string xml = device->Xml();
    const std::string address = "<Address>0x2010</Address>";
    xml.insert(xml.find(address) + address.size(), "<pIndex pOffset=\"StepReg\">One</pIndex>");
    xml.insert(xml.find("<Port "),
               GenXml::Register("StepReg", 0x3000, "RO", "<Cachable>NoCache</Cachable>") +
                   GenXml::Integer("One", "<Value>1</Value>"));
    int asked = 0;
    device->port->onRead = [&asked](std::uint64_t at) { asked += at == 0x3000 ? 1 : 0; };
    Load(xml);
    const std::string content = RandomBytes(5120, 3);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    EXPECT_GE(asked, 10);
}

TEST_F(NxGenFileWriteTest, ComputesWhatStartsAnOperationFromItsLength) {
    Connect();
    std::string xml = device->Xml();
    const std::string constant = "<CommandValue>1</CommandValue>";
    ASSERT_NE(xml.find(constant), std::string::npos);
    xml.replace(xml.find(constant), constant.size(), "<pCommandValue>Start</pCommandValue>");
    xml.insert(xml.find("<Port "),
               "<IntSwissKnife Name=\"Start\"><pVariable Name=\"LENGTH\">FileAccessLength"
               "</pVariable><Formula>LENGTH * 2 + 1</Formula></IntSwissKnife>\n");
    Load(xml);
    std::vector<std::uint32_t> started;
    const auto execute = device->port->onWrite;
    device->port->onWrite = [&](std::uint64_t address) {
        if (address == 0x2000) {
            started.push_back(device->port->LoadBig(address));
            device->port->StoreBig(address, 1);  // what the device takes for "execute"
        }
        execute(address);
    };
    const std::string content = RandomBytes(1000, 4);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    ASSERT_EQ(started.size(), 3U);
    EXPECT_THAT(std::vector(started.begin() + 1, started.end()),
                testing::ElementsAre(512 * 2 + 1, 488 * 2 + 1));
}

TEST_F(NxGenFileWriteTest, AsksALittleEndianDeviceHowItsRegisterCommandsComeThoughAllIsBigEndian) {
    Connect();
    device->port->StoreBig(0x0004, 0);  // device mode: little-endian
    const std::string content = RandomBytes(1536, 4);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    // The first chunk by memory commands alone, until a register has been read both ways.
    const std::vector<std::string>& log = device->port->log;
    const auto first = std::find(log.begin(), log.end(), "WRITEREG 3");
    EXPECT_GT(first - log.begin(), 5);
    EXPECT_EQ(std::count(first, log.end(), "WRITEREG 3"), 2);
}

TEST_F(NxGenFileWriteTest, WritesNothingWithoutAPositionThatCanBeSetOrSeen) {
    Connect();
    std::string xml = device->Xml();
    const std::size_t offset = xml.find("Name=\"FileAccessOffset\"");
    ASSERT_NE(offset, std::string::npos);
    xml.insert(xml.find('>', offset) + 1, "<pIsAvailable>Never</pIsAvailable>");
    xml.insert(xml.find("<Port "), GenXml::Integer("Never", "<Value>0</Value>"));
    Load(xml);
    const NxResult result = WriteFile("content");
    EXPECT_EQ(result.GetCode(), kNxNodeAccess);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                testing::HasSubstr("is currently neither writable nor readable"));
    EXPECT_EQ(device->files["RemoteUpdateDfw"], "");
}

TEST_F(NxGenFileWriteTest, GoesOnAfterAShortWriteFromTheByteThatTheDeviceTook) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.statusTag = tag});
        device->takesAtMost = 100;
        const std::string content = RandomBytes(2000, 4);
        ExpectOK(WriteFile(content));
        EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    }
}

TEST_F(NxGenFileWriteTest, FailsWhenTheDeviceTakesNothing) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.statusTag = tag});
        device->isFullAt = 1000;
        const NxResult result = WriteFile(RandomBytes(2000, 4));
        EXPECT_EQ(result.GetCode(), kNxTransferIncomplete);
        EXPECT_THAT(result.GetDescription().GetAscii(),
                    StrEq("Cannot write the device's file RemoteUpdateDfw at byte 1000 of 2000: "
                          "192.0.2.7 on eth9 accepts no more bytes"));
    }
}

TEST_F(NxGenFileWriteTest, SaysTheDevicesStatusAndTheByteOfAFailedChunk) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.statusTag = tag});
        device->failsAt = 1024;
        const NxResult result = WriteFile(RandomBytes(2000, 4));
        EXPECT_EQ(result.GetCode(), kNxFileOperation);
        EXPECT_THAT(result.GetDescription().GetAscii(),
                    StrEq("Cannot write the device's file RemoteUpdateDfw at byte 1024 of 2000: "
                          "192.0.2.7 on eth9: Write failed with the file operation status "
                          "\"Failure\""));
    }
}

TEST_F(NxGenFileWriteTest, WritesTheLengthAgainForADeviceThatForgetsIt) {
    Connect();
    device->port->combinesRegisters = false;
    device->forgetsLength = true;
    const std::string content = RandomBytes(5000, 5);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
}

TEST_F(NxGenFileWriteTest, WaitsUntilAnOperationIsDone) {
    for (const bool combines : {true, false}) {
        Connect();
        device->port->combinesRegisters = combines;
        device->asksUntilDone = 3;
        const std::string content = RandomBytes(1500, 6);
        ExpectOK(WriteFile(content));
        EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
        ExpectOK(file.Close());
    }
}

TEST_F(NxGenFileWriteTest, DoesNotAskAWriteOnlyCommandWhetherItIsDone) {
    Connect({.executeIsWriteOnly = true});
    const std::string content = RandomBytes(1500, 6);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    EXPECT_THAT(device->port->log, testing::Contains("READREG 2"));
}

}  // namespace
