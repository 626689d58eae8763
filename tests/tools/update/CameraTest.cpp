#include "cameras/Camera.h"

#include <gmock/gmock.h>

namespace {

Camera At(const std::string& mac, const std::string& address) {
    Camera camera;
    camera.model = "M";
    camera.serial = "of " + mac;
    camera.mac = mac;
    camera.address = address;
    camera.interface = "eth1";
    camera.connectionId = address + "%eth1";
    return camera;
}

}  // namespace

TEST(CameraTest, IsTheSameByItsMacOrByItsGuid) {
    EXPECT_TRUE(At("a", "10.0.0.1").IsSameAs(At("a", "10.0.0.2")));
    EXPECT_FALSE(At("a", "10.0.0.1").IsSameAs(At("b", "10.0.0.1")));
    EXPECT_TRUE(At("", "u3v:1").IsSameAs(At("", "u3v:1")));
    EXPECT_FALSE(At("", "u3v:1").IsSameAs(At("", "u3v:2")));
}

TEST(CameraTest, IsDisplacedByACameraThatHasTakenItsAddress) {
    const Camera camera = At("a", "10.0.0.1");
    EXPECT_EQ(camera.Displacement({At("b", "10.0.0.2"), At("a", "10.0.0.1")}), "");
    EXPECT_EQ(camera.Displacement({At("a", "10.0.0.2"), At("b", "10.0.0.1")}),
              "its address now belongs to M of b (10.0.0.1 on eth1)");
    EXPECT_EQ(camera.Displacement({At("a", "10.0.0.2")}), "it has moved to 10.0.0.2%eth1");
    EXPECT_EQ(camera.Displacement({At("b", "10.0.0.2")}), "") << "a search may miss a camera";
}

TEST(CameraTest, PrintsNothingThatCouldSteerATerminal) {
    Camera camera = At("a", "10.0.0.1");
    camera.model = "M\x1b[2J";
    EXPECT_EQ(camera.Name(), "M?[2J of a (10.0.0.1 on eth1)");
}
