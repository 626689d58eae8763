#include <NxDevice/NxDfwPayload.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

#include <gtest/gtest.h>
#include <zlib.h>

#include <NxBase/NxResultCodes.h>

#include "TemporaryFolder.h"

namespace {

using namespace std::string_literals;

// Made by hand with another CRC-32 implementation (Python's zlib module).
const std::string kFirmware = "MDFW"s + "\x00\x01"s + "\x00\x01"s + "\x00\x00\x00\x40"s +
                              "\x00\x00\x00\x00\x00\x00\x00\x08"s + "\xd5\xec\xd7\xc4"s +
                              "MX-200"s + "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s +
                              "\x00\x02"s + "\x00\x11"s + "\x59\x0c\x4c\x60"s + "firmware"s;
const std::string kDeviceId = "MDFW"s + "\x00\x01"s + "\x00\x02"s + "\x00\x00\x00\x40"s +
                              "\x00\x00\x00\x00\x00\x00\x00\x0b"s + "\x41\x3c\xba\x78"s +
                              "MX-200"s + "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s +
                              "\x00\x02"s + "\x00\x11"s + "\xb5\xba\x2a\xd4"s + "Line 3 left"s;
const std::string kReset = "MDFW"s + "\x00\x01"s + "\x00\x03"s + "\x00\x00\x00\x40"s +
                           "\x00\x00\x00\x00\x00\x00\x00\x00"s + "\x00\x00\x00\x00"s + "MX-200"s +
                           "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s + "\x00\x02"s +
                           "\x00\x11"s + "\x95\x39\x0e\x14"s;

struct Record {
    NxResult result;
    std::string bytes;
};

Record DeviceIdRecord(const std::string& payload, const std::string& newId,
                      unsigned int bufferSize = 4096) {
    std::vector<unsigned char> buffer(bufferSize);
    unsigned int length = 0;
    const NxResult result =
        NxDfwPayload::GetDeviceIdRecord(payload, newId, buffer.data(), bufferSize, length);
    return {result, std::string(buffer.begin(), buffer.begin() + length)};
}

Record ResetRecord(const std::string& payload, unsigned int bufferSize = 4096) {
    std::vector<unsigned char> buffer(bufferSize);
    unsigned int length = 0;
    const NxResult result =
        NxDfwPayload::GetResetRecord(payload, buffer.data(), bufferSize, length);
    return {result, std::string(buffer.begin(), buffer.begin() + length)};
}

// Puts the right header checksum into changed bytes, so that the change itself is what is judged.
std::string WithHeaderChecksum(std::string payload) {
    const auto crc =
        static_cast<std::uint32_t>(::crc32(0, reinterpret_cast<const Bytef*>(payload.data()), 60));
    for (std::size_t i = 0; i < 4; ++i) {
        payload[60 + i] = static_cast<char>(crc >> (24 - 8 * i));
    }
    return payload;
}

class NxDfwPayloadTest : public testing::Test {
  protected:
    std::string Write(const std::string& content) { return mFolder.Write("payload.dfw", content); }
    [[nodiscard]] std::string PathOf(const char* name) const {
        return (mFolder.Path() / name).string();
    }
    [[nodiscard]] std::size_t CountFiles() const {
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(mFolder.Path()), {}));
    }

    TemporaryFolder mFolder;
};

TEST_F(NxDfwPayloadTest, ReadsAHeader) {
    NxDfwHeader header;
    ASSERT_TRUE(NxDfwPayload::ReadHeader(Write(kFirmware), header).IsOK());
    EXPECT_EQ(header.kind, NxDfwHeader::Kind::kFirmware);
    EXPECT_EQ(header.bodyLength, 8U);
    EXPECT_EQ(header.bodyCrc, 0xd5ecd7c4U);
    EXPECT_EQ(header.family, "MX-200");
    EXPECT_EQ(header.major, 2);
    EXPECT_EQ(header.minor, 17);
}

TEST_F(NxDfwPayloadTest, ReadsTheHeadersOfRecords) {
    NxDfwHeader header;
    ASSERT_TRUE(NxDfwPayload::Verify(Write(kDeviceId), header).IsOK());
    EXPECT_EQ(header.kind, NxDfwHeader::Kind::kDeviceId);
    ASSERT_TRUE(NxDfwPayload::Verify(Write(kReset), header).IsOK());
    EXPECT_EQ(header.kind, NxDfwHeader::Kind::kReset);
}

