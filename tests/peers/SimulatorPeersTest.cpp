// The simulated device and the updater, judged by programs that are not ours: Aravis's client and
// Wireshark's dissector.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "GvcpClient.h"
#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/device/SimulatedDevice.h"

using simulator::FirmwareVersion;
using simulator::Profile;
using simulator::RegisterLayout;
using simulator::SimulatedDevice;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string kName = "--name=Mirsko-Simulated Camera-SIM-0001";

void Start(SimulatedDevice& device) {
    std::string why;
    ASSERT_TRUE(device.Start(why)) << why;
}

ProcessResult ArvTool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "arv-tool-0.8");
    const ProcessResult result = Process::Run(arguments);
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result;
}

std::string Control(const std::string& feature) {
    return ArvTool({kName, "control", feature}).out;
}

/// Records what passes over loopback from construction to Stop.
class Recording {
  public:
    Recording()
        : mFile(mFolder.Path() / "session.pcap"),
          // Not tcpdump, which cannot give up the rights of a root that is one only in a namespace
          // of its own. Room for thousands of packets: a busy machine loses them else. In MiB.
          mProcess({"dumpcap", "-q", "-P", "-i", "lo", "-f", "udp port 3956", "-s", "2048", "-B",
                    "16", "-w", mFile.string()}) {
        // The file's header is written when the recording has begun.
        EXPECT_TRUE(WaitUntil([this] {
            std::error_code error;
            return std::filesystem::file_size(mFile, error) >= 24 && !error;
        }));
    }

    /// What was on its way to the file when the recording ends would be lost, so it ends with a
    /// discovery command of its own, and waits for that.
    void Stop() {
        GvcpClient().Send("420100020000abcd");
        const std::string_view marker("\x42\x01\x00\x02\x00\x00\xab\xcd", 8);
        EXPECT_TRUE(WaitUntil([&] { return ReadFile(mFile).find(marker) != std::string::npos; }));
        (void)mProcess.Terminate();
    }

    [[nodiscard]] std::string Dissect(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"tshark", "-r", mFile.string()});
        const ProcessResult result = Process::Run(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.err;
        return result.out;
    }

    [[nodiscard]] std::size_t Count(const std::string& filter) const {
        const std::string lines = Dissect({"-Y", filter});
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n'));
    }

    /// Every packet is GVCP, and none of them is odd.
    void ExpectFaultless() const {
        EXPECT_GT(Count("gvcp"), 100U);
        EXPECT_EQ(Count("!gvcp"), 0U) << Dissect({"-Y", "!gvcp"});
        EXPECT_EQ(Count("_ws.malformed"), 0U) << Dissect({"-Y", "_ws.malformed"});
        EXPECT_EQ(Count("_ws.expert.severity >= 0x800000"), 0U);
    }

  private:
    TemporaryFolder mFolder;
    std::filesystem::path mFile;
    Process mProcess;
};

}  // namespace

TEST(SimulatorPeersTest, IsListedByAravis) {
    const auto first = SimulatedDevice::Builder().build();
    const auto second = SimulatedDevice::Builder().address("127.0.0.2").serial("SIM-0002").build();
    Start(*first);
    Start(*second);
    const std::string list = ArvTool({}).out;
    EXPECT_THAT(list, HasSubstr("Mirsko-Simulated Camera-SIM-0001 (127.0.0.1)\n"));
    EXPECT_THAT(list, HasSubstr("Mirsko-Simulated Camera-SIM-0002 (127.0.0.2)\n"));
}

TEST(SimulatorPeersTest, IsReadAndWrittenByAravis) {
    const auto device = SimulatedDevice::Builder().userName("left").version({3, 4}).build();
    Start(*device);
    EXPECT_THAT(Control("DeviceModelName"), HasSubstr("DeviceModelName = Simulated Camera\n"));
    EXPECT_THAT(Control("DeviceFirmwareVersion"), HasSubstr("DeviceFirmwareVersion = 3.4\n"));
    EXPECT_THAT(Control("DeviceUserID"), HasSubstr("DeviceUserID = left\n"));
    EXPECT_THAT(Control("Width=1024"), HasSubstr("Width = 1024"));
    EXPECT_THAT(Control("Width"), HasSubstr("Width = 1024"));
    EXPECT_THAT(Control("DeviceUserID=right"), HasSubstr("DeviceUserID = right\n"));
    EXPECT_EQ(device->Firmware().State().deviceId, "right");
    EXPECT_THAT(Control("FileOperationSelector=Close"),
                HasSubstr("FileOperationSelector = Close\n"));
}

