#pragma once

#include <string>
#include <vector>

/// Writes a zip archive whose bytes depend on nothing but its members: no times, no owners.
class ArchiveWriter {
  public:
    void AddText(const std::string& name, const std::string& text);
    void AddFile(const std::string& name, const std::string& path);

    /// Writes the archive; an older file of that name is replaced only when all went well.
    ///
    /// Members are stored with shorter names first. The updater takes the first member whose name
    /// contains the one it asks for, and a name can be contained only in a longer one.
    /// @return empty, or what went wrong
    [[nodiscard]] std::string Write(const std::string& path);

  private:
    struct Member {
        std::string name;
        std::string text;
        std::string file;  ///< empty when the member is the text
    };

    std::vector<Member> mMembers;
};
