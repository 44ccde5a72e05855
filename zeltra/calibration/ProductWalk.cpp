// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "zeltra/calibration/ProductWalkInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/IntervalWalkInternal.h"

namespace zeltra {
namespace {

using Complex = std::complex<double>;

struct AntennaPair {
  int first, second;  // numbers, ascending
};

// The products of an interval, [baseline][IF][hand].
struct ProductSums : IntervalState {
  explicit ProductSums(size_t count) : groups(count) {}
  BaselineProducts* Products(int first, int second);

  const size_t groups;                       // IFs x hands
  double begin = HUGE_VAL, end = -HUGE_VAL;  // Julian dates
  std::vector<AntennaPair> baselines;
  std::vector<BaselineProducts> products;

 private:
  void Widen(int width);

  int width_ = 0;  // antenna numbers that the table holds
  std::vector<int> places_;
};

void ProductSums::Widen(int width) {
  width_ = width;
  places_.assign(static_cast<size_t>(width) * width, -1);
  for (size_t i = 0; i < baselines.size(); ++i)
    places_[static_cast<size_t>(baselines[i].first) * width + baselines[i].second] = static_cast<int>(i);
}

BaselineProducts* ProductSums::Products(int first, int second) {
  if (second >= width_) Widen(second < 32 ? 32 : 256);
  int& place = places_[static_cast<size_t>(first) * width_ + second];
  if (place < 0) {
    place = static_cast<int>(baselines.size());
    baselines.push_back({first, second});
    products.resize(products.size() + groups);
  }
  return products.data() + static_cast<size_t>(place) * groups;
}

// Adds records to the products, on one thread.
class ProductAdder {
 public:
  ProductAdder(VisibilityModel& model, const ProductValues& values)
      : values_(values), reader_(std::make_shared<VisibilityModel::Reader>(model)) {}

  void operator()(std::unique_ptr<IntervalState>& state, const AUVXGroup& group, const char* stored, int record) {
    if (group.ant1 == group.ant2 || !reader_->Take(group, record)) return;
    if (!state) state = std::make_unique<ProductSums>(values_.groups());
    auto& sums = static_cast<ProductSums&>(*state);
    sums.begin = std::min(sums.begin, group.date);
    sums.end = std::max(sums.end, group.date);
    const int first = static_cast<uint8_t>(group.ant1), second = static_cast<uint8_t>(group.ant2);
    BaselineProducts* products = sums.Products(std::min(first, second), std::max(first, second));
    for (const int IF : values_.IFs) {
      for (const int hand : values_.hands) AddChannels(*products++, stored, IF, hand, first > second);
    }
  }

 private:
  void AddChannels(BaselineProducts& to, const char* stored, int IF, int hand, bool isTurned) const {
    for (const int channel : values_.channels) {
      const int point = IF * values_.channelsOfIF + channel;
      AUVXComplex v;
      std::memcpy(static_cast<void*>(&v), stored + (static_cast<size_t>(point) * values_.stokes + hand) * sizeof v,
                  sizeof v);
      Complex model;
      if (!(v.weight > 0) || !std::isfinite(v.weight) || !std::isfinite(v.re) || !std::isfinite(v.im)) continue;
      if (!reader_->At(point, hand, model)) continue;
      const Complex value(v.re, v.im);
      const Complex product = double{v.weight} * value * std::conj(model);
      to.product += isTurned ? std::conj(product) : product;
      to.model += v.weight * std::norm(model);
      to.data += v.weight * std::norm(value);
      ++to.count;
    }
  }

