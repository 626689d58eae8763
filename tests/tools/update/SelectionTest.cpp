#include "cameras/Selection.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

Camera GigE(const std::string& serial, const std::string& model, const std::string& interface) {
    Camera camera;
    camera.serial = serial;
    camera.model = model;
    camera.interface = interface;
    camera.interfaceMac = interface == "eth1" ? "00:11:22:ab:cd:01" : "00:11:22:ab:cd:02";
    camera.userName = "name " + serial;
    camera.address = "10.0.0." + serial;
    camera.mac = "02:4d:53:00:00:0" + serial;
    camera.connectionId = camera.address + "%" + interface;
    return camera;
}

Camera Usb(const std::string& serial) {
    Camera camera;
    camera.serial = serial;
    camera.interface = "0000:00:14.0";
    camera.isUsb = true;
    camera.connectionId = "u3v:" + serial;
    return camera;
}

}  // namespace

class SelectionTest : public testing::Test {
  protected:
    std::vector<std::string> Chosen() {
        problems.clear();
        std::vector<std::string> serials;
        for (const Camera& camera : selection.Choose(found, problems)) {
            serials.push_back(camera.serial);
        }
        return serials;
    }

    const std::vector<Camera> found{GigE("1", "A", "eth1"), GigE("2", "A", "eth2"),
                                    GigE("3", "B", "eth2"), Usb("4")};
    Selection selection;
    std::vector<std::string> problems;
};

TEST_F(SelectionTest, TakesTheCamerasOfEveryKindOfNameOnceEach) {
    selection.serials = {"3"};
    selection.macs = {"02-4D-53-00-00-01"};
    selection.addresses = {"10.0.0.3"};
    selection.userNames = {"name 1"};
    EXPECT_THAT(Chosen(), ElementsAre("1", "3"));
    EXPECT_THAT(problems, IsEmpty());
}

TEST_F(SelectionTest, ReportsNamesThatMatchNoCameraOrSeveral) {
    selection.serials = {"1", "9"};
    selection.models = {"A"};
    (void)Chosen();
    EXPECT_THAT(problems, ElementsAre("--serial 9 matches no camera",
                                      "--model A matches 2 cameras: A 1 (10.0.0.1 on eth1), A 2 "
                                      "(10.0.0.2 on eth2)"));
    selection = {};
    selection.models = {"B"};
    EXPECT_THAT(Chosen(), ElementsAre("3"));
}

TEST_F(SelectionTest, TakesAllCamerasOfAModelOnlyIfAllAreAskedFor) {
    selection.all = true;
    EXPECT_THAT(Chosen(), ElementsAre("1", "2", "3", "4"));
    selection.models = {"A"};
    EXPECT_THAT(Chosen(), ElementsAre("1", "2"));
}

TEST_F(SelectionTest, LooksOnlyAtTheInterfacesNamed) {
    selection.all = true;
    selection.interfaces = {"eth2"};
    EXPECT_THAT(Chosen(), ElementsAre("2", "3"));
    selection.interfaces = {"00:11:22:AB:CD:01"};
    EXPECT_THAT(Chosen(), ElementsAre("1"));
    selection.usb = true;
    EXPECT_THAT(Chosen(), ElementsAre("1", "4"));
    selection.interfaces = {};
    EXPECT_THAT(Chosen(), ElementsAre("4"));
    selection.interfaces = {"eth9"};
    selection.usb = false;
    EXPECT_THAT(Chosen(), IsEmpty());
    EXPECT_EQ(problems.size(), 1U);
}

TEST_F(SelectionTest, DoesNotTakeAnEmptyTextForAName) {
    selection.macs = {":-"};
    EXPECT_THAT(Chosen(), IsEmpty());
    EXPECT_EQ(problems.size(), 1U);
}
