#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Process.h"
#include "TemporaryFolder.h"

/// Runs the real mirsko-package in a folder of its own.
class PackageTool : public testing::Test {
  protected:
    /// @param arguments subcommand and its options; "@name" stands for the file `name` in Folder
    ProcessResult Run(const std::vector<std::string>& arguments) const;
    /// Runs it and expects this status, standard output and standard error; "@" in the expected
    /// texts stands for the folder and a slash.
    void Expect(const std::vector<std::string>& arguments, int status, const std::string& out,
                const std::string& err) const;

    [[nodiscard]] std::string Path(const std::string& name) const;
    /// Puts Folder's path and a slash in the place of each "@".
    [[nodiscard]] std::string Expand(std::string text) const;
    [[nodiscard]] bool Exists(const std::string& name) const;
    /// Names of all files of the folder, sorted.
    [[nodiscard]] std::vector<std::string> Files() const;

    TemporaryFolder mFolder;
};