  const ProductValues& values_;
  std::shared_ptr<VisibilityModel::Reader> reader_;
};

// What is passed on for an interval, before its baselines and its products.
struct PassedHead {
  ProductInterval::Head head;
  int baselines;
};

void AppendProducts(const Interval& interval, int subarray, std::vector<char>& bytes) {
  if (!interval.state) return;
  const auto& sums = static_cast<const ProductSums&>(*interval.state);
  const PassedHead head = {
      {interval.stream.source, interval.stream.setup, subarray, sums.begin, sums.end, interval.seconds},
      static_cast<int>(sums.baselines.size())};
  const auto append = [&bytes](const void* from, size_t count) {
    const char* begin = static_cast<const char*>(from);
    bytes.insert(bytes.end(), begin, begin + count);
  };
  append(&head, sizeof head);
  append(sums.baselines.data(), sums.baselines.size() * sizeof(AntennaPair));
  append(sums.products.data(), sums.products.size() * sizeof(BaselineProducts));
}

}  // namespace

AResult ProductWalk::Open() {
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  const AUVXContents& contents = from_.contents();
  ValuesChoice chosen;
  if (AResult result = contents.FindValues(options_.selection, chosen); !result) return result;
  values_.IFs = chosen.IFs;
  values_.channels = chosen.channels;
  values_.channelsOfIF = from_.uvx().channels();
  values_.stokes = std::max<int>(from_.uvx().stokes(), 1);
  const AUVXStokes& stokes = contents.header().stokes;
  for (const std::pair<int, int>& hands : {std::pair(-1, -2), std::pair(-5, -6), std::pair(1, 1)}) {
    for (int i = 0; i < stokes.count() && values_.hands.size() < 2; ++i) {
      if (stokes(i) == hands.first || stokes(i) == hands.second) values_.hands.push_back(i);
    }
    if (!values_.hands.empty()) return AResult::Ok();
  }
  return AResult::Fail(from_.path() + ": has neither parallel hands nor Stokes I to solve with");
}

AResult ProductWalk::Run(VisibilityModel& model, const std::function<void(const ProductInterval&)>& take) {
  IntervalWalk walk(from_, options_);
  if (AResult result = walk.Open(); !result) return result;
  const ValueChoice all(from_.uvx());
  IntervalWalk::Shape shape;
  shape.adder = [this, &model] { return ProductAdder(model, values_); };
  AResult result = walk.Run(
      all, shape,
      [this](const Interval& interval, std::vector<char>& bytes) {
        AppendProducts(interval, from_.contents().scans()(interval.scan).subarray, bytes);
      },
      [&](const std::vector<char>& bytes) {
        Take(bytes, take);
        return AResult::Ok();
      });
  AResult check = model.Check();
  return check ? result : check;
}

void ProductWalk::Take(const std::vector<char>& bytes, const std::function<void(const ProductInterval&)>& take) const {
  std::vector<AntennaPair> pairs;
  std::vector<BaselineProducts> products;
  for (size_t at = 0; at < bytes.size();) {
    PassedHead passed;
    const auto read = [&bytes, &at](void* to, size_t count) {
      std::memcpy(to, bytes.data() + at, count);
      at += count;
    };
    read(&passed, sizeof passed);
    pairs.resize(static_cast<size_t>(passed.baselines));
    products.resize(pairs.size() * values_.groups());
    read(pairs.data(), pairs.size() * sizeof pairs[0]);
    read(products.data(), products.size() * sizeof products[0]);
    ProductInterval interval;
    interval.head = passed.head;
    for (const AntennaPair& pair : pairs) interval.antennas.insert(interval.antennas.end(), {pair.first, pair.second});
    std::sort(interval.antennas.begin(), interval.antennas.end());
    interval.antennas.erase(std::unique(interval.antennas.begin(), interval.antennas.end()), interval.antennas.end());
    const auto placeOf = [&interval](int number) {
      const auto place = std::lower_bound(interval.antennas.begin(), interval.antennas.end(), number);
      return static_cast<int>(place - interval.antennas.begin());
    };
    interval.groups.resize(values_.groups());
    for (size_t i = 0; i < products.size(); ++i) {
      const AntennaPair& pair = pairs[i / values_.groups()];
      products[i].first = placeOf(pair.first);
      products[i].second = placeOf(pair.second);
      interval.groups[i % values_.groups()].push_back(products[i]);
    }
    take(interval);
  }
}

}  // namespace zeltra
