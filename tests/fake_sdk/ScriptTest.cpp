#include "Script.h"

#include <thread>

#include <gtest/gtest-spi.h>

#include <NxDevice/NxTftpClient.h>

TEST(ScriptTest, ACallThatWasExpectedAndNotMadeFailsTheTest) {
    EXPECT_NONFATAL_FAILURE(
        {
            Script script;
            script.Expect("NxDevice::Free cam");
        },
        "never called: NxDevice::Free cam");
}

TEST(ScriptTest, AFailureIsReportedAtTheLineOfItsStep) {
    testing::TestPartResultArray failures;
    int first = 0;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(&failures);
        Script script;
        script.Expect("NxGenFile::Open a write");
        script.Expect("NxGenFile::Close");
        first = StepPlace::Current().Line() - 2;
        (void)script.Take("NxGenFile::Close");
    }
    ASSERT_EQ(failures.size(), 3);
    const auto lineOf = [&failures](int failure) {
        return failures.GetTestPartResult(failure).line_number();
    };
    EXPECT_STREQ(failures.GetTestPartResult(0).file_name(), StepPlace::Current().FileName());
    EXPECT_EQ(lineOf(0), first);  // called out of order
    EXPECT_EQ(lineOf(1), first);  // never called
    EXPECT_EQ(lineOf(2), first + 1);
}

TEST(ScriptTest, AnUnexpectedCallFailsTheTestAndTheCall) {
    Script script;
    EXPECT_NONFATAL_FAILURE(EXPECT_FALSE(script.Take("NxDevice::Free cam").result.IsOK()),
                            "expected: nothing more");
}

TEST(ScriptTest, ACallOutOfOrderFailsTheTest) {
    Script script;
    script.Expect("NxGenFile::Open a write");
    script.Expect("NxGenFile::Close");
    EXPECT_NONFATAL_FAILURE((void)script.Take("NxGenFile::Close"),
                            "expected: NxGenFile::Open a write");
    script.Clear();
}

TEST(ScriptTest, AnSdkObjectLeftBehindFailsTheTest) {
    NxTftpClient* client = nullptr;
    EXPECT_NONFATAL_FAILURE(
        {
            Script script;
            client = new NxTftpClient;
        },
        "TFTP clients left behind");
    Script another;
    another.clients = 1;
    delete client;
}

TEST(ScriptTest, ASleepTakesNoTimeAndIsRecorded) {
    const Script script;
    const auto before = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::hours(1));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::minutes(1));
    EXPECT_EQ(script.Sleeps(), std::vector<std::int64_t>{3'600'000'000'000});
}
