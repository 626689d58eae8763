#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "../model/PackageModel.h"
#include "XmlElement.h"

/// Reads the control file of a GenICam update file (GenICam FWUpdate 1.0), whatever prefix, order
/// or further elements its author used, into the model of a package.
class ControlFile {
  public:
    struct Options {
        std::string transport = "GenICam";  ///< of uploads, which a control file does not name
        std::string language = "en";        ///< preferred where a text exists in several
    };

    explicit ControlFile(Options options);

    /// @return empty, or why the control file cannot be converted
    [[nodiscard]] std::string Read(const std::string& text);
    /// File names are still as in the control file, folders included.
    [[nodiscard]] PackageModel& GetModel() { return mModel; }
    /// What was left out or made up; one line each.
    [[nodiscard]] const std::vector<std::string>& Warnings() const { return mWarnings; }

  private:
    [[nodiscard]] std::string NameOf(const XmlElement& element) const;
    [[nodiscard]] std::optional<XmlElement> Child(const XmlElement& parent,
                                                  const std::string& name) const;
    [[nodiscard]] std::string RawProperty(const XmlElement& element, const std::string& name) const;
    [[nodiscard]] std::string Property(const XmlElement& element, const std::string& name) const;
    std::string TextInLanguage(const std::vector<XmlElement>& candidates);
    std::string ChildInLanguage(const XmlElement& parent, const std::string& name);
    std::string Fitted(const std::string& text, const std::string& place);

    std::string ReadProcedure(const XmlElement& element);
    std::string ReadStep(const XmlElement& element, PackageProcedure& procedure);
    std::string ReadAssert(const XmlElement& element, const std::string& place, PackageStep& step);
    std::string ReadUpdate(const XmlElement& element);
    std::string ReadCondition(const XmlElement& element, const std::string& place,
                              PackageUpdate& update);
    std::string ReadInfo(const XmlElement& element, const std::string& place,
                         PackageUpdate& update);
    void AddInfo(PackageUpdate& update, const std::string& place, const std::string& name,
                 const std::string& text);
    void NoteParts(const XmlElement& element, const std::set<std::string>& known);

    Options mOptions;
    std::string mNamespace;
    PackageModel mModel;
    std::vector<std::string> mWarnings;
    std::set<std::string> mLeftOutParts;
    std::set<std::string> mLeftOutLanguages;
};
