#include "registers/RegisterView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MemoryPort.h"

using testing::ElementsAre;

namespace {

class RegisterViewTest : public testing::Test {
  protected:
    bool Read(std::uint64_t address, std::size_t size = 4, bool isSteady = false) {
        read.resize(size);
        return view.Read(address, read, isSteady);
    }

    std::shared_ptr<MemoryPort> port = std::make_shared<MemoryPort>();
    RegisterBus bus{port};
    RegisterView view{{}};
    std::vector<std::byte> read;
};

TEST_F(RegisterViewTest, KnowsWhatWasNotedUntilItForgets) {
    const std::vector<std::byte> bytes(4, std::byte{7});
    EXPECT_FALSE(Read(0x100));
    view.Note(0x100, bytes);
    EXPECT_TRUE(Read(0x100));
    EXPECT_EQ(read, bytes);
    view.Forget();
    EXPECT_FALSE(Read(0x100));
}

TEST_F(RegisterViewTest, KeepsWhatIsSteady) {
    EXPECT_FALSE(Read(0x100, 4, true));
    view.Note(0x100, std::vector<std::byte>(4, std::byte{7}));
    view.Forget();
    EXPECT_TRUE(Read(0x100, 4, true));
}

TEST_F(RegisterViewTest, ForgetsAWordOfWhichAPartMayChange) {
    EXPECT_FALSE(Read(0x100, 2, true));
    EXPECT_FALSE(Read(0x102, 2, false));
    view.Note(0x100, std::vector<std::byte>(4, std::byte{7}));
    EXPECT_TRUE(Read(0x100, 2, true));
    view.Forget();
    EXPECT_FALSE(Read(0x102, 2, false));
}

TEST_F(RegisterViewTest, HoldsABoundedNumberOfWords) {
    for (std::uint64_t address = 0; address < 100000; address += 4) {
        view.Note(address, std::vector<std::byte>(4));
    }
    EXPECT_TRUE(Read(0));
    EXPECT_FALSE(Read(90000));
}

TEST_F(RegisterViewTest, DoesNotTakeAPartOfAWordForTheWhole) {
    view.Note(0x102, std::vector<std::byte>(2, std::byte{7}));
    EXPECT_FALSE(Read(0x102, 2));
    EXPECT_FALSE(Read(0x100));
    view.Note(0x100, std::vector<std::byte>(8, std::byte{1}));
    EXPECT_TRUE(Read(0x102, 2));
    EXPECT_TRUE(Read(0x104));
}

TEST_F(RegisterViewTest, FetchesWhatWasAskedWithOneCommandTheStateFirst) {
    view.PretendZeros(true);
    EXPECT_TRUE(Read(0x200));
    view.MarkAsState(true);
    EXPECT_TRUE(Read(0x300));
    view.MarkAsState(false);
    EXPECT_FALSE(Read(0x400, 4, true));
    view.PretendZeros(false);
    port->StoreBig(0x200, 5);
    EXPECT_TRUE(view.Fetch(bus, false, true).IsOK());
    EXPECT_THAT(port->log, ElementsAre("READREG 2"));
    EXPECT_TRUE(Read(0x200));
    EXPECT_EQ(read[3], std::byte{5});
    EXPECT_TRUE(Read(0x300));
    EXPECT_FALSE(Read(0x400));

    view.Forget();
    port->log.clear();
    EXPECT_TRUE(view.Fetch(bus, true, true).IsOK());
    EXPECT_THAT(port->log, ElementsAre("READREG 1"));
    EXPECT_FALSE(Read(0x200));
}

TEST_F(RegisterViewTest, LeavesTheHalvesOfWideRegistersOut) {
    EXPECT_FALSE(Read(0x100, 8));
    EXPECT_TRUE(view.HasHalves());
    EXPECT_FALSE(view.HasHalvesOfState());
    EXPECT_TRUE(view.Fetch(bus, false, false).IsOK());
    EXPECT_TRUE(port->log.empty());
    EXPECT_TRUE(view.Fetch(bus, false, true).IsOK());
    EXPECT_THAT(port->log, ElementsAre("READREG 2"));
}

TEST_F(RegisterViewTest, HoldsWritesBackAndShowsWhatTheyLeave) {
    view.Hold(0x100, std::vector<std::byte>(4, std::byte{9}));
    EXPECT_TRUE(Read(0x100));
    EXPECT_EQ(read[0], std::byte{9});
    const auto writes = view.TakeWrites();
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_EQ(writes[0].address, 0x100U);
    EXPECT_TRUE(view.TakeWrites().empty());
    EXPECT_TRUE(port->log.empty());
}

}  // namespace