TEST_F(NxDfwPayloadTest, BuildsTheDeviceIdRecordWithThePayloadsFamilyAndVersion) {
    const Record record = DeviceIdRecord(Write(kFirmware), "Line 3 left");
    ASSERT_TRUE(record.result.IsOK()) << record.result.GetDescription().GetAscii();
    EXPECT_EQ(record.bytes, kDeviceId);
}

TEST_F(NxDfwPayloadTest, BuildsTheResetRecord) {
    const Record record = ResetRecord(Write(kFirmware));
    ASSERT_TRUE(record.result.IsOK()) << record.result.GetDescription().GetAscii();
    EXPECT_EQ(record.bytes, kReset);
}

TEST_F(NxDfwPayloadTest, BuildsRecordsFromTheHeaderAlone) {
    const std::string payload = Write(kFirmware.substr(0, 64));
    EXPECT_EQ(ResetRecord(payload).bytes, kReset);
    EXPECT_EQ(DeviceIdRecord(payload, "Line 3 left").bytes, kDeviceId);
}

TEST_F(NxDfwPayloadTest, TakesDeviceIdsOfOneTo63PrintableCharacters) {
    const std::string payload = Write(kFirmware);
    for (const std::string& good : {"x"s, " ~"s, std::string(63, 'n')}) {
        const Record record = DeviceIdRecord(payload, good);
        ASSERT_TRUE(record.result.IsOK()) << good;
        EXPECT_EQ(record.bytes.substr(64), good);
    }
    for (const std::string& bad : {""s, std::string(64, 'n'), "a\nb"s, "caf\xc3\xa9"s, "\x7f"s}) {
        const Record record = DeviceIdRecord(payload, bad);
        EXPECT_EQ(record.result.GetCode(), kNxInvalidArgument) << bad;
        EXPECT_EQ(record.bytes, "");
    }
}

TEST_F(NxDfwPayloadTest, RefusesABufferOneByteTooSmall) {
    const std::string payload = Write(kFirmware);
    EXPECT_EQ(DeviceIdRecord(payload, "abc", 66).result.GetCode(), kNxBufferTooSmall);
    EXPECT_TRUE(DeviceIdRecord(payload, "abc", 67).result.IsOK());
    EXPECT_EQ(ResetRecord(payload, 63).result.GetCode(), kNxBufferTooSmall);
    EXPECT_TRUE(ResetRecord(payload, 64).result.IsOK());
    unsigned int length = 77;
    EXPECT_EQ(NxDfwPayload::GetResetRecord(payload, nullptr, 4096, length).GetCode(),
              kNxBufferTooSmall);
    EXPECT_EQ(length, 77U);
}

struct Malformed {
    const char* name;
    const char* problem;
    std::function<std::string(std::string)> change;
};

void PrintTo(const Malformed& malformed, std::ostream* stream) {
    *stream << malformed.name;
}

std::string With(std::string bytes, std::size_t at, const std::string& replacement) {
    bytes.replace(at, replacement.size(), replacement);
    return bytes;
}

class NxDfwPayloadMalformedTest : public testing::TestWithParam<Malformed> {};

TEST_P(NxDfwPayloadMalformedTest, IsRefusedWithTheReasonEverywhere) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("bad.dfw", GetParam().change(kFirmware));
    NxDfwHeader header;
    header.family = "untouched";
    for (const NxResult& result :
         {NxDfwPayload::ReadHeader(path, header), NxDfwPayload::Verify(path, header),
          ResetRecord(path).result, DeviceIdRecord(path, "id").result}) {
        EXPECT_EQ(result.GetCode(), kNxNotAPayload);
        EXPECT_EQ(result.GetDescription(),
                  NxString(path + " is not a firmware payload: " + GetParam().problem));
    }
    EXPECT_EQ(header.family, "untouched");
}

