#pragma once

#include <string>

#include "FuzzInput.h"

/// The nodes of one GenICam description, out of bytes that choose their parts.
class DescriptionGrammar {
  public:
    explicit DescriptionGrammar(FuzzInput& bytes) : mBytes(bytes) {}

    std::string Nodes();

    /// Usable features of file access. The first node of a name is the one that counts, so the
    /// input's nodes go before these.
    static std::string FileNodes();

  private:
    void Node(int depth);
    void Element();
    void Formula();

    FuzzInput& mBytes;
    std::string mXml;
};
