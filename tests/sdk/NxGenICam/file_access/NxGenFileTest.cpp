#include "NxGenFileFixture.h"

#include <algorithm>

#include <gmock/gmock.h>

#include <NxBase/NxResultCodes.h>

#include "GenXml.h"

using testing::HasSubstr;
using testing::StrEq;

namespace {

class NxGenFileTest : public NxGenFileFixture {};

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

TEST_F(NxGenFileTest, IsNotSupportedWithoutARegisterBehindTheCommand) {
    device = std::make_unique<FileDevice>();
    std::string xml = device->Xml();
    const std::size_t command = xml.find("<Command Name=\"FileOperationExecute\"");
    ASSERT_NE(command, std::string::npos);
    const std::size_t begin = xml.find("<pValue>", command);
    const std::size_t end = xml.find("</pValue>", command) + std::string("</pValue>").size();
    Load(xml.replace(begin, end - begin, "<Value>0</Value>"));
    EXPECT_FALSE(NxGenFile::IsSupported(parameters.get()));
    EXPECT_THAT(NxGenFile::CheckSupport(parameters.get()).GetDescription().GetAscii(),
                HasSubstr("FileOperationExecute has no register"));
    EXPECT_FALSE(file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite).IsOK());
    EXPECT_EQ(device->operations, 0);
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

TEST_F(NxGenFileTest, SeesThatAnOperationIsDoneWhereTheLengthOfARegisterDependsOnIt) {
    device = std::make_unique<FileDevice>();
    std::string xml = device->Xml();
    std::string executing = GenXml::Register("ExecutingReg", 0x3000);
    const std::string length = "<Length>4</Length>";
    executing.replace(executing.find(length), length.size(), "<pLength>Bytes</pLength>");
    xml.insert(xml.find("<CommandValue>"), "<pIsAvailable>ExecutingReg</pIsAvailable>");
    xml.insert(xml.find("<Port "),
               executing + GenXml::Register("SameExecuteReg", 0x2000) +
                   "<IntSwissKnife Name=\"Bytes\"><pVariable Name=\"BUSY\">SameExecuteReg"
                   "</pVariable><Formula>4 + 0 * BUSY</Formula></IntSwissKnife>\n");
    device->port->StoreBig(0x3000, 1);
    Load(xml);
    device->asksUntilDone = 5;
    ExpectOK(file.Open(parameters.get(), "StatusTxt", NxGenOpenMode::kRead));
    EXPECT_EQ(device->openFile, "StatusTxt");
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
                      "eth9: Open failed with the file operation status \"Failure\""));
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
