// SPDX-License-Identifier: Apache-2.0
#include "shared/suggestions.h"

#include <algorithm>
#include <utility>

namespace kor::tools {

namespace {

// How many letters must be put in, left out, changed or swapped with their neighbour to make `b` of `a`.
size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) {
    for (size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        d[i][j] = i + j;
        continue;
      }
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::string Listed(const std::vector<std::string>& words) {
  std::string text;
  for (size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 == words.size() ? " or " : ", ";
    text += words[i];
  }
  return text;
}

std::optional<std::string> Nearest(std::string_view word, const std::vector<std::string>& known) {
  constexpr size_t kLongestWord = 64;  // Longer ones are no slip of the finger, and cost time.
  if (word.empty() || word.size() > kLongestWord) return std::nullopt;
  const size_t most = std::max<size_t>(1, word.size() / 3);
  std::optional<std::string> nearest;
  std::pair<size_t, size_t> best{most + 1, 0};
  for (const std::string& candidate : known) {
    const size_t distance = Distance(word, candidate);
    const bool begun = word.size() > 1 && candidate.compare(0, word.size(), word) == 0;
    const std::pair rank{begun ? std::min(distance, most) : distance, distance};
    if (rank == best) nearest.reset();
    if (rank >= best) continue;
    best = rank;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace kor::tools
