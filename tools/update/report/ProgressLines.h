#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

/// A line per camera at the bottom of a terminal, drawn again in place. Does nothing where it is
/// off. Used from one thread at a time.
class ProgressLines {
  public:
    explicit ProgressLines(bool isOn) : mIsOn(isOn) {}

    [[nodiscard]] bool IsOn() const { return mIsOn; }
    /// @param name of the camera, printable
    void SetStage(std::size_t camera, const std::string& name, const std::string& stage);
    void SetBytes(std::size_t camera, long done, long total);
    void Remove(std::size_t camera);
    /// Removes the lines from the terminal, so that something else can be printed.
    void Clear();
    void Draw();

  private:
    using Clock = std::chrono::steady_clock;

    struct Line {
        std::string name;
        std::string stage;
        Clock::time_point begin;
        long done = 0;
        long total = 0;
    };

    [[nodiscard]] static std::string Describe(const Line& line, Clock::time_point now);

    const bool mIsOn;
    std::map<std::size_t, Line> mLines;
    std::size_t mDrawn = 0;
};
