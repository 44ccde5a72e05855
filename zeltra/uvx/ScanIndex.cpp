// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include "zeltra/uvx/AUVXWriter.h"
#include "zeltra/uvx/ScanIndexInternal.h"

namespace zeltra {
namespace {

// Rows that are added to the table at a time.
constexpr size_t kRowsAtATime = 4096;
// To end a scan, a gap must be longer than this, in seconds, and than this many median spacings.
constexpr double kLeastGap = 60;
constexpr double kSpacingsInAGap = 8;
static_assert(kSpacingsInAGap * SpacingCount::kShortest <= kLeastGap);
// Bins of all sources and setups together, which take some MiB.
constexpr int kMostBins = 1 << 19;
constexpr int kBinsInAnOctave = 64;

// Computed without library functions, which systems may round differently.
int BinOf(double seconds) {
  if (seconds <= SpacingCount::kShortest) return 0;
  int octave = 0;
  const double mantissa = std::frexp(seconds / SpacingCount::kShortest, &octave);  // from 0.5 up to 1
  return octave * kBinsInAnOctave + static_cast<int>((mantissa - 0.5) * (2 * kBinsInAnOctave));
}

int StreamOf(int source, int setup) {
  return source * 256 + (setup & 0xFF);
}

}  // namespace

// SpacingCount

bool SpacingCount::Add(double seconds, bool mayGrow) {
  const int number = BinOf(seconds);
  bool isNew = false;
  if (last_ >= bins_.size() || bins_[last_].number != number) {
    const auto place = std::lower_bound(bins_.begin(), bins_.end(), number,
                                        [](const Bin& bin, int wanted) { return bin.number < wanted; });
    last_ = static_cast<size_t>(place - bins_.begin());
    isNew = place == bins_.end() || place->number != number;
    if (isNew && !mayGrow) return false;
    if (isNew) bins_.insert(place, {number});
  }
  Bin& bin = bins_[last_];
  bin.longest = std::max(bin.longest, static_cast<float>(seconds));
  ++bin.count;
  return isNew;
}

double SpacingCount::Median() const {
  int64 all = 0, below = 0;
  for (const Bin& bin : bins_) all += bin.count;
  for (const Bin& bin : bins_) {
    below += bin.count;
    if (2 * below >= all) return double{bin.longest};
  }
  return 0;
}

// ScanIndex

void ScanIndex::Clear() {
  index_ = *std::unique_ptr<AUVXTable>(AUVXPosition().ToUVXTable());
  last_.clear();
  gaps_.clear();
  spacings_.clear();
  bins_ = 0;
  scan_ = AUVXPositionItem();
  scan_.sourceId = 1 << 16;  // no record has this source
  subarray_ = 1;
  isOpen_ = isBegun_ = isGiven_ = isFull_ = false;
  wideSpacing_ = 0;
}

void ScanIndex::BeginGiven(int subarray) {
  subarray_ = subarray;
  isBegun_ = isGiven_ = true;
}

void ScanIndex::Take(int record, double seconds, int source, int setup) {
  const bool isSame = source == scan_.sourceId && setup == scan_.freqId;
  // Julian dates resolve 0.04 ms.
  const double gap = isSame ? std::round(std::fabs(seconds - stamp_) * 1e4) / 1e4 : 0;
  const bool isEnded = isBegun_ || subarray_ != scan_.subarray;
  const bool mayEnd = isGiven_ ? isBegun_ : gap > (gap_ > 0 ? gap_ : kLeastGap);
  if (isSame && !isGiven_ && gap > 0 && std::isfinite(gap)) Count(StreamOf(source, setup), gap);
  if (!isOpen_ || !isSame || mayEnd || isEnded) {
    EndScan(record);
    if (isSame) gaps_.push_back(isEnded ? std::numeric_limits<float>::infinity() : static_cast<float>(gap));
    scan_ = {seconds, 0, source, subarray_, record + 1, 0, setup};
    end_ = seconds;
    isOpen_ = true;
    isBegun_ = false;
  }
  stamp_ = seconds;
  if (std::isnan(seconds)) return;
  if (!(scan_.start <= seconds)) scan_.start = seconds;
  if (!(end_ >= seconds)) end_ = seconds;
}

void ScanIndex::Count(int stream, double gap) {
  bins_ += spacings_[stream].Add(gap, bins_ < kMostBins);
}

void ScanIndex::EndScan(int end) {
  if (!isOpen_) return;
  scan_.duration = end_ - scan_.start;
  scan_.endVis = end;
  last_.emplace_back(scan_);
  isOpen_ = false;
  if (last_.size() < kRowsAtATime) return;
  Settle();
  if (index_.rows() < AUVXWriter::kMostScans) return;
  // Rows are joined for good, judged by the spacings so far, so that many gaps alone do not fill the table. If that
  // frees little room, the table counts as full, since otherwise rows would be joined again and again.
  Join();
  isFull_ = index_.rows() > AUVXWriter::kMostScans / 2;
}

void ScanIndex::Settle() {
  const int rows = index_.rows();
  index_.ResizeRows(rows + static_cast<int>(last_.size()));
  if (!last_.empty()) std::memcpy(index_.Row(rows), last_.data(), last_.size() * sizeof(IndexRow));
  last_.clear();
}

AUVXTable& ScanIndex::Table(int records) {
  EndScan(records);
  Settle();
  Join();
  return index_;
}

double ScanIndex::MedianOf(int stream) const {
  const auto place = spacings_.find(stream);
  return place == spacings_.end() ? 0 : place->second.Median();
}

// Join rows in place. While rows are joined, their times are in double precision.
void ScanIndex::Join() {
  if (gaps_.empty()) return;
  std::unordered_map<int, double> medians;
  int kept = 0;
  size_t gap = 0, keptGaps = 0;
  AUVXPositionItem whole;
  for (int i = 0; i < index_.rows(); ++i) {
    const AUVXPositionItem scan = ScanAt(i);
    const bool isSame = i > 0 && scan.sourceId == whole.sourceId && scan.freqId == whole.freqId;
    if (isSame && !EndsScan(gaps_[gap], StreamOf(scan.sourceId, scan.freqId), medians)) {
      const double end = std::max(whole.start + whole.duration, scan.start + scan.duration);
      whole.start = std::min(whole.start, scan.start);
      whole.duration = end - whole.start;
      whole.endVis = scan.endVis;
      ++gap;
      continue;
    }
    if (isSame) gaps_[keptGaps++] = gaps_[gap++];
    if (i > 0) Store(whole, kept++);
    whole = scan;
  }
  Store(whole, kept++);
  gaps_.resize(keptGaps);
  index_.ResizeRows(kept);
}

bool ScanIndex::EndsScan(double gap, int stream, std::unordered_map<int, double>& medians) {
  if (isGiven_ || gap_ > 0) return gap > (isGiven_ ? std::numeric_limits<double>::max() : gap_);
  const auto [place, isNew] = medians.emplace(stream, 0);
  if (isNew) place->second = MedianOf(stream);
  const double median = place->second;
  if (gap > std::max(kLeastGap, kSpacingsInAGap * median)) return true;
  if (median > kLeastGap) wideSpacing_ = std::max(wideSpacing_, median);
  return false;
}

AUVXPositionItem ScanIndex::ScanAt(int row) const {
  IndexRow image;
  std::memcpy(&image, index_.Row(row), sizeof image);
  const double length = double{image.interval} * kSecondsPerDay;
  return {image.time * kSecondsPerDay - length / 2,
          length,
          image.source,
          image.subarray,
          image.start,
          image.end,
          image.setup};
}

void ScanIndex::Store(const AUVXPositionItem& scan, int row) {
  const IndexRow image(scan);
  std::memcpy(index_.Row(row), &image, sizeof image);
}

}  // namespace zeltra
