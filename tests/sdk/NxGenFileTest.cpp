#include <NxGenICam/NxGenFile.h>

#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/ParameterArrayFactory.h>

#include "FileDevice.h"
#include "GenXml.h"
#include "TemporaryFolder.h"

using testing::HasSubstr;
using testing::StrEq;

namespace {

class NxGenFileTest : public testing::Test {
  protected:
    void Connect(FileDevice::Layout layout = {}) {
        device = std::make_unique<FileDevice>(layout);
        Load(device->Xml());
    }
    void Load(const std::string& xml) {
        const NxResult result = MakeParameterArray(device->port, xml, parameters);
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }
    // Writes a local file of that content into RemoteUpdateDfw; the commands of the bus remain.
    NxResult WriteFile(const std::string& content) {
        const std::string path = folder.Write("payload.dfw", content);
        NxResult result = file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite);
        if (result.IsOK()) {
            device->port->log.clear();
            result = file.WriteFrom(path);
        }
        return result;
    }
    static void ExpectOK(const NxResult& result) {
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }

    TemporaryFolder folder;
    std::unique_ptr<FileDevice> device;
    std::unique_ptr<NxGenParameterArray> parameters;
    NxGenFile file;
};

TEST_F(NxGenFileTest, IsSupportedByADeviceWithFileAccess) {
    Connect();
    EXPECT_TRUE(NxGenFile::IsSupported(parameters.get()));
    EXPECT_FALSE(NxGenFile::IsSupported(nullptr));
}

TEST_F(NxGenFileTest, IsSupportedWithoutAFileSelector) {
    Connect({.hasSelector = false});
    EXPECT_TRUE(NxGenFile::IsSupported(parameters.get()));
    ExpectOK(WriteFile("only one file"));
    EXPECT_EQ(device->files["RemoteUpdateDfw"], "only one file");
}

TEST_F(NxGenFileTest, IsNotSupportedWhenANodeIsMissing) {
    for (const char* node :
         {"FileOperationSelector", "FileOperationExecute", "FileOpenMode", "FileAccessBuffer"}) {
        device = std::make_unique<FileDevice>();
        std::string xml = device->Xml();
        const std::string name = std::string("Name=\"") + node + "\"";
        xml.replace(xml.find(name), name.size(), "Name=\"Something\"");
        Load(xml);
        EXPECT_FALSE(NxGenFile::IsSupported(parameters.get())) << node;
    }
}

TEST_F(NxGenFileTest, WritesAFileByteForByte) {
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

TEST_F(NxGenFileTest, WritesAnEmptyFile) {
    Connect();
    ExpectOK(WriteFile(""));
    EXPECT_TRUE(device->port->log.size() < 3);
    ExpectOK(file.Close());
}

// Commands per chunk: data in blocks of 536 bytes, then one command that starts the operation and
// one that asks for its outcome.
TEST_F(NxGenFileTest, NeedsThreeCommandsForABlockWhereRegistersAreCombined) {
    Connect();
    ExpectOK(WriteFile(RandomBytes(1024, 1)));
    auto& log = device->port->log;
    log.erase(log.begin());  // selects the operation
    EXPECT_THAT(log, testing::ElementsAre("WRITEMEM 512", "WRITEREG 3", "READREG 3", "WRITEMEM 512",
                                          "WRITEREG 3", "READREG 3"));
}

TEST_F(NxGenFileTest, NeedsSixCommandsForABlockWhereRegistersAreNotCombined) {
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

TEST_F(NxGenFileTest, MovesNoMoreAtOnceThanTheLengthMayBe) {
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

TEST_F(NxGenFileTest, AsksForTheLargestLengthOnceTheOperationIsSelected) {
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

TEST_F(NxGenFileTest, BelievesNoMaximumThatAllowsNothing) {
    Connect({.lengthLimit = "<Max>0</Max>"});
    ExpectOK(WriteFile("content"));
    EXPECT_EQ(device->files["RemoteUpdateDfw"], "content");
}

TEST_F(NxGenFileTest, FillsTheLastFourBytesOfAChunkWithZerosWithinTheBuffer) {
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

TEST_F(NxGenFileTest, WritesABufferOfAFewBytesWithoutZerosPastItsEnd) {
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

class NxGenFileCostTest : public NxGenFileTest, public testing::WithParamInterface<Cost> {};

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

TEST_F(NxGenFileTest, WritesThroughTheNodeMapWhereARegisterIsNotPlain) {
    Connect({.dependsOnSelectors = true, .statusTag = "MaskedIntReg"});
    const std::string content = RandomBytes(1234, 3);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    // Nothing of the fast road: registers are reached one at a time.
    EXPECT_THAT(device->port->log, testing::Not(testing::Contains("READREG 3")));
}

TEST_F(NxGenFileTest, WritesThroughTheNodeMapWhereARegistersStepIsADevicesRegister) {
    Connect();
    std::string xml = device->Xml();
    const std::string address = "<Address>0x2010</Address>";
    xml.insert(xml.find(address) + address.size(), "<pIndex pOffset=\"StepReg\">One</pIndex>");
    xml.insert(xml.find("<Port "),
               GenXml::Register("StepReg", 0x3000) + GenXml::Integer("One", "<Value>1</Value>"));
    Load(xml);
    const std::string content = RandomBytes(1234, 3);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    EXPECT_THAT(device->port->log, testing::Not(testing::Contains("READREG 3")));
}

TEST_F(NxGenFileTest, ReadsThroughTheNodeMapWhereARegisterIsNotPlain) {
    Connect({.statusTag = "MaskedIntReg"});
    const std::string content = RandomBytes(700, 3);
    device->files["StatusTxt"] = content;
    ExpectOK(file.Open(parameters.get(), "StatusTxt", NxGenOpenMode::kRead));
    std::string buffer(1024, 'x');
    long read = 0;
    ExpectOK(file.Read(reinterpret_cast<unsigned char*>(buffer.data()), 1024, read));
    ASSERT_EQ(read, 700);
    EXPECT_EQ(buffer.substr(0, 700), content);
}

TEST_F(NxGenFileTest, GoesOnAfterAShortWriteFromTheByteThatTheDeviceTook) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.statusTag = tag});
        device->takesAtMost = 100;
        const std::string content = RandomBytes(2000, 4);
        ExpectOK(WriteFile(content));
        EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    }
}

TEST_F(NxGenFileTest, FailsWhenTheDeviceTakesNothing) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.statusTag = tag});
        device->isFullAt = 1000;
        const NxResult result = WriteFile(RandomBytes(2000, 4));
        EXPECT_EQ(result.GetCode(), kNxTransferIncomplete);
        EXPECT_THAT(result.GetDescription().GetAscii(),
                    StrEq("Cannot write the device's file RemoteUpdateDfw at byte 1000 of 2000: "
                          "192.0.2.7 on eth9 takes no more bytes"));
    }
}

