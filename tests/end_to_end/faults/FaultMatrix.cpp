#include <algorithm>
#include <utility>

#include "FaultCell.h"

namespace {

using Remedy = FaultCell::Remedy;
using std::chrono::seconds;

constexpr Transport kAll[] = {
    Transport::kFileAccess,  Transport::kTftp, Transport::kFileAccessPackage,
    Transport::kTftpPackage, Transport::kUsb,  Transport::kUsbPackage};

bool IsUsb(Transport transport) {
    return transport == Transport::kUsb || transport == Transport::kUsbPackage;
}

bool IsTftp(Transport transport) {
    return transport == Transport::kTftp || transport == Transport::kTftpPackage;
}

/// For an update that waits a minute for the device before it goes on or gives up.
constexpr seconds kMinute{130};

/// What is to be expected of a fault.
struct Verdict {
    Outcome expected;
    Remedy remedy = Remedy::kNone;
    seconds limit{60};
};

/// A moment of a session, as the simulator's option --fault names it.
struct Moment {
    std::string name;
    std::string option;
    bool tftpOnly = false;
};

const std::vector<Moment>& Moments() {
    static const std::vector<Moment> kMoments{
        {"connect", "command=1"},
        {"start", "byte=1"},
        {"middle", "byte=" + std::to_string(kFaultPayloadSize / 2)},
        {"last block", "byte=" + std::to_string(kFaultPayloadSize)},
        {"status", "status"},
        {"device ID", "device-id"},
        {"reset", "reset", true}};
    return kMoments;
}

/// A device that is gone for good, or away for a moment, or holds back its answer.
class DeathTable {
  public:
    explicit DeathTable(std::vector<FaultCell>& cells) : mCells(cells) {}

    void Fill() {
        for (const Transport transport : kAll) {
            for (const Moment& moment : Moments()) {
                if (moment.tftpOnly && !IsTftp(transport)) {
                    continue;  // file access sends no reset
                }
                for (const char* const kind : {"mute", "vanish", "reboot", "pause"}) {
                    Add(transport, kind, moment, Expected(transport, kind, moment.name));
                }
                if (moment.name != "connect") {  // no file operation yet
                    Add(transport, "fail", moment, Expected(transport, "fail", moment.name));
                }
                if (!IsTftp(transport)) {
                    const char* const kind = IsUsb(transport) ? "stall" : "lose-control";
                    Add(transport, kind, moment, Expected(transport, kind, moment.name));
                }
            }
        }
    }

  private:
    static Verdict Expected(Transport transport, const std::string& kind,
                            const std::string& moment) {
        const bool gone = kind == "mute" || kind == "vanish" || kind == "lose-control";
        const Remedy remedy = gone ? Remedy::kRestart : Remedy::kNone;
        if (kind == "pause") {
            // USB loses nothing: a device that is silent before it has announced longer times is
            // given up.
            const bool impatient = IsUsb(transport) && moment == "connect";
            return {impatient ? Outcome::kFailedOld : Outcome::kComplete};
        }
        if (moment == "connect") {
            // What sends nothing but a request or reads can be begun again.
            const bool again = IsUsb(transport) ? kind == "stall" : kind == "reboot";
            return {again ? Outcome::kComplete : Outcome::kFailedOld, remedy};
        }
        // The device confirmed its firmware before these, and what becomes of them is not reported.
        if (moment == "device ID" || moment == "reset") {
            return {Outcome::kComplete, remedy};
        }
        if (kind == "fail" && moment == "last block" && !IsTftp(transport)) {
            return {Outcome::kFailedNew};  // it has all bytes when the file is closed
        }
        if (kind == "fail" && moment == "status") {
            // A refused open is tried again, in case an earlier program left the file open.
            return {IsTftp(transport) ? Outcome::kFailedNew : Outcome::kComplete};
        }
        if (kind == "fail") {
            return {Outcome::kFailedOld};
        }
        if (moment == "status") {
            const bool again = IsTftp(transport) && kind == "reboot";
            return {again ? Outcome::kComplete : Outcome::kFailedNew, remedy};
        }
        if (moment == "last block" && IsTftp(transport)) {
            // It stored the last block, and with it the firmware, but could not confirm it. The
            // updater waits a minute, for devices that write their flash first.
            return {Outcome::kFailedNew, remedy, kMinute};
        }
        return {Outcome::kFailedOld, remedy};
    }

