#include <fstream>

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <nlohmann/json.hpp>

#include "GvcpClient.h"
#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"

using nlohmann::json;
using testing::HasSubstr;

namespace {

class SimulatorProgramTest : public testing::Test {
  protected:
    [[nodiscard]] std::string File(const std::string& name) const {
        return (mFolder.Path() / name).string();
    }

    std::unique_ptr<Process> Start(const std::vector<std::string>& options = {}) {
        std::vector<std::string> command{Program("mirsko-simulator"),
                                         "--state",
                                         File("state"),
                                         "--ready-file",
                                         File("ready"),
                                         "--events",
                                         File("events")};
        command.insert(command.end(), options.begin(), options.end());
        auto process = std::make_unique<Process>(command);
        EXPECT_TRUE(WaitUntil(
            [&] { return std::filesystem::exists(File("ready")) || !process->IsRunning(); }));
        EXPECT_TRUE(process->IsRunning()) << process->Wait(std::chrono::seconds(1)).err;
        return process;
    }

    std::vector<json> Events() {
        std::vector<json> events;
        std::ifstream file(File("events"));
        for (std::string line; std::getline(file, line);) {
            events.push_back(json::parse(line));
        }
        return events;
    }

    TemporaryFolder mFolder;
};

}  // namespace

TEST_F(SimulatorProgramTest, SaysWhenItIsReadyAndEndsCleanlyOnSigterm) {
    const auto process = Start({"--profile", "main-load", "--mac", "02:00:00:00:00:07"});
    const json ready = json::parse(ReadFile(File("ready")));
    EXPECT_EQ(ready["address"], "127.0.0.1");
    EXPECT_EQ(ready["interface"], "lo");
    EXPECT_EQ(ready["mac"], "02:00:00:00:00:07");
    EXPECT_EQ(ready["profile"], "main-load");
    EXPECT_EQ(ready["pid"], process->Id());
    EXPECT_THAT(ready["serves"].get<std::vector<std::string>>(), testing::Contains("gvcp"));
    EXPECT_EQ(ready["state_folder"], File("state"));
    EXPECT_EQ(GvcpClient().Read(0x24), 0x7f000001U);
    const ProcessResult result = process->Terminate();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_FALSE(std::filesystem::exists(File("ready")));
    EXPECT_EQ(Events().back()["event"], "power_off");
}

TEST_F(SimulatorProgramTest, RunsTheStoredFirmwareAfterAPowerCycle) {
    {
        const auto process = Start({"--user-name", "before"});
        GvcpClient client;
        ASSERT_TRUE(client.Upload(Payload{.body = "image"}.Encode(), 4096));
        ASSERT_TRUE(client.Upload(Payload{.kind = 2, .body = "after"}.Encode(), 4096));
        EXPECT_EQ(process->Terminate().exitStatus, 0);
    }
    json state = json::parse(ReadFile(File("state/state.json")));
    EXPECT_EQ(state["running_version"], "1.0");
    EXPECT_EQ(state["stored_version"], "2.1");
    EXPECT_EQ(state["transfers"], 2);
    const auto process = Start({"--user-name", "before", "--firmware-version", "1.5"});
    GvcpClient client;
    EXPECT_THAT(client.Ask("0084", "0000008800000004"), HasSubstr("322e3100"));
    EXPECT_EQ(process->Terminate().exitStatus, 0);
    state = json::parse(ReadFile(File("state/state.json")));
    EXPECT_EQ(state["running_version"], "2.1");
    EXPECT_EQ(state["device_id"], "after");
    EXPECT_EQ(ReadFile(File("state/firmware.bin")), "image");
}