TEST_F(NxGenFileTest, SaysTheDevicesStatusAndTheByteOfAFailedChunk) {
    for (const char* tag : {"IntReg", "MaskedIntReg"}) {
        Connect({.statusTag = tag});
        device->failsAt = 1024;
        const NxResult result = WriteFile(RandomBytes(2000, 4));
        EXPECT_EQ(result.GetCode(), kNxFileOperation);
        EXPECT_THAT(result.GetDescription().GetAscii(),
                    StrEq("Cannot write the device's file RemoteUpdateDfw at byte 1024 of 2000: "
                          "192.0.2.7 on eth9 answered Write with the file operation status "
                          "\"Failure\""));
    }
}

TEST_F(NxGenFileTest, WritesTheLengthAgainForADeviceThatForgetsIt) {
    Connect();
    device->port->combinesRegisters = false;
    device->forgetsLength = true;
    const std::string content = RandomBytes(5000, 5);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
}

TEST_F(NxGenFileTest, WaitsUntilAnOperationIsDone) {
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

TEST_F(NxGenFileTest, DoesNotAskAWriteOnlyCommandWhetherItIsDone) {
    Connect({.executeIsWriteOnly = true});
    const std::string content = RandomBytes(1500, 6);
    ExpectOK(WriteFile(content));
    EXPECT_TRUE(device->files["RemoteUpdateDfw"] == content);
    EXPECT_THAT(device->port->log, testing::Contains("READREG 2"));
}

TEST_F(NxGenFileTest, ClosesAFileThatWasLeftOpenAndOpensItAgain) {
    Connect();
    device->openFile = "RemoteUpdateDfw";
    ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
    EXPECT_EQ(device->opens, 2);
    EXPECT_EQ(device->closes, 1);
}

TEST_F(NxGenFileTest, TriesARefusedOpenOnlyTwice) {
    Connect();
    device->refusesEveryOpen = true;
    const NxResult result = file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite);
    EXPECT_EQ(result.GetCode(), kNxFileOperation);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                StrEq("Cannot open for writing the device's file RemoteUpdateDfw: 192.0.2.7 on "
                      "eth9 answered Open with the file operation status \"Failure\""));
    EXPECT_EQ(device->opens, 2);
    EXPECT_EQ(device->closes, 1);
}

TEST_F(NxGenFileTest, SaysWhichFileTheDeviceDoesNotHave) {
    Connect();
    const NxResult result = file.Open(parameters.get(), "Nonsense", NxGenOpenMode::kWrite);
    EXPECT_EQ(result.GetCode(), kNxNoSuchNode);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("no entry Nonsense"));
    EXPECT_EQ(device->operations, 0);
}