    void Add(Transport transport, const std::string& kind, const Moment& moment,
             const Verdict& verdict) {
        FaultCell cell;
        cell.transport = transport;
        cell.fault = kind;
        cell.moment = moment.name;
        cell.options = {"--fault", kind + "@" + moment.option};
        cell.expected = verdict.expected;
        cell.remedy = verdict.remedy;
        cell.limit = verdict.limit;
        mCells.push_back(std::move(cell));
    }

    std::vector<FaultCell>& mCells;
};

/// The device dies after each command of a session in turn.
void AddDeathAfterEachCommand(std::vector<FaultCell>& cells) {
    // The last cell, after more commands than a session has, shows that each of them had its cell;
    // what is resent on a busy computer counts too.
    for (const auto& [transport, commands] :
         {std::pair(Transport::kFileAccess, 100U), std::pair(Transport::kTftp, 46U),
          std::pair(Transport::kFileAccessPackage, 87U), std::pair(Transport::kUsb, 84U)}) {
        for (const auto& [kind, remedy] :
             {std::pair("vanish", Remedy::kRestart), std::pair("reboot", Remedy::kNone)}) {
            for (unsigned int command = 2; command <= commands; ++command) {
                FaultCell cell;
                cell.transport = transport;
                cell.fault = kind;
                cell.moment = "command " + std::to_string(command);
                cell.options = {"--fault",
                                std::string(kind) + "@command=" + std::to_string(command)};
                cell.remedy = remedy;
                cell.limit = kMinute;
                cells.push_back(std::move(cell));
            }
            cells.back().expected = Outcome::kUntouched;
            cells.back().remedy = Remedy::kRestart;
        }
    }
}

/// A fault that has a moment of its own, or none.
struct Row {
    std::string fault;
    std::string moment;
    std::vector<std::string> options;
    Verdict verdict;
};

constexpr Verdict kUnharmed{Outcome::kComplete};
constexpr Verdict kRejected{Outcome::kFailedOld, Remedy::kRestart};
constexpr Verdict kInvisible{Outcome::kNotFound, Remedy::kRestart};
const std::string kMiddle = std::to_string(kFaultPayloadSize / 2);
const std::string kEnd = std::to_string(kFaultPayloadSize);

void AddRows(std::vector<FaultCell>& cells, std::initializer_list<Transport> transports,
             const std::vector<Row>& rows) {
    for (const Transport transport : transports) {
        for (const Row& row : rows) {
            cells.push_back({transport, row.fault, row.moment, row.options, row.verdict.expected,
                             row.verdict.remedy, row.verdict.limit});
        }
    }
}

/// What a camera does wrong, or just differently, on every transport.
void AddCameraFaults(std::vector<FaultCell>& cells) {
    AddRows(cells,
            {Transport::kFileAccess, Transport::kTftp, Transport::kFileAccessPackage,
             Transport::kTftpPackage, Transport::kUsb, Transport::kUsbPackage},
            {{"flash fails", "status", {"--fail-flash"}, kRejected},
             {"CRC misjudged", "status", {"--misjudge-crc"}, kRejected},
             {"other family", "status", {"--family", "Other"}, kRejected},
             {"other wording", "status", {"--non-volatile-wording"}, kUnharmed}});
    AddRows(cells,
            {Transport::kFileAccess, Transport::kFileAccessPackage, Transport::kUsb,
             Transport::kUsbPackage},
            {{"short writes", "all along", {"--short-write-every", "2"}, kUnharmed},
             {"slow operations", "all along", {"--operation-time", "300"}, kUnharmed},
             {"slow acks", "all along", {"--latency", "20000"}, kUnharmed},
             // The status is read for a minute once it was busy.
             {"slow flash",
              "status",
              {"--flash-time", "3000"},
              {Outcome::kComplete, Remedy::kNone, kMinute}}});
}

void AddGvcpFaults(std::vector<FaultCell>& cells) {
    AddRows(cells,
            {Transport::kFileAccess, Transport::kTftp, Transport::kFileAccessPackage,
             Transport::kTftpPackage},
            {{"late discovery", "discovery", {"--discovery-delay", "700"}, kUnharmed},
             {"very late discovery", "discovery", {"--discovery-delay", "5000"}, kInvisible},
             {"lost discovery", "discovery", {"--discoveries-lost", "1"}, kUnharmed},
             {"no discovery", "discovery", {"--discoveries-lost", "1000"}, kInvisible}});
    const std::vector<Row> rows{
        {"loss 1 %", "all along", {"--loss", "1"}, kUnharmed},
        {"loss 5 %", "all along", {"--loss", "5"}, kUnharmed},
        {"loss 20 %", "all along", {"--loss", "20"}, kUnharmed},
        {"duplicates 20 %", "all along", {"--duplicate", "20"}, kUnharmed},
        {"reordering 20 %", "all along", {"--reorder", "20"}, kUnharmed},
        {"delays 10 %", "all along", {"--delayed", "10"}, kUnharmed},
        {"stale acks 30 %", "all along", {"--stale-acks", "30"}, kUnharmed},
        {"busy 20 %", "all along", {"--busy", "20"}, kUnharmed},
        {"all of these",
         "all along",
         {"--loss", "5", "--duplicate", "5", "--reorder", "5", "--delayed", "2", "--stale-acks",
          "5", "--busy", "5"},
         kUnharmed},
        {"operations that hold", "all along", {"--execute-latency", "400"}, kUnharmed},
        {"no concatenation", "all along", {"--no-concatenation"}, kUnharmed},
        {"short heartbeat", "all along", {"--heartbeat-timeout", "500"}, kUnharmed},
        {"long heartbeat", "all along", {"--heartbeat-timeout", "10000"}, kUnharmed},
        {"no TFTP", "all along", {"--no-tftp"}, kUnharmed}};
    AddRows(cells, {Transport::kFileAccess, Transport::kFileAccessPackage}, rows);
    // Direct mode falls back to TFTP, a package does not.
    AddRows(cells, {Transport::kFileAccess},
            {{"control refused", "connect", {"--refuse-control"}, kUnharmed}});
    AddRows(cells, {Transport::kFileAccessPackage, Transport::kTftpPackage},
            {{"control refused", "connect", {"--refuse-control"}, kRejected}});
}

void AddTftpFaults(std::vector<FaultCell>& cells) {
    std::vector<Row> rows{
        {"loss 1 %", "all along", {"--tftp-loss", "1"}, kUnharmed},
        {"loss 5 %", "all along", {"--tftp-loss", "5"}, kUnharmed},
        {"loss 20 %", "all along", {"--tftp-loss", "20"}, kUnharmed},
        {"duplicates 20 %", "all along", {"--tftp-duplicate", "20"}, kUnharmed},
        {"reordering 20 %", "all along", {"--tftp-reorder", "20"}, kUnharmed},
        {"late copies 20 %", "all along", {"--tftp-late-copy", "20"}, kUnharmed},
        {"all of these",
         "all along",
         {"--tftp-loss", "5", "--tftp-duplicate", "5", "--tftp-reorder", "5", "--tftp-late-copy",
          "5"},
         kUnharmed},
        {"forged packets", "all along", {"--tftp-foreign-port"}, kUnharmed},
        {"options ignored", "connect", {"--tftp-options", "ignore"}, kUnharmed},
        {"options rejected", "connect", {"--tftp-options", "reject"}, kUnharmed},
        {"no window", "connect", {"--tftp-max-windowsize", "0"}, kUnharmed},
        {"no tsize", "connect", {"--tftp-no-tsize"}, kUnharmed},
        {"no timeout option", "connect", {"--tftp-no-timeout"}, kUnharmed},
        {"no reply", "connect", {"--tftp-mute"}, kRejected},
        {"no TFTP", "connect", {"--no-tftp"}, kRejected},
        {"lost last ACK", "last block", {"--tftp-lost-last-acks", "1"}, kUnharmed},
        {"3 lost last ACKs", "last block", {"--tftp-lost-last-acks", "3"}, kUnharmed},
        {"status of 1 KiB", "status", {"--tftp-status-size", "1024"}, kUnharmed},
        {"status of 100 KB", "status", {"--tftp-status-size", "100000"}, kUnharmed},
        {"slow flash", "status", {"--flash-time", "2000"}, kUnharmed},
        // The status is read once, and the flash is done after the updater has given up.
        {"busy status",
         "status",
         {"--flash-time", "3000", "--tftp-busy-status"},
         {Outcome::kFailedNew, Remedy::kRestart}}};
    for (const char* const answer : {"error", "blksize-above-request", "blksize-7", "windowsize-0",
                                     "unrequested-option", "garbage"}) {
        rows.push_back({answer, "connect", {"--tftp-first-answer", answer}, kRejected});
    }
    for (const auto& [moment, byte] : {std::pair<std::string, std::string>("start", "1"),
                                       {"middle", kMiddle},
                                       {"last block", kEnd}}) {
        rows.push_back({"silence",
                        moment,
                        {"--tftp-silent-at", byte},
                        {Outcome::kFailedOld, Remedy::kRestart, kMinute}});
        rows.push_back({"ERROR 3", moment, {"--tftp-error-at", byte}, kRejected});
    }
    AddRows(cells, {Transport::kTftp, Transport::kTftpPackage}, rows);
}

void AddUsbFaults(std::vector<FaultCell>& cells) {
    std::vector<Row> rows{
        {"late acks", "all along", {"--late-every", "7"}, kUnharmed},
        {"PENDING_ACK", "all along", {"--pending-every", "5"}, kUnharmed},
        {"stalls", "all along", {"--stall-every", "6"}, kUnharmed},
        {"protocol errors", "all along", {"--protocol-error-every", "6"}, kUnharmed},
        {"short commands", "all along", {"--max-command", "64", "--max-ack", "64"}, kUnharmed},
        {"interface held", "connect", {"--interface-busy"}, kRejected},
        {"access denied", "connect", {"--access-denied"}, kRejected},
        {"not plugged in", "discovery", {"--nothing-plugged-in"}, kInvisible}};
    for (const auto& [moment, byte] : {std::pair<std::string, std::string>("start", "1"),
                                       {"middle", kMiddle},
                                       {"last block", kEnd}}) {
        rows.push_back(
            {"stall for good", moment, {"--stall-at", byte, "--stall-for-good"}, kRejected});
    }
    AddRows(cells, {Transport::kUsb, Transport::kUsbPackage}, rows);
}

/// Whether the ordinary tests run it: each kind of fault and each moment somewhere, none that
/// waits.
bool IsQuick(const FaultCell& cell) {
    const auto isOne = [](const std::string& name, std::initializer_list<const char*> names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    const bool direct = cell.transport == Transport::kFileAccess ||
                        cell.transport == Transport::kTftp || cell.transport == Transport::kUsb;
    return cell.expected == Outcome::kUntouched || cell.fault == "all of these" ||
           (cell.fault == "reboot" && isOne(cell.moment, {"middle", "status"})) ||
           (cell.fault == "mute" && cell.moment == "device ID") ||
           (cell.fault == "vanish" && cell.moment == "reset") ||
           (isOne(cell.fault, {"lose-control", "stall"}) && cell.moment == "middle") ||
           (direct && isOne(cell.fault, {"flash fails", "pause"}) &&
            isOne(cell.moment, {"status", "middle"}));
}

}  // namespace

std::vector<FaultCell> FaultMatrix() {
    std::vector<FaultCell> cells;
    DeathTable(cells).Fill();
    AddCameraFaults(cells);
    AddGvcpFaults(cells);
    AddTftpFaults(cells);
    AddUsbFaults(cells);
    AddDeathAfterEachCommand(cells);
    for (FaultCell& cell : cells) {
        cell.quick = IsQuick(cell);
    }
    return cells;
}
