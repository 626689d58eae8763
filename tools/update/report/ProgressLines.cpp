#include "ProgressLines.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <sstream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// What can be drawn again in place: a line that wraps would take two and be cleared as one, and
// lines that have scrolled away cannot be reached.
winsize Room() {
    constexpr winsize kUsual{24, 80, 0, 0};
    winsize size{};
    const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    return isKnown && size.ws_col > 1 && size.ws_row > 1 ? size : kUsual;
}

}  // namespace

void ProgressLines::SetStage(std::size_t camera, const std::string& name,
                             const std::string& stage) {
    mLines[camera] = {name, stage, Clock::now()};
}

void ProgressLines::SetBytes(std::size_t camera, long done, long total) {
    const auto line = mLines.find(camera);
    if (line != mLines.end()) {
        line->second.done = done;
        line->second.total = total;
    }
}

void ProgressLines::Remove(std::size_t camera) {
    mLines.erase(camera);
}

void ProgressLines::Clear() {
    if (mDrawn > 0) {
        std::cout << "\x1b[" << mDrawn << "A\x1b[J" << std::flush;
        mDrawn = 0;
    }
}

void ProgressLines::Draw() {
    if (!mIsOn) {
        return;
    }
    Clear();
    const winsize room = Room();
    const auto now = Clock::now();
    for (const auto& [camera, line] : mLines) {
        if (mDrawn + 1 < room.ws_row) {
            std::cout << Describe(line, now).substr(0, room.ws_col - 1U) << "\n";
            ++mDrawn;
        }
    }
    std::cout << std::flush;
}

std::string ProgressLines::Describe(const Line& line, Clock::time_point now) {
    constexpr double kMega = 1e6;
    constexpr int kColumns = 26;
    std::ostringstream text;
    if (line.total > 0) {
        const double seconds =
            std::max(std::chrono::duration<double>(now - line.begin).count(), 1e-3);
        const double rate = std::max(static_cast<double>(line.done) / seconds, 1.0);
        const auto left = static_cast<double>(line.total - line.done) / rate;
        text << std::setw(3) << line.done * 100 / line.total << " %" << std::fixed << std::setw(6)
             << std::setprecision(1) << rate / kMega << " MB/s" << std::setw(5)
             << std::setprecision(0) << left << " s left";
    }
    // First what changes, so that a narrow terminal cuts off what does not.
    std::string progress = text.str();
    progress.resize(std::max<std::size_t>(progress.size(), kColumns), ' ');
    return progress + "  " + line.name + ": " + line.stage;
}