TEST_F(NxGenFileTest, OpensNoFileWhenItCannotBeToldWhetherTheDeviceHasSeveral) {
    Connect({.selectorIsOptional = true});
    device->port->failedReads[FileDevice::kHasSelectorAddress] =
        NxResult(kNxDeviceError, "BUSY 0x8007");
    const NxResult result = file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite);
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("BUSY 0x8007"));
    EXPECT_EQ(device->operations, 0);
    EXPECT_FALSE(parameters->GetEnum("FileSelector") != nullptr);

    device->port->failedReads.clear();
    ExpectOK(WriteFile("the right file"));
    EXPECT_EQ(device->files["RemoteUpdateDfw"], "the right file");
}

TEST_F(NxGenFileTest, ReadsUntilTheEndOfTheFileWhateverTheBuffersSize) {
    for (const bool hasFileSize : {true, false}) {
        for (const std::size_t size : {1U, 511U, 512U, 513U, 1023U, 1024U, 3000U}) {
            Connect({.hasFileSize = hasFileSize});
            const std::string content = RandomBytes(size, 7);
            device->files["StatusTxt"] = content;
            ExpectOK(file.Open(parameters.get(), "StatusTxt", NxGenOpenMode::kRead));
            std::string buffer(1024, '\0');
            long read = 0;
            ExpectOK(file.Read(reinterpret_cast<unsigned char*>(buffer.data()), 1024, read));
            EXPECT_EQ(static_cast<std::size_t>(read), std::min<std::size_t>(size, 1024)) << size;
            EXPECT_EQ(buffer.substr(0, static_cast<std::size_t>(read)), content.substr(0, 1024));
            ExpectOK(file.Close());
        }
    }
}

TEST_F(NxGenFileTest, GoesOnReadingWhereTheLastReadEnded) {
    Connect();
    device->files["StatusTxt"] = "first second";
    ExpectOK(file.Open(parameters.get(), "StatusTxt", NxGenOpenMode::kRead));
    std::string buffer(6, '\0');
    long read = 0;
    ExpectOK(file.Read(reinterpret_cast<unsigned char*>(buffer.data()), 6, read));
    EXPECT_EQ(buffer, "first ");
    ExpectOK(file.Read(reinterpret_cast<unsigned char*>(buffer.data()), 6, read));
    EXPECT_EQ(buffer, "second");
    ExpectOK(file.Read(reinterpret_cast<unsigned char*>(buffer.data()), 6, read));
    EXPECT_EQ(read, 0);
}

TEST_F(NxGenFileTest, WritesARecordAndSaysHowManyBytesWereTaken) {
    Connect();
    ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
    const unsigned char record[] = {1, 2, 3, 4, 5};
    long written = -1;
    ExpectOK(file.Write(record, sizeof record, written));
    EXPECT_EQ(written, 5);
    EXPECT_EQ(device->files["RemoteUpdateDfw"], std::string("\1\2\3\4\5"));
    device->isFullAt = 7;
    const NxResult result = file.Write(record, sizeof record, written);
    EXPECT_EQ(result.GetCode(), kNxTransferIncomplete);
    EXPECT_EQ(written, 2);
}

TEST_F(NxGenFileTest, RefusesOperationsOnAFileThatIsNotOpen) {
    Connect();
    long count = 0;
    unsigned char byte = 0;
    EXPECT_EQ(file.Close().GetCode(), kNxInvalidArgument);
    EXPECT_EQ(file.Write(&byte, 1, count).GetCode(), kNxInvalidArgument);
    EXPECT_EQ(file.Read(&byte, 1, count).GetCode(), kNxInvalidArgument);
    EXPECT_EQ(file.Open(nullptr, "x", NxGenOpenMode::kRead).GetCode(), kNxInvalidArgument);
}

TEST_F(NxGenFileTest, SaysWhyALocalFileCannotBeRead) {
    Connect();
    ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
    EXPECT_THAT(file.WriteFrom("/nowhere/x.dfw").GetDescription().GetAscii(),
                StrEq("Cannot read /nowhere/x.dfw: No such file or directory"));
    EXPECT_EQ(file.WriteFrom(folder.Path().string()).GetCode(), kNxLocalFile);
    // The path that a package reader gives for a member that it cannot hand out.
    EXPECT_THAT(file.WriteFrom("").GetDescription().GetAscii(),
                StrEq("Cannot read the payload: the package does not hold it, or it cannot be "
                      "unpacked (damaged, encrypted, or /tmp is full)"));
}

TEST_F(NxGenFileTest, HandsThePortsFailureOnWithItsCode) {
    Connect();
    ExpectOK(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
    device->port->failure = NxResult(kNxControlLost, "control is lost");
    const std::string path = folder.Write("payload.dfw", "content");
    const NxResult result = file.WriteFrom(path);
    EXPECT_EQ(result.GetCode(), kNxControlLost);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("control is lost"));
    EXPECT_EQ(file.Close().GetCode(), kNxControlLost);
}

}  // namespace