TEST(SimulatorPeersTest, ShowsAravisItsFileFeaturesInEveryForm) {
    for (const bool zipped : {false, true}) {
        for (const RegisterLayout layout :
             {RegisterLayout::kPlain, RegisterLayout::kSelectorDependent}) {
            const auto device = SimulatedDevice::Builder()
                                    .zippedXml(zipped)
                                    .layout(layout)
                                    .concatenation(!zipped)
                                    .build();
            Start(*device);
            EXPECT_THAT(Control("FileSelector=StatusTxt"), HasSubstr("FileSelector = StatusTxt\n"));
            EXPECT_THAT(Control("FileOpenMode=Write"), HasSubstr("FileOpenMode = Write\n"));
            EXPECT_THAT(ArvTool({kName, "values"}).out, HasSubstr("'FileOperationStatus'"));
        }
    }
}

TEST(SimulatorPeersTest, OpensAFileForAravisAndShowsWhatCameOfIt) {
    for (const RegisterLayout layout :
         {RegisterLayout::kPlain, RegisterLayout::kSelectorDependent}) {
        const auto device = SimulatedDevice::Builder().layout(layout).build();
        Start(*device);
        const auto openFor = [](const std::string& file, const std::string& mode) {
            return ArvTool({kName, "control", "FileSelector=" + file, "FileOperationSelector=Open",
                            "FileOpenMode=" + mode, "FileOperationExecute", "FileOperationStatus"})
                .out;
        };
        EXPECT_THAT(openFor("StatusTxt", "Read"), HasSubstr("FileOperationStatus = Success\n"));
        EXPECT_THAT(openFor("StatusTxt", "Write"), HasSubstr("FileOperationStatus = Failure\n"));
    }
}

TEST(SimulatorPeersTest, ComesBackForAravisAfterADeviceReset) {
    const auto device =
        SimulatedDevice::Builder().rebootTime(std::chrono::milliseconds(100)).build();
    Start(*device);
    (void)Control("DeviceReset");
    ASSERT_TRUE(WaitUntil([&] { return device->Events().Count("power_on") == 2; }));
    ASSERT_TRUE(WaitUntil([&] { return device->IsServing(); }));
    EXPECT_THAT(Control("DeviceModelName"), HasSubstr("DeviceModelName = Simulated Camera\n"));
}

TEST(SimulatorPeersTest, IsSeenAsALoaderWithoutAravisGettingIn) {
    const auto device = SimulatedDevice::Builder().profile(Profile::kLoader).build();
    Start(*device);
    EXPECT_THAT(ArvTool({}).out, HasSubstr("Mirsko-Simulated Camera-SIM-0001 (127.0.0.1)\n"));
}

TEST(SimulatorPeersTest, SpeaksGvcpThatWiresharkFindsNoFaultWith) {
    const auto device =
        SimulatedDevice::Builder().executeLatency(std::chrono::milliseconds(300)).build();
    Start(*device);
    Recording recording;
    (void)ArvTool({});
    (void)ArvTool({kName, "values"});
    (void)Control("Width=800");
    // Device configuration: PENDING_ACK enabled.
    (void)ArvTool({kName, "control", "R[0x954]=2", "FileSelector=StatusTxt", "FileOpenMode=Read",
                   "FileOperationExecute", "FileOperationStatus"});
    recording.Stop();

    recording.ExpectFaultless();
    const std::string commands = recording.Dissect({"-T", "fields", "-e", "_ws.col.Info"});
    for (const char* kind : {"DISCOVERY_ACK (Mirsko, SIM-0001)", "READREG_ACK", "WRITEREG_ACK",
                             "READMEM_ACK", "WRITEMEM_ACK", "PENDING_ACK"}) {
        EXPECT_THAT(commands, HasSubstr(kind));
    }
    const std::string names = recording.Dissect(
        {"-Y", "gvcp.ack == 0x0003", "-T", "fields", "-e", "gvcp.bootstrap.modelname"});
    EXPECT_THAT(names, HasSubstr("Simulated Camera"));
}

