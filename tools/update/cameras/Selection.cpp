#include "Selection.h"

#include <algorithm>
#include <functional>
#include <set>

#include <NxBase/Ascii.h>
#include <NxBase/PrintableText.h>

namespace {

std::string MacDigits(std::string mac) {
    std::erase_if(mac, [](char character) { return character == ':' || character == '-'; });
    return Ascii::LowerCase(mac);
}

bool IsOn(const Camera& camera, const std::string& interface) {
    return camera.interface == interface ||
           (!camera.interfaceMac.empty() && MacDigits(camera.interfaceMac) == MacDigits(interface));
}

// Collects the cameras that names match.
class Matches {
  public:
    Matches(const std::vector<Camera>& cameras, std::vector<std::string>& problems)
        : mCameras(cameras), mProblems(problems) {}

    using Reading = std::function<std::string(const Camera&)>;

    /// @param option the one that gave the names, such as "--serial"
    void Add(const char* option, const std::vector<std::string>& names, const Reading& read,
             bool mayBeSeveral = false) {
        for (const std::string& name : names) {
            Add(std::string(option) + " " + PrintableText(name), name, read, mayBeSeveral);
        }
    }

    [[nodiscard]] std::vector<Camera> InOrder() const {
        std::vector<Camera> chosen;
        for (const std::size_t index : mChosen) {
            chosen.push_back(mCameras[index]);
        }
        return chosen;
    }

  private:
    void Add(const std::string& what, const std::string& name, const Reading& read,
             bool mayBeSeveral) {
        std::vector<std::size_t> matching;
        std::string all;
        for (std::size_t i = 0; i < mCameras.size(); ++i) {
            if (!name.empty() && read(mCameras[i]) == name) {
                matching.push_back(i);
                all += (all.empty() ? "" : ", ") + mCameras[i].Name();
            }
        }
        if (matching.empty()) {
            mProblems.push_back(what + " matches no camera");
        } else if (matching.size() > 1 && !mayBeSeveral) {
            mProblems.push_back(what + " matches " + std::to_string(matching.size()) +
                                " cameras: " + all);
        } else {
            mChosen.insert(matching.begin(), matching.end());
        }
    }

    const std::vector<Camera>& mCameras;
    std::vector<std::string>& mProblems;
    std::set<std::size_t> mChosen;
};

}  // namespace

bool Selection::IsEmpty() const {
    return !all && serials.empty() && macs.empty() && addresses.empty() && userNames.empty() &&
           models.empty();
}

std::vector<Camera> Selection::Reachable(const std::vector<Camera>& found) const {
    std::vector<Camera> reachable;
    std::ranges::copy_if(found, std::back_inserter(reachable), [this](const Camera& camera) {
        return (interfaces.empty() && !usb) || (usb && camera.isUsb) ||
               std::ranges::any_of(interfaces,
                                   [&camera](const auto& name) { return IsOn(camera, name); });
    });
    return reachable;
}

std::vector<Camera> Selection::Choose(const std::vector<Camera>& found,
                                      std::vector<std::string>& problems) const {
    const std::vector<Camera> cameras = Reachable(found);
    if (cameras.empty()) {
        problems.emplace_back("no camera found (mirsko-devices lists the interfaces and why)");
        return {};
    }
    if (all && models.empty()) {
        return cameras;
    }
    std::vector<std::string> digits;
    std::ranges::transform(macs, std::back_inserter(digits), MacDigits);
    Matches matches(cameras, problems);
    matches.Add("--serial", serials, &Camera::serial);
    matches.Add("--mac", digits, [](const Camera& camera) { return MacDigits(camera.mac); });
    matches.Add("--address", addresses, &Camera::address);
    matches.Add("--user-name", userNames, &Camera::userName);
    matches.Add("--model", models, &Camera::model, all);
    return matches.InOrder();
}