INSTANTIATE_TEST_SUITE_P(
    Headers, NxDfwPayloadMalformedTest,
    testing::Values(
        Malformed{"Empty", "it ends after 0 of the 64 bytes of its header",
                  [](const std::string&) { return ""s; }},
        Malformed{"OneByteShort", "it ends after 63 of the 64 bytes of its header",
                  [](const std::string& b) { return b.substr(0, 63); }},
        Malformed{"Magic", "it does not begin with \"MDFW\"",
                  [](const std::string& b) { return With(b, 0, "mDFW"); }},
        Malformed{"AllZero", "it does not begin with \"MDFW\"",
                  [](const std::string&) { return std::string(64, '\0'); }},
        Malformed{"Version", "its format version is 2, not 1",
                  [](const std::string& b) { return With(b, 4, "\0\2"s); }},
        Malformed{"HeaderLength", "its header length is 65, not 64",
                  [](const std::string& b) { return With(b, 8, "\0\0\0\x41"s); }},
        Malformed{"Checksum", "checksum error in its header",
                  [](const std::string& b) { return With(b, 58, "\1"s); }},
        Malformed{"KindZero", "its kind 0 is unknown",
                  [](const std::string& b) { return WithHeaderChecksum(With(b, 6, "\0\0"s)); }},
        Malformed{"KindFour", "its kind 4 is unknown",
                  [](const std::string& b) { return WithHeaderChecksum(With(b, 6, "\0\4"s)); }},
        Malformed{"NoFamily", "its device family is not zero-padded printable ASCII",
                  [](const std::string& b) {
                      return WithHeaderChecksum(With(b, 24, std::string(32, '\0')));
                  }},
        Malformed{"FamilyWithControlCharacter",
                  "its device family is not zero-padded printable ASCII",
                  [](const std::string& b) { return WithHeaderChecksum(With(b, 25, "\n")); }},
        Malformed{"FamilyBadlyPadded", "its device family is not zero-padded printable ASCII",
                  [](const std::string& b) { return WithHeaderChecksum(With(b, 55, "x")); }},
        Malformed{"LongDeviceId", "it is a device ID of 64 bytes",
                  [](const std::string& b) {
                      return WithHeaderChecksum(With(With(b, 6, "\0\2"s), 19, "\x40"));
                  }},
        Malformed{"HugeDeviceId", "it is a device ID of 18446744073709551615 bytes",
                  [](const std::string& b) {
                      return WithHeaderChecksum(
                          With(With(b, 6, "\0\2"s), 12, std::string(8, '\xff')));
                  }},
        Malformed{"ResetWithBody", "it is a reset record with a body",
                  [](const std::string& b) { return WithHeaderChecksum(With(b, 6, "\0\3"s)); }}),
    [](const auto& test) { return test.param.name; });

TEST_F(NxDfwPayloadTest, VerifyRefusesABodyOfAnotherLengthOrChecksum) {
    NxDfwHeader header;
    EXPECT_TRUE(NxDfwPayload::Verify(Write(kFirmware), header).IsOK());
    NxResult result = NxDfwPayload::Verify(Write(kFirmware + "x"), header);
    EXPECT_EQ(result.GetCode(), kNxNotAPayload);
    EXPECT_EQ(result.GetDescription(),
              NxString(PathOf("payload.dfw") +
                       " is not a firmware payload: its body has 9 bytes, but its header says 8"));
    EXPECT_EQ(NxDfwPayload::Verify(Write(kFirmware.substr(0, 71)), header).GetCode(),
              kNxNotAPayload);
    result = NxDfwPayload::Verify(Write(With(kFirmware, 70, "R")), header);
    EXPECT_EQ(result.GetCode(), kNxNotAPayload);
    EXPECT_EQ(
        result.GetDescription(),
        NxString(PathOf("payload.dfw") + " is not a firmware payload: checksum error in its body"));
}

TEST_F(NxDfwPayloadTest, CreatesTheGoldenBytes) {
    const std::string body = mFolder.Write("body.bin", "firmware");
    const std::string payload = PathOf("made.dfw");
    ASSERT_TRUE(NxDfwPayload::Create(body, "MX-200", 2, 17, payload).IsOK());
    EXPECT_EQ(ReadFile(payload), kFirmware);
}

TEST_F(NxDfwPayloadTest, CreatesPayloadsLargerThanOneRead) {
    const std::string content = RandomBytes(3 * 256 * 1024 + 5, 1);
    const std::string body = mFolder.Write("body.bin", content);
    const std::string payload = PathOf("made.dfw");
    ASSERT_TRUE(NxDfwPayload::Create(body, std::string(32, 'F'), 65535, 0, payload).IsOK());
    EXPECT_EQ(ReadFile(payload).substr(64), content);
    NxDfwHeader header;
    ASSERT_TRUE(NxDfwPayload::Verify(payload, header).IsOK());
    EXPECT_EQ(header.family, std::string(32, 'F'));
    EXPECT_EQ(header.bodyLength, content.size());
    EXPECT_EQ(header.major, 65535);
}

