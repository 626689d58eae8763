#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/// Which GenICam nodes are read when another one is.
class NodeGraph {
  public:
    /// Number of a node, new or known.
    std::size_t Add(const std::string& name);
    void AddReference(std::size_t from, const std::string& to);
    [[nodiscard]] std::size_t Size() const { return mNodes.size(); }

    /// True when every node can be evaluated: no node depends on itself, and none takes more than
    /// a bounded depth and number of reads.
    /// @param culprit name of a node that cannot
    [[nodiscard]] bool IsEvaluable(std::string& culprit);

    /// Every node that can be reached from that one and itself, each after those that it refers to
    /// except where they refer to each other.
    [[nodiscard]] std::vector<std::string> ListReachable(const std::string& from) const;

  private:
    struct Node {
        std::string name;
        std::vector<std::size_t> references;
        std::uint64_t cost = 0;  ///< reads that evaluating it takes; 0 while unknown
        unsigned int depth = 0;
        bool open = false;  ///< on the path that is being walked
    };

    [[nodiscard]] bool Walk(std::size_t start, std::string& culprit);
    [[nodiscard]] bool Settle(Node& node) const;

    std::vector<Node> mNodes;
    std::unordered_map<std::string, std::size_t> mNumbers;
};
