#pragma once

#include <string>
#include <vector>

namespace simulator {

/// A program as the system would start it, and what its dynamic loader loads first.
class ProgramFile {
  public:
    /// Finds the file that runs: the program itself, or the interpreter of a script.
    /// @param name searched in PATH when it has no '/'
    explicit ProgramFile(const std::string& name);

    /// The file to execute; the name itself when it is not found in PATH.
    [[nodiscard]] const std::string& Path() const { return mPath; }
    /// Why a library cannot be preloaded into it, one line; empty when one can.
    [[nodiscard]] const std::string& Obstacle() const { return mObstacle; }

    /// What LD_PRELOAD has to be so that the library comes first, after the runtime of the
    /// sanitizer that the program was built with, and before what LD_PRELOAD is already.
    [[nodiscard]] std::string PreloadOf(const std::string& library) const;
    /// True if the program's own loader loads a library of that file name with this LD_PRELOAD.
    /// Does not run the program.
    [[nodiscard]] bool Loads(const std::string& library, const std::string& preload) const;

  private:
    [[nodiscard]] std::string Examine(const std::string& file, int depth);
    [[nodiscard]] std::string ExamineProgram(const std::string& file, const std::string& start);
    [[nodiscard]] std::vector<std::string> Libraries(const std::string& preload) const;

    std::string mPath;
    std::string mLoaded;  // what the loader loads: mPath, or the interpreter of a script
    std::string mLoader;
    std::string mObstacle;
};

}  // namespace simulator