TEST_F(SimulatorProgramTest, KeepsTheOldFirmwareWhenKilledWhileFlashing) {
    {
        const auto process = Start({"--flash-time", "60000"});
        GvcpClient client;
        ASSERT_TRUE(client.Upload(Payload{.body = "image"}.Encode(), 4096));
        process->Signal(SIGKILL);
        (void)process->Wait(std::chrono::seconds(10));
    }
    std::filesystem::remove(File("ready"));
    const auto process = Start();
    const json state = json::parse(ReadFile(File("state/state.json")));
    EXPECT_EQ(state["running_version"], "1.0");
    EXPECT_EQ(state["stored_version"], "1.0");
    EXPECT_EQ(state["last_status"], "Flash write interrupted, firmware 1.0 kept");
    EXPECT_FALSE(std::filesystem::exists(File("state/firmware.bin")));
}

TEST_F(SimulatorProgramTest, WritesWhatHappenedWithTheCommandsCounted) {
    const auto process = Start();
    GvcpClient client;
    ASSERT_TRUE(client.Upload(Payload{.body = std::string(3000, 'x')}.Encode(), 1072));
    EXPECT_EQ(process->Terminate().exitStatus, 0);
    std::map<std::string, json> last;
    for (const json& event : Events()) {
        EXPECT_TRUE(event["time_ms"].is_number());
        last[event["event"]] = event;
    }
    EXPECT_EQ(last.at("control_taken")["privilege"], 2);
    EXPECT_EQ(last.at("transfer")["bytes"], 3064);
    EXPECT_EQ(last.at("flashed")["version"], "2.1");
    EXPECT_EQ(last.at("status")["text"], "Firmware applied: MirskoSim 2.1");
    EXPECT_EQ(last.at("gvcp_commands")["commands"]["WRITEMEM"], 6);
    EXPECT_EQ(last.at("file_close")["commands"]["WRITEMEM"].get<int>() -
                  last.at("file_open")["commands"].value("WRITEMEM", 0),
              6);
}

TEST_F(SimulatorProgramTest, TellsTheCommandsOfEveryFileOperationIfAsked) {
    const auto process = Start({"--operation-events"});
    GvcpClient client;
    ASSERT_TRUE(client.Upload(Payload{.body = std::string(3000, 'x')}.Encode(), 1072));
    EXPECT_EQ(process->Terminate().exitStatus, 0);
    std::vector<int> costs;
    int before = 0;
    for (const json& event : Events()) {
        if (event["event"] == "file_close") {
            EXPECT_EQ(event["operations"], (json{{"open", 1}, {"write", 3}, {"close", 1}}));
        }
        if (event["event"] != "file_operation") {
            continue;
        }
        int commands = 0;
        for (const json& count : event["commands"]) {
            commands += count.get<int>();
        }
        costs.push_back(commands - before);
        before = commands;
    }
    // Status and result of the chunk before; two or one WRITEMEM; offset, length, operation,
    // execute.
    EXPECT_EQ(costs, (std::vector<int>{5, 7, 8, 8, 4}));
}

TEST_F(SimulatorProgramTest, LaysItsRegistersOutAsTold) {
    const auto process = Start({"--layout", "wide", "--description", "blanks,large", "--no-tftp"});
    GvcpClient client;
    EXPECT_EQ(client.Read(0xd0000020), 4096U);
    EXPECT_EQ(client.Read(0x10314), std::nullopt);
    EXPECT_THAT(client.Ask("0084", "0000020000000008"), HasSubstr("6c6f63616c3a2047"));
    EXPECT_EQ(process->Terminate().exitStatus, 0);
}

TEST_F(SimulatorProgramTest, RefusesWrongUseWithStatus2AndSaysWhy) {
    const std::vector<std::vector<std::string>> wrong{
        {"--nonsense"},
        {"--profile", "none"},
        {"--layout", "none"},
        {"--description", "large,none"},
        {"--register-commands-swap"},
        {"--layout", "command-register", "--execute-keeps-value"},
        {"--description", "second-url", "--second-url-only"},
        {"--address", "here"},
        {"--mac", "02:00"},
        {"--buffer-size", "3"},
        {"--buffer-size", "many"},
        {"--additional-nodes", "33554433"},
        {"--firmware-version", "2"},
        {"--loss", "101"},
        {"--busy", "-1"},
        {"--flash-time", "-5"},
        {"extra"},
    };
    for (const auto& options : wrong) {
        std::vector<std::string> command{Program("mirsko-simulator")};
        command.insert(command.end(), options.begin(), options.end());
        const ProcessResult result = Process::Run(command, std::chrono::seconds(10));
        EXPECT_EQ(result.exitStatus, 2) << options[0];
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err, "") << options[0];
    }
}

