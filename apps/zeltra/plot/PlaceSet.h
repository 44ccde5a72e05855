// A set of places of a chart.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_PLACESET_H_
#define ZELTRA_APPS_PLOT_PLACESET_H_

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zeltra::app {

/// Numbers from 0 to below `size()`. A set that is nearly empty, as the sets of most series are, is walked through
/// quickly.
class PlaceSet {
 public:
  explicit PlaceSet(size_t size = 0) : size_(size), words_((size + kBits - 1) / kBits) {}

  size_t size() const { return size_; }
  void Add(size_t place) { words_[place / kBits] |= std::uint64_t{1} << place % kBits; }
  bool Has(size_t place) const { return words_[place / kBits] >> place % kBits & 1; }

  size_t Count() const {
    size_t count = 0;
    for (const std::uint64_t word : words_) count += static_cast<size_t>(std::popcount(word));
    return count;
  }

  /// The least place from `from` on; size() if there is none.
  size_t Next(size_t from) const {
    if (from >= size_) return size_;
    size_t at = from / kBits;
    std::uint64_t word = words_[at] & ~std::uint64_t{0} << from % kBits;
    while (!word && ++at < words_.size()) word = words_[at];
    return word ? at * kBits + static_cast<size_t>(std::countr_zero(word)) : size_;
  }

 private:
  static constexpr size_t kBits = 64;

  size_t size_;
  std::vector<std::uint64_t> words_;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PLACESET_H_
