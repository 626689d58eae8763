#include "NodeGraph.h"

#include <algorithm>
#include <utility>

namespace {

// Far above what real cameras' descriptions need, far below what exhausts the stack or an hour.
constexpr unsigned int kDeepest = 64;
constexpr std::uint64_t kCostliest = 100000;

}  // namespace

std::size_t NodeGraph::Add(const std::string& name) {
    const auto [position, isNew] = mNumbers.try_emplace(name, mNodes.size());
    if (isNew) {
        mNodes.emplace_back().name = name;
    }
    return position->second;
}

void NodeGraph::AddReference(std::size_t from, const std::string& to) {
    const std::size_t target = Add(to);
    mNodes[from].references.push_back(target);
}

bool NodeGraph::IsEvaluable(std::string& culprit) {
    for (std::size_t start = 0; start < mNodes.size(); ++start) {
        if (mNodes[start].cost == 0 && !Walk(start, culprit)) {
            return false;
        }
    }
    return true;
}

std::vector<std::string> NodeGraph::ListReachable(const std::string& from) const {
    std::vector<std::string> reached;
    const auto start = mNumbers.find(from);
    if (start == mNumbers.end()) {
        return reached;
    }
    std::vector<bool> seen(mNodes.size());
    std::vector<std::pair<std::size_t, std::size_t>> path{{start->second, 0}};
    seen[start->second] = true;
    while (!path.empty()) {
        auto& [number, next] = path.back();
        const Node& node = mNodes[number];
        if (next == node.references.size()) {
            reached.push_back(node.name);
            path.pop_back();
            continue;
        }
        const std::size_t target = node.references[next++];
        if (!seen[target]) {
            seen[target] = true;
            path.emplace_back(target, 0);
        }
    }
    return reached;
}

// Depth first without recursion: the depth is the device's to choose.
bool NodeGraph::Walk(std::size_t start, std::string& culprit) {
    std::vector<std::pair<std::size_t, std::size_t>> path{{start, 0}};
    mNodes[start].open = true;
    while (!path.empty()) {
        auto& [number, next] = path.back();
        Node& node = mNodes[number];
        if (next < node.references.size()) {
            const std::size_t target = node.references[next++];
            if (mNodes[target].open) {
                culprit = mNodes[target].name;
                return false;
            }
            if (mNodes[target].cost == 0) {
                mNodes[target].open = true;
                path.emplace_back(target, 0);
            }
            continue;
        }
        if (!Settle(node)) {
            culprit = node.name;
            return false;
        }
        node.open = false;
        path.pop_back();
    }
    return true;
}

bool NodeGraph::Settle(Node& node) const {
    node.cost = 1;
    for (const std::size_t target : node.references) {
        node.cost += mNodes[target].cost;
        node.depth = std::max(node.depth, mNodes[target].depth + 1);
        if (node.cost > kCostliest) {
            return false;
        }
    }
    return node.depth <= kDeepest;
}
