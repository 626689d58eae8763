#include "ScriptedSocket.h"

#include <gtest/gtest-spi.h>

#include "Bytes.h"

namespace {

constexpr Endpoint kPeer{0xC0A80114, 69};

/// The failures that `steps` reports, which are none of this test's own.
class ScriptedSocketTest : public testing::Test {
  protected:
    template <typename Steps>
    void Record(const Steps& steps) {
        const testing::ScopedFakeTestPartResultReporter reporter(&mFailures);
        steps();
    }
    void ExpectFailureAt(int line, const std::string& text) const {
        ASSERT_EQ(mFailures.size(), 1);
        const testing::TestPartResult& failure = mFailures.GetTestPartResult(0);
        EXPECT_NE(std::string(failure.message()).find(text), std::string::npos)
            << failure.message();
        // A step's own line is the place of the failure, or in its trace.
        const std::string place = "ScriptedSocketTest.cpp:" + std::to_string(line);
        const std::string reported = std::string(failure.file_name()) + ":" +
                                     std::to_string(failure.line_number()) + "\n" +
                                     failure.message();
        EXPECT_NE(reported.find(place), std::string::npos) << reported;
    }

    testing::TestPartResultArray mFailures;
};

}  // namespace

TEST_F(ScriptedSocketTest, AStepLeftOverFailsAtItsLine) {
    int line = 0;
    Record([&line] {
        ScriptedSocket socket;
        line = StepPlace::Current().Line() + 1;
        socket.Reply(kPeer, "x");
    });
    ExpectFailureAt(line, "1 steps left over");
}

TEST_F(ScriptedSocketTest, AnotherCallFailsAtTheLineOfTheStepInItsPlace) {
    int line = 0;
    Record([&line] {
        ScriptedSocket socket;
        line = StepPlace::Current().Line() + 1;
        socket.Reply(kPeer, "x");
        EXPECT_FALSE(socket.Send(kPeer, BytesOf("hello")).IsOK());
    });
    ExpectFailureAt(line, "sending \"hello\"");
}

TEST_F(ScriptedSocketTest, AnotherDatagramNamesTheLineOfItsStep) {
    int line = 0;
    Record([&line] {
        ScriptedSocket socket;
        line = StepPlace::Current().Line() + 1;
        socket.ExpectSend(kPeer, "hello");
        EXPECT_TRUE(socket.Send(kPeer, BytesOf("hallo")).IsOK());
    });
    ExpectFailureAt(line, "hallo");
}