TEST_F(NxDfwPayloadTest, CreateReplacesAnEarlierPayload) {
    const std::string body = mFolder.Write("body.bin", "firmware");
    const std::string payload =
        Write("an earlier payload, longer than the new one by far: " + std::string(100, 'x'));
    ASSERT_TRUE(NxDfwPayload::Create(body, "MX-200", 2, 17, payload).IsOK());
    EXPECT_EQ(ReadFile(payload), kFirmware);
    EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(NxDfwPayloadTest, CreateGivesThePermissionsOfTheUmask) {
    const std::string body = mFolder.Write("body.bin", "firmware");
    const mode_t before = ::umask(027);
    const NxResult result = NxDfwPayload::Create(body, "MX-200", 2, 17, PathOf("made.dfw"));
    (void)::umask(before);
    ASSERT_TRUE(result.IsOK());
    EXPECT_EQ(std::filesystem::status(PathOf("made.dfw")).permissions(),
              std::filesystem::perms(0640));
}

TEST_F(NxDfwPayloadTest, CreateRefusesBadArgumentsAndLeavesNoFile) {
    const std::string body = mFolder.Write("body.bin", "firmware");
    const std::string empty = mFolder.Write("empty.bin", "");
    const std::string payload = PathOf("made.dfw");
    const auto codeOf = [&](const std::string& from, const std::string& family,
                            const std::string& to) {
        return NxDfwPayload::Create(from, family, 1, 0, to).GetCode();
    };
    EXPECT_EQ(codeOf(body, "", payload), kNxInvalidArgument);
    EXPECT_EQ(codeOf(body, std::string(33, 'F'), payload), kNxInvalidArgument);
    EXPECT_EQ(codeOf(body, "tab\t", payload), kNxInvalidArgument);
    EXPECT_EQ(codeOf(empty, "MX-200", payload), kNxInvalidArgument);
    EXPECT_EQ(codeOf(PathOf("absent"), "MX-200", payload), kNxLocalFile);
    EXPECT_EQ(codeOf(mFolder.Path().string(), "MX-200", payload), kNxLocalFile);
    EXPECT_EQ(codeOf(body, "MX-200", PathOf("absent/made.dfw")), kNxLocalFile);
    EXPECT_EQ(codeOf(body, "MX-200", mFolder.Path().string()), kNxLocalFile);
    EXPECT_EQ(codeOf(body, "MX-200", "/dev/null"), kNxLocalFile);
    EXPECT_EQ(codeOf(body, "MX-200", body), kNxInvalidArgument);
    EXPECT_EQ(ReadFile(body), "firmware");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(NxDfwPayloadTest, AFailedCreateKeepsTheEarlierPayload) {
    const std::string payload = Write("earlier");
    const std::string body = mFolder.Write("body.bin", std::string(1000, 'b'));
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit full{200, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
    const NxResult result = NxDfwPayload::Create(body, "MX-200", 1, 0, payload);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_EQ(result.GetCode(), kNxLocalFile);
    EXPECT_EQ(result.GetDescription(), NxString("Cannot write " + payload + ": File too large"));
    EXPECT_EQ(ReadFile(payload), "earlier");
    EXPECT_EQ(CountFiles(), 2U);
}

TEST_F(NxDfwPayloadTest, NamesTheFileAndTheReasonWhenItCannotBeRead) {
    NxDfwHeader header;
    NxResult result = NxDfwPayload::ReadHeader(PathOf("absent.dfw"), header);
    EXPECT_EQ(result.GetCode(), kNxLocalFile);
    EXPECT_EQ(result.GetDescription(),
              NxString("Cannot open " + PathOf("absent.dfw") + ": No such file or directory"));
    result = NxDfwPayload::ReadHeader(mFolder.Path().string(), header);
    EXPECT_EQ(result.GetDescription(),
              NxString("Cannot open " + mFolder.Path().string() + ": not a regular file"));
    // The path that a package reader gives for a member that it cannot hand out.
    EXPECT_EQ(NxDfwPayload::ReadHeader("", header).GetDescription(),
              NxString("Cannot read the payload: it is missing from the package or cannot be "
                       "unpacked (damaged, encrypted, or /tmp is full)"));
}

TEST_F(NxDfwPayloadTest, DoesNotWaitForANamedPipe) {
    const std::string pipe = PathOf("pipe.dfw");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    NxDfwHeader header;
    EXPECT_EQ(NxDfwPayload::ReadHeader(pipe, header).GetCode(), kNxLocalFile);
}

}  // namespace