TEST_F(SimulatorProgramTest, RefusesOptionsThatWouldHaveNoEffect) {
    const auto refusal = [](std::vector<std::string> command) {
        command.insert(command.begin(), Program("mirsko-simulator"));
        const ProcessResult result = Process::Run(command, std::chrono::seconds(10));
        EXPECT_EQ(result.exitStatus, 2) << command[1];
        EXPECT_EQ(result.out, "");
        return result.err;
    };
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"--interface", "lo"},
             {"--address", "127.0.0.1"},
             {"--mac", "02:00:00:00:00:07"},
             {"--ready-file", File("ready")},
             {"--no-concatenation"},
             {"--register-commands-swap", "--layout=little-endian"},
             {"--second-url-only"},
             {"--heartbeat-timeout", "500"},
             {"--loss", "1"},
             {"--duplicate", "1"},
             {"--reorder", "1"},
             {"--delayed", "1"},
             {"--delay", "1"},
             {"--stale-acks", "1"},
             {"--busy", "1"},
             {"--refuse-control"},
             {"--mute-after", "1"},
             {"--discovery-delay", "1"},
             {"--discoveries-lost", "1"},
             {"--lose-control-at", "1"},
             {"--seed", "1"},
             {"--no-tftp"},
             {"--tftp-port", "6969"},
             {"--tftp-no-tsize"},
             {"--tftp-loss", "1"},
             {"--tftp-mute"}}) {
        std::vector<std::string> command = options;
        command.insert(command.end(), {"--u3v", "--", "true"});
        EXPECT_EQ(refusal(command),
                  options[0] + " is for GigE Vision devices only; it has no effect with --u3v\n");
    }
    EXPECT_EQ(refusal({"--layout", "legacy-endian", "--u3v", "--", "true"}),
              "the layout legacy-endian is for GigE Vision devices only\n");
    for (const std::string shape : {"blanks", "second-url"}) {
        EXPECT_EQ(refusal({"--description", "large," + shape, "--u3v", "--", "true"}),
                  "the description quirk " + shape +
                      " is for GigE Vision devices only: USB3 Vision has no URLs\n");
    }
    EXPECT_EQ(refusal({"--fault", "lose-control@status", "--u3v", "--", "true"}),
              "the fault lose-control is for GigE Vision devices only\n");
    EXPECT_EQ(refusal({"--fault", "stall@status"}), "the fault stall needs --u3v\n");
    EXPECT_EQ(refusal({"--plug", "2-1"}), "--plug needs --u3v\n");
    EXPECT_EQ(refusal({"--interface-busy"}), "--interface-busy needs --u3v\n");
}

TEST_F(SimulatorProgramTest, RefusesModelNamesThatTheBusCannotReport) {
    const auto run = [](std::size_t length, const std::vector<std::string>& options) {
        std::vector<std::string> command{Program("mirsko-simulator"), "--model",
                                         std::string(length, 'M')};
        command.insert(command.end(), options.begin(), options.end());
        return Process::Run(command);
    };
    const std::vector<std::string> usb{"--u3v", "--", "cat", "/sys/bus/usb/devices/2-1/product"};
    EXPECT_EQ(run(32, {}).err,
              "the model name has 32 bytes; a GigE Vision device reports at most 31 (with --u3v: "
              "63)\n");
    EXPECT_EQ(run(32, {}).exitStatus, 2);
    EXPECT_EQ(run(63, usb).out, std::string(63, 'M') + "\n");
    EXPECT_EQ(run(64, usb).exitStatus, 2);
}