TEST(SimulatorPeersTest, IsUpdatedInGvcpThatWiresharkFindsNoFaultWith) {
    const TemporaryFolder folder;
    // No whole number of registers: the last piece of the last WRITEMEM is padded.
    const Payload payload{.body = RandomBytes(50001, 1)};
    const std::string file = folder.Write("camera.dfw", payload.Encode());
    for (const bool concatenation : {true, false}) {
        SCOPED_TRACE(concatenation);
        const auto device = SimulatedDevice::Builder()
                                .concatenation(concatenation)
                                .executeLatency(std::chrono::milliseconds(300))
                                .serveTftp(false)
                                .build();
        Start(*device);
        Recording recording;
        const ProcessResult result =
            Process::Run({Program("MirskoFirmwareUpdater"), "--localinterface=00:00:00:00:00:00",
                          "--deviceid=left", file});
        recording.Stop();
        EXPECT_THAT(result.out, testing::EndsWith("\nFirmware upload complete.\n"));
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(ReadFile(device->Firmware().Folder() / "firmware.bin") == payload.body);

        recording.ExpectFaultless();
        const std::string commands = recording.Dissect({"-T", "fields", "-e", "_ws.col.Info"});
        for (const char* kind : {"DISCOVERY_CMD", "READREG_CMD", "WRITEREG_CMD", "READMEM_CMD",
                                 "WRITEMEM_CMD", "PENDING_ACK"}) {
            EXPECT_THAT(commands, HasSubstr(kind));
        }
        // Headers of UDP and GVCP, 8 bytes each, and what one register takes.
        EXPECT_EQ(recording.Count("gvcp.cmd.command == 0x0080 && udp.length > 20") > 0,
                  concatenation);
        EXPECT_EQ(recording.Count("gvcp.cmd.command == 0x0082 && udp.length > 24") > 0,
                  concatenation);
        // 50,065 bytes in buffers of 4096, those in pieces of 536: of the last 377 bytes, the
        // registers take 380.
        EXPECT_GE(recording.Count("gvcp.cmd.command == 0x0086 && udp.length == 556"), 85U);
        EXPECT_GE(recording.Count("gvcp.cmd.command == 0x0086 && udp.length == 400"), 1U);
        std::istringstream lengths(recording.Dissect(
            {"-Y", "gvcp.cmd.command == 0x0086", "-T", "fields", "-e", "udp.length"}));
        for (unsigned int length = 0; lengths >> length;) {
            EXPECT_EQ(length % 4, 0U) << "no whole number of registers";
        }
    }
}

TEST(SimulatorPeersTest, ForcesAddressesByPacketsThatWiresharkKnows) {
    Recording recording;
    const auto device = SimulatedDevice::Builder().serveTftp(false).build();
    std::string why;
    ASSERT_TRUE(device->Start(why)) << why;
    const ProcessResult result = Process::Run(
        {Program("mirsko-devices"), "force-ip", "02:4d:53:00:00:01", "127.0.0.9/8", "127.0.0.254"});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    recording.Stop();
    EXPECT_EQ(recording.Count("_ws.malformed || !gvcp"), 0U);
    std::vector<std::string> fields{"-Y", "gvcp.cmd.command == 0x0004", "-T", "fields"};
    for (const char* field : {"ip.dst", "gvcp.cmd.flag.allowbroadcastacq",
                              "gvcp.cmd.forceip.macaddress", "gvcp.cmd.forceip.ip",
                              "gvcp.cmd.forceip.subnetmask", "gvcp.cmd.forceip.defaultgateway"}) {
        fields.insert(fields.end(), {"-e", field});
    }
    EXPECT_THAT(recording.Dissect(fields),
                testing::StartsWith("255.255.255.255\t1\t02:4d:53:00:00:01\t127.0.0.9\t"
                                    "255.0.0.0\t127.0.0.254\n"));
    EXPECT_GE(recording.Count("gvcp.ack == 0x0005 && ip.src == 127.0.0.9"), 1U);
}
