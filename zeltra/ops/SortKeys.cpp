// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>
#include <utility>

#include "zeltra/ops/SortKeysInternal.h"

namespace zeltra {
namespace {

constexpr std::string_view kKeys = "BTUVWRPXYZM";

// Numbers as bits that compare as the numbers do: 0 and -0 are the same, NaNs come last.

std::uint64_t Ordered(double x) {
  if (std::isnan(x)) return ~std::uint64_t{0};
  const auto bits = std::bit_cast<std::uint64_t>(x + 0.0);
  const std::uint64_t sign = std::uint64_t{1} << 63;
  return bits & sign ? ~bits : bits | sign;
}

std::uint32_t Ordered(float x) {
  if (std::isnan(x)) return ~0u;
  const auto bits = std::bit_cast<std::uint32_t>(x + 0.0f);
  const std::uint32_t sign = 1u << 31;
  return bits & sign ? ~bits : bits | sign;
}

struct KeyBits {
  std::uint64_t bits = 0;
  int width = 0;
};

KeyBits BitsOf(char key, const AUVXGroup& group) {
  const double u = group.u(), v = group.v();
  const auto single = [](double x) { return KeyBits{Ordered(static_cast<float>(x)), 32}; };
  switch (key) {
    case 'B':
      return {static_cast<std::uint64_t>(static_cast<std::uint8_t>(group.ant1)) << 8 |
                  static_cast<std::uint8_t>(group.ant2),
              16};
    case 'T':
      return {Ordered(group.uvTime()), 64};
    case 'U':
      return single(u);
    case 'V':
      return single(v);
    case 'W':
      return single(group.w());
    case 'R':
      return single(std::sqrt(u * u + v * v));
    case 'P':
      return single(std::atan2(u, v));
    case 'X':
      return single(-std::fabs(u));
    case 'Y':
      return single(-std::fabs(v));
    case 'Z':
      return single(std::fabs(u));
    case 'M':
      return single(std::fabs(v));
    default:
      return {};
  }
}

// Put the bits of a key into the 96 of `to`, the highest `used` of which are taken.
void Append(const KeyBits& key, int used, SortKey& to) {
  const int end = used + key.width;
  if (end <= 64) {
    to.high |= key.width > 0 ? key.bits << (64 - end) : 0;
    return;
  }
  if (used < 64) to.high |= key.bits >> (end - 64);
  to.low |= static_cast<std::uint32_t>(key.bits << (96 - end));
}

}  // namespace

AResult SortOrder::Open(const std::string& code) {
  const bool isKnown =
      code.size() == 2 && kKeys.find(code[0]) != kKeys.npos && (code[1] == '*' || kKeys.find(code[1]) != kKeys.npos);
  if (!isKnown) {
    return AResult::Fail("no order '" + code + "'; two letters of " + std::string(kKeys) +
                         " name one, as in TB, and the second may be *");
  }
  first_ = code[0];
  second_ = code[1] == code[0] ? '*' : code[1];
  return AResult::Ok();
}

SortKey SortOrder::KeyOf(const AUVXGroup& group, int record) const {
  SortKey key;
  key.record = record;
  const KeyBits first = BitsOf(first_, group);
  Append(first, 0, key);
  Append(BitsOf(second_, group), first.width, key);
  return key;
}

std::uint32_t StreamRanks::NumberOf(std::uint32_t stream) {
  if (stream == last_) return number_;
  last_ = stream;
  const auto place = numbers_.find(stream);
  number_ = place != numbers_.end() ? place->second : std::min(static_cast<std::uint32_t>(numbers_.size()), kMost);
  if (place == numbers_.end() && number_ < kMost) numbers_.emplace(stream, number_);
  return number_;
}

std::vector<std::uint32_t> StreamRanks::Ranks() const {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> streams(numbers_.begin(), numbers_.end());
  std::sort(streams.begin(), streams.end());
  std::vector<std::uint32_t> ranks(kMost + 1, kMost);
  for (size_t i = 0; i < streams.size(); ++i) ranks[streams[i].second] = static_cast<std::uint32_t>(i);
  return ranks;
}

}  // namespace zeltra