TEST_F(SimulatorProgramTest, TakesTheProfileU3vForTheOption) {
    const ProcessResult result =
        Process::Run({Program("mirsko-simulator"), "--profile", "u3v", "--", "sh", "-c",
                      "cat /sys/bus/usb/devices/2-1/product; exit 7"});
    EXPECT_EQ(result.out, "Simulated Camera\n");
    EXPECT_EQ(result.exitStatus, 7);
    EXPECT_EQ(Process::Run({Program("mirsko-simulator"), "--profile", "u3v"}).err,
              "--u3v needs a command after --\n");
}

TEST_F(SimulatorProgramTest, RefusesTftpLimitsOutsideOfTheirRange) {
    const auto refusal = [](const std::string& option, const std::string& value) {
        const ProcessResult result = Process::Run({Program("mirsko-simulator"), option, value});
        EXPECT_EQ(result.exitStatus, 2) << option << " " << value;
        return result.err;
    };
    for (const char* value : {"4", "7", "65465"}) {
        EXPECT_EQ(refusal("--tftp-max-blksize", value),
                  "the TFTP block size must be 8 to 65464 bytes, or 0 to disable the option\n");
    }
    EXPECT_EQ(refusal("--tftp-max-windowsize", "65536"),
              "the TFTP window size must be 1 to 65535 blocks, or 0 to disable the option\n");
}

TEST_F(SimulatorProgramTest, EndsWithStatus1WhenTheDeviceCannotBeOn) {
    const auto first = Start();
    const ProcessResult taken = Process::Run({Program("mirsko-simulator"), "--no-tftp"});
    EXPECT_EQ(taken.exitStatus, 1);
    EXPECT_EQ(taken.err, "cannot bind 127.0.0.1:3956 on lo: Address already in use\n");
    const std::string broken = mFolder.Write("broken/state.json", "{");
    const ProcessResult state = Process::Run(
        {Program("mirsko-simulator"), "--address", "127.0.0.2", "--state", File("broken")});
    EXPECT_EQ(state.exitStatus, 1);
    EXPECT_THAT(state.err, HasSubstr(broken));
    const ProcessResult ready = Process::Run({Program("mirsko-simulator"), "--address", "127.0.0.2",
                                              "--ready-file", File("none/ready")});
    EXPECT_EQ(ready.exitStatus, 1);
    EXPECT_EQ(ready.err, "cannot write " + File("none/ready") + "\n");
}

TEST_F(SimulatorProgramTest, ExplainsItself) {
    const ProcessResult result = Process::Run({Program("mirsko-simulator"), "--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.err, "");
    for (const char* text : {"--profile", "selector-without-dfw", "--state", "--loss", "SIGTERM"}) {
        EXPECT_THAT(result.out, HasSubstr(text));
    }
}

TEST_F(SimulatorProgramTest, PrintsItsVersion) {
    const ProcessResult result = Process::Run({Program("mirsko-simulator"), "--version"});
    EXPECT_THAT(result.out, testing::MatchesRegex("mirsko-simulator [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(SimulatorProgramTest, ExplainsItselfReadably) {
    const std::string help = Process::Run({Program("mirsko-simulator"), "--help"}).out;
    for (const char* text :
         {"\n  --interface NAME         Network interface to bind every socket to [lo]\n",
          "\n  --no-tftp                Do not serve TFTP",
          "\n  --tftp-no-tsize          Do not grant tsize\n", "[Simulated Camera]\n",
          "reject (with ERROR 8)\n                           [grant]\n", " [2-1]\n",
          "\n  --controllers N          Minimum number of USB host controllers, 1 to 40 [1]\n"}) {
        EXPECT_THAT(help, HasSubstr(text));
    }
    EXPECT_THAT(help, testing::Not(HasSubstr("{")));
    EXPECT_THAT(help, testing::Not(HasSubstr("\n\n\n")));
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

TEST_F(SimulatorProgramTest, SaysTheRangeOfTheNumberOfControllers) {
    const ProcessResult result =
        Process::Run({Program("mirsko-simulator"), "--u3v", "--controllers", "41", "--", "true"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.err, HasSubstr("--controllers: Value 41 not in range 1 to 40"));
}
