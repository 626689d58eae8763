// With --u3v, nothing runs unless it is certain to see the emulated USB in the place of the real
// one.
#include <array>
#include <cstdint>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include "Process.h"
#include "TemporaryFolder.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class BedGuardTest : public testing::Test {
  protected:
    /// Runs a script in a mount namespace of its own; $1 is the simulator.
    ProcessResult Shell(const std::string& script) {
        return Process::Run(
            {"unshare", "--mount", "sh", "-ec", script, "sh", Program("mirsko-simulator")});
    }

    ProcessResult Simulate(const std::vector<std::string>& command) {
        std::vector<std::string> whole{Program("mirsko-simulator"), "--u3v", "--"};
        whole.insert(whole.end(), command.begin(), command.end());
        return Process::Run(whole);
    }

    [[nodiscard]] std::string File(const std::string& name) const {
        return (mFolder.Path() / name).string();
    }

    /// A copy of touch(1).
    [[nodiscard]] std::string CopyOfTouch() const {
        std::filesystem::copy_file("/usr/bin/touch", File("copy"));
        return File("copy");
    }

    /// One line, status 1, and the command did not touch the file "ran".
    void ExpectNothingRun(const ProcessResult& result, const std::string& why) {
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("cannot start "));
        EXPECT_THAT(result.err, HasSubstr(why));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_FALSE(std::filesystem::exists(File("ran")));
    }

    TemporaryFolder mFolder;
};

// A computer with one USB device, without touching the real one's.
const std::string kRealUsb =
    "dev=$(mktemp -d)\n"
    "for node in null zero full random urandom tty; do\n"
    "    : >$dev/$node; mount --bind /dev/$node $dev/$node\n"
    "done\n"
    "mkdir -p $dev/bus/usb/001; echo real >$dev/bus/usb/001/007\n"
    "mount --rbind $dev /dev\n"
    "mount -t tmpfs none /sys; mkdir -p /sys/bus/usb/devices/1-7\n";

}  // namespace

TEST_F(BedGuardTest, RunsNothingWhenThePreloadLibraryIsMissing) {
    ExpectNothingRun(Shell("for library in /usr/lib/*/libumockdev-preload.so.0; do\n"
                           "    mount --bind /dev/null $library\n"
                           "done\n"
                           "\"$1\" --u3v -- touch " +
                           File("ran")),
                     "install the package umockdev");
}

TEST_F(BedGuardTest, RunsNothingWhenThePreloadLibraryDoesNotTake) {
    ExpectNothingRun(Shell("for library in /usr/lib/*/libumockdev-preload.so.0; do\n"
                           "    mount --bind ${library%/*}/libz.so.1 $library\n"
                           "done\n"
                           "\"$1\" --u3v -- touch " +
                           File("ran")),
                     "touch: umockdev's preload library does not take: /dev/bus/usb is not the "
                     "emulated one");
}

TEST_F(BedGuardTest, RunsNoStaticallyLinkedProgram) {
    // Debian's ldconfig is one.
    ExpectNothingRun(Simulate({"/sbin/ldconfig", "-p"}), "/sbin/ldconfig is statically linked");
}

TEST_F(BedGuardTest, RunsNoProgramThatGainsRights) {
    // As sudo, su and pkexec do.
    const std::string copy = CopyOfTouch();
    for (const mode_t mode : {04755, 02755}) {
        ASSERT_EQ(chmod(copy.c_str(), mode), 0);
        ExpectNothingRun(Simulate({copy, File("ran")}),
                         copy + " is set-uid, set-gid or has capabilities");
    }
}

TEST_F(BedGuardTest, RunsNoProgramWithCapabilities) {
    // The form of linux/capability.h: version 2, permitted CAP_NET_RAW.
    constexpr std::array<std::uint32_t, 5> kCapabilities{0x02000000, 1U << 13U, 0, 0, 0};
    const std::string copy = CopyOfTouch();
    ASSERT_EQ(setxattr(copy.c_str(), "security.capability", kCapabilities.data(),
                       sizeof kCapabilities, 0),
              0);
    ExpectNothingRun(Simulate({copy, File("ran")}), copy + " is set-uid");
}

TEST_F(BedGuardTest, RunsNoScriptWhoseInterpreterWouldSeeTheRealUsb) {
    const std::string script = mFolder.Write("script", "#!/sbin/ldconfig -p\n");
    ASSERT_EQ(chmod(script.c_str(), 0755), 0);
    const std::string caller = mFolder.Write("caller", "#! " + script + "\n");
    ASSERT_EQ(chmod(caller.c_str(), 0755), 0);
    ExpectNothingRun(Simulate({caller}), "/sbin/ldconfig is statically linked");
}

TEST_F(BedGuardTest, RunsNothingThatIsNotAProgram) {
    ExpectNothingRun(Simulate({File("none")}), File("none") + ": No such file or directory");
    ExpectNothingRun(Simulate({"no-such-program"}), "no-such-program: command not found");
    ExpectNothingRun(Simulate({mFolder.Path()}), " is not a program of this computer's kind");
    const std::string text = mFolder.Write("text", "touch " + File("ran"));
    ASSERT_EQ(chmod(text.c_str(), 0755), 0);
    ExpectNothingRun(Simulate({text}), text + " is not a program of this computer's kind");
    const std::string loop = mFolder.Write("loop", "#!" + File("loop") + "\n");
    ASSERT_EQ(chmod(loop.c_str(), 0755), 0);
    ExpectNothingRun(Simulate({loop}), "no interpreter for this script");
}

TEST_F(BedGuardTest, HidesTheRealUsbFromWhatRunsWithoutThePreloadLibrary) {
    const std::string list = "env -u LD_PRELOAD find /dev/bus/usb /sys/bus/usb | sort\n";
    const ProcessResult result =
        Shell(kRealUsb + list + "echo; \"$1\" --u3v -- sh -c '" + list + "'");
    EXPECT_EQ(result.out,
              "/dev/bus/usb\n/dev/bus/usb/001\n/dev/bus/usb/001/007\n/sys/bus/usb\n"
              "/sys/bus/usb/devices\n/sys/bus/usb/devices/1-7\n"
              "\n/dev/bus/usb\n/sys/bus/usb\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(BedGuardTest, RunsNothingWhereTheRealUsbCannotBeHidden) {
    ExpectNothingRun(
        Shell(kRealUsb + "setpriv --bounding-set -all \"$1\" --u3v -- touch " + File("ran")),
        "cannot hide this computer's USB devices from the command: Operation not "
        "permitted; run as root or allow user namespaces");
}
