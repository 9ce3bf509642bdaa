// SPDX-License-Identifier: Apache-2.0
// Minimum degree order on the quotient graph. O(about the entries of the factor * log(unknowns))
//
// An eliminated node becomes an element: the set of nodes that its elimination connects, kept as one list in place of
// its quadratic number of edges. The degree of a node is bounded from above by the sizes of its elements, each less
// what it shares with the newest.
//
// The three coordinates of a point, or the six of a photo's orientation, occur in the same equations: unknowns with
// the same neighbours are one node from the start. Nodes with very many neighbours, such as a calibration that all
// photos share, come last and are left out of the graph, which they would fill.
#include "numerics/minimum_degree.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <set>
#include <utility>

namespace quorvel {
namespace {

using Neighbours = std::vector<std::vector<int>>;

std::size_t at(int i) { return static_cast<std::size_t>(i); }

// Each node's neighbours and itself, ascending.
Neighbours closedNeighbourhoods(const sSparseMatrix& upper) {
  Neighbours result(at(upper.lines));
  for (int j = 0; j < upper.lines; ++j) {
    result[at(j)].push_back(j);
    for (const auto& [value, i] : entriesOf(upper, j)) {
      if (i == j) continue;
      result[at(j)].push_back(i);
      result[at(i)].push_back(j);
    }
  }
  for (auto& list : result) std::sort(list.begin(), list.end());
  return result;
}

// For each unknown the first one that has the same closed neighbourhood.
std::vector<int> representatives(const Neighbours& closed) {
  std::vector<std::pair<std::uint64_t, int>> byKey;
  for (std::size_t i = 0; i < closed.size(); ++i) {
    std::uint64_t key = closed[i].size();
    for (const int v : closed[i]) key = (key ^ static_cast<std::uint64_t>(v)) * 0x9E3779B97F4A7C15u;
    byKey.emplace_back(key, static_cast<int>(i));
  }
  std::sort(byKey.begin(), byKey.end());
  std::vector<int> result(closed.size());
  std::iota(result.begin(), result.end(), 0);
  for (std::size_t i = 1; i < byKey.size(); ++i) {
    const auto [key, node] = byKey[i];
    const int leader = result[at(byKey[i - 1].second)];
    if (key == byKey[i - 1].first && closed[at(node)] == closed[at(leader)]) result[at(node)] = leader;
  }
  return result;
}

class QuotientGraph {
 public:
  // `weights` are the unknowns that a node stands for, 0 for what is no node.
  QuotientGraph(Neighbours neighbours, std::vector<int> weights)
      : nodes_(std::move(neighbours)),
        weights_(std::move(weights)),
        elements_(nodes_.size()),
        members_(nodes_.size()),
        sizes_(nodes_.size()),
        degrees_(nodes_.size()),
        mark_(nodes_.size(), -1),
        seen_(nodes_.size(), -1),
        outside_(nodes_.size()) {
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
      if (weights_[i] == 0) continue;
      degrees_[i] = weightOf(nodes_[i]);
      queue_.emplace(degrees_[i], static_cast<int>(i));
    }
  }

  std::vector<int> order() {
    while (!queue_.empty()) eliminate(queue_.begin()->second);
    return std::move(order_);
  }

 private:
  int weightOf(const std::vector<int>& nodes) const {
    return std::accumulate(nodes.begin(), nodes.end(), 0, [this](int sum, int v) { return sum + weights_[at(v)]; });
  }

  void take(int node) {
    queue_.erase({degrees_[at(node)], node});
    order_.push_back(node);
  }

  void eliminate(int pivot) {
    take(pivot);
    mark_[at(pivot)] = pivot;
    std::vector<int>& element = members_[at(pivot)];
    const auto gather = [&](const std::vector<int>& nodes) {
      for (const int v : nodes) {
        if (mark_[at(v)] == pivot) continue;
        mark_[at(v)] = pivot;
        element.push_back(v);
      }
    };
    gather(nodes_[at(pivot)]);
    for (const int e : elements_[at(pivot)]) {
      gather(members_[at(e)]);
      members_[at(e)] = {};  // the new element holds all of it
      sizes_[at(e)] = 0;
    }
    // What of each element lies outside the new one.
    for (const int v : element) {
      std::erase_if(nodes_[at(v)], [&](int other) { return mark_[at(other)] == pivot; });
      std::erase_if(elements_[at(v)], [&](int e) { return sizes_[at(e)] == 0; });
      for (const int e : elements_[at(v)]) {
        if (seen_[at(e)] != pivot) outside_[at(e)] = sizes_[at(e)];
        seen_[at(e)] = pivot;
        outside_[at(e)] -= weights_[at(v)];
      }
    }
    // A node that the new element alone connects can follow its pivot at once.
    std::erase_if(element, [&](int v) {
      std::erase_if(elements_[at(v)], [&](int e) { return outside_[at(e)] == 0; });
      if (!nodes_[at(v)].empty() || !elements_[at(v)].empty()) return false;
      take(v);
      return true;
    });
    sizes_[at(pivot)] = weightOf(element);
    for (const int v : element) {
      int degree = sizes_[at(pivot)] - weights_[at(v)] + weightOf(nodes_[at(v)]);
      for (const int e : elements_[at(v)]) degree += outside_[at(e)];
      elements_[at(v)].push_back(pivot);
      queue_.erase({degrees_[at(v)], v});
      degrees_[at(v)] = degree;
      queue_.emplace(degree, v);
    }
  }

  Neighbours nodes_;  // edges that no element covers
  std::vector<int> weights_;
  Neighbours elements_, members_;  // of nodes; of elements, which go by the numbers of their pivots
  std::vector<int> sizes_, degrees_, mark_, seen_, outside_;
  std::set<std::pair<int, int>> queue_;  // by degree, then by number
  std::vector<int> order_;
};

}  // namespace

std::vector<int> minimumDegreeOrder(const sSparseMatrix& upper) {
  const Neighbours closed = closedNeighbourhoods(upper);
  const std::vector<int> leader = representatives(closed);
  const std::size_t n = closed.size();
  const auto many = static_cast<std::size_t>(16 + 10 * std::sqrt(static_cast<double>(n)));
  const auto isNode = [&](int v) { return leader[at(v)] == v && closed[at(v)].size() <= many; };

  Neighbours neighbours(n), stands(n);
  std::vector<int> weights(n, 0), last;
  for (int v = 0; v < upper.lines; ++v) {
    stands[at(leader[at(v)])].push_back(v);
    if (!isNode(leader[at(v)])) {
      last.push_back(v);
      continue;
    }
    ++weights[at(leader[at(v)])];
    if (leader[at(v)] != v) continue;
    std::copy_if(closed[at(v)].begin(), closed[at(v)].end(), std::back_inserter(neighbours[at(v)]),
                 [&](int other) { return other != v && isNode(other); });
  }
  std::vector<int> order;
  for (const int node : QuotientGraph(std::move(neighbours), std::move(weights)).order()) {
    order.insert(order.end(), stands[at(node)].begin(), stands[at(node)].end());
  }
  order.insert(order.end(), last.begin(), last.end());
  return order;
}

}  // namespace quorvel
