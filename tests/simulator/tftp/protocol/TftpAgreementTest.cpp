#include "simulator/tftp/protocol/TftpAgreement.h"

#include <gmock/gmock.h>

namespace simulator {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr unsigned int kLargeBuffer = 1U << 30U;

TftpAgreement Agree(const TftpOptionList& requested, const TftpSettings& settings = {},
                    std::optional<std::uint64_t> fileSize = std::nullopt,
                    unsigned int receiveBuffer = kLargeBuffer) {
    return std::get<TftpAgreement>(
        TftpAgreement::Negotiate(requested, settings, fileSize, receiveBuffer));
}

TEST(TftpAgreementTest, IsPlainWithoutOptions) {
    const TftpAgreement agreement = Agree({});
    EXPECT_EQ(agreement.blockSize, 512U);
    EXPECT_EQ(agreement.windowSize, 1U);
    EXPECT_FALSE(agreement.timeout);
    EXPECT_THAT(agreement.granted, IsEmpty());
}

TEST(TftpAgreementTest, GrantsAllFourOptions) {
    const TftpAgreement agreement =
        Agree({{"windowsize", "8"}, {"tsize", "70000"}, {"blksize", "1428"}, {"timeout", "3"}});
    EXPECT_EQ(agreement.blockSize, 1428U);
    EXPECT_EQ(agreement.windowSize, 8U);
    EXPECT_EQ(agreement.timeout, std::chrono::seconds(3));
    EXPECT_THAT(agreement.granted, ElementsAre(Pair("windowsize", "8"), Pair("tsize", "70000"),
                                               Pair("blksize", "1428"), Pair("timeout", "3")));
}

TEST(TftpAgreementTest, LowersSizesToItsLimits) {
    TftpSettings settings;
    settings.maxBlockSize = 1024;
    settings.maxWindowSize = 4;
    EXPECT_THAT(Agree({{"blksize", "65464"}, {"windowsize", "65535"}}, settings).granted,
                ElementsAre(Pair("blksize", "1024"), Pair("windowsize", "4")));
}

TEST(TftpAgreementTest, LowersTheWindowToWhatTheReceiveBufferHolds) {
    EXPECT_THAT(
        Agree({{"windowsize", "64"}, {"blksize", "8192"}}, {}, std::nullopt, 100000).granted,
        ElementsAre(Pair("windowsize", "10"), Pair("blksize", "8192")));
    EXPECT_THAT(Agree({{"windowsize", "64"}, {"blksize", "65464"}}, {}, std::nullopt, 1000).granted,
                ElementsAre(Pair("windowsize", "1"), Pair("blksize", "65464")));
}

TEST(TftpAgreementTest, AnswersTsizeOfAReadRequestWithTheFilesSize) {
    EXPECT_THAT(Agree({{"tsize", "0"}}, {}, 1234).granted, ElementsAre(Pair("tsize", "1234")));
}

TEST(TftpAgreementTest, PassesOverOptionsThatAreUnknownOutOfRangeOrNotGranted) {
    for (const auto& option : TftpOptionList{{"multicast", ""},
                                             {"blksize", "7"},
                                             {"blksize", "65465"},
                                             {"blksize", "1428 "},
                                             {"blksize", "-8"},
                                             {"blksize", ""},
                                             {"windowsize", "0"},
                                             {"windowsize", "65536"},
                                             {"timeout", "0"},
                                             {"timeout", "256"},
                                             {"tsize", "99999999999999999999999"},
                                             {"tsize", "x"}}) {
        const TftpAgreement agreement = Agree({option});
        EXPECT_THAT(agreement.granted, IsEmpty()) << option.first << "=" << option.second;
        EXPECT_EQ(agreement.blockSize, 512U);
        EXPECT_EQ(agreement.windowSize, 1U);
    }
    TftpSettings none;
    none.maxBlockSize = 0;
    none.maxWindowSize = 0;
    none.grantTransferSize = false;
    none.grantTimeout = false;
    EXPECT_THAT(
        Agree({{"blksize", "512"}, {"windowsize", "1"}, {"tsize", "1"}, {"timeout", "1"}}, none)
            .granted,
        IsEmpty());
}

TEST(TftpAgreementTest, IgnoresOrRejectsAllOptionsByPolicy) {
    TftpSettings settings;
    settings.optionPolicy = TftpOptionPolicy::kIgnore;
    EXPECT_EQ(Agree({{"blksize", "1024"}}, settings).blockSize, 512U);
    settings.optionPolicy = TftpOptionPolicy::kReject;
    EXPECT_THAT(Agree({}, settings).granted, IsEmpty());
    const auto refusal =
        TftpAgreement::Negotiate({{"blksize", "1024"}}, settings, std::nullopt, kLargeBuffer);
    EXPECT_EQ(std::get<TftpError>(refusal).code, TftpErrorCode::kOptionNegotiation);
}

}  // namespace
}  // namespace simulator
