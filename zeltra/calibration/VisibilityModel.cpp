// SPDX-License-Identifier: MIT
#include "zeltra/calibration/VisibilityModel.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <optional>
#include <set>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/RecordReaderInternal.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra {
namespace {

constexpr double kSameFrequency = 1e-6;  // relative
// Two programs may write the same time with different last bits.
constexpr double kSameTime = 0.5 / 86400e4;  // days: half of 0.1 ms

bool IsSameRecord(const AUVXGroup& a, const AUVXGroup& b) {
  return a.ant1 == b.ant1 && a.ant2 == b.ant2 && std::fabs(a.date - b.date) <= kSameTime;
}

// Whether a file holds visibilities, and not components: a UVX file, or FITS with random groups.
bool HoldsVisibilities(const std::string& name) {
  AInputFile file;
  char start[80 * 36] = {};
  if (!file.Open(name) || !ReadWhole(file, start, 4)) return false;
  constexpr char kMagic[4] = {static_cast<char>(0xEB), 3, 0, 0};
  if (std::memcmp(start, kMagic, sizeof kMagic) == 0) return true;
  file.Seek(0);
  if (!ReadWhole(file, start, sizeof start) || std::memcmp(start, "SIMPLE", 6) != 0) return false;
  for (const char* card = start; card < start + sizeof start; card += 80) {
    if (std::memcmp(card, "GROUPS  =", 9) == 0) return std::memchr(card + 9, 'T', 22) != nullptr;
  }
  return false;
}

}  // namespace

AResult CheckModelled(const std::string& path, const std::vector<PolarisationChoice>& polarisations) {
  for (const PolarisationChoice& choice : polarisations) {
    const int code = choice.mix.GetStokesID();
    if (code == 1 || code == -1 || code == -2 || code == -5 || code == -6) continue;
    return AResult::Fail(path + ": a model is of I or of a parallel hand, and not of " + choice.name);
  }
  return AResult::Ok();
}

// The first record that two files do not share, found by any thread.
struct VisibilityModel::Mismatch {
  std::atomic<int> record{-1};
};

AResult VisibilityModel::Open(const std::string& name, const JobOptions& options) {
  if (HoldsVisibilities(name)) return OpenFile(name, options);
  ComponentModel components;
  AResult result = components.Open(name);
  return result ? Use(components) : result;
}

AResult VisibilityModel::Use(const ComponentModel& components) {
  components_ = components;
  prediction_ = std::make_unique<ModelPrediction>(components_);
  return OpenFrequencies();
}

AResult VisibilityModel::OpenFile(const std::string& name, const JobOptions& options) {
  file_ = std::make_unique<AUVXInput>();
  mismatch_ = std::make_shared<Mismatch>();
  if (AResult result = file_->Open(name, options); !result) return result;
  const AUVXFile &model = file_->uvx(), &data = data_.uvx();
  const bool isSame = model.count() == data.count() && model.recSize() == data.recSize() &&
                      model.stokes() == data.stokes() && model.IFs() == data.IFs();
  if (!isSame) {
    return AResult::Fail(name + ": holds other records than " + data_.path() +
                         ": a model needs as many, with the same IFs, channels and polarisations");
  }
  const AUVXStokes &theirs = file_->contents().header().stokes, &ours = data_.contents().header().stokes;
  for (int i = 0; i < ours.count(); ++i) {
    if (theirs(i) != ours(i)) return AResult::Fail(name + ": has other polarisations than " + data_.path());
  }
  return CompareFrequencies();
}

// A model made for other channels would be wrong without anybody noticing.
AResult VisibilityModel::CompareFrequencies() {
  const AUVXPosition& scans = data_.contents().scans();
  std::set<int> setups;
  for (int i = 0; i < scans.count(); ++i) setups.insert(scans(i).freqId);
  for (const int setup : setups) {
    const AUVXFreqs ours(data_.uvx(), setup), theirs(file_->uvx(), setup);
    for (int i = 0; i < std::min(ours.count(), theirs.count()); ++i) {
      if (!(std::fabs(ours(i) - theirs(i)) > kSameFrequency * std::fabs(ours(i)))) continue;
      return AResult::Fail(file_->path() + ": a channel of setup " + std::to_string(setup) + " is at " +
                           RoundedNumber(theirs(i) / 1e6, 9) + " MHz, in " + data_.path() + " at " +
                           RoundedNumber(ours(i) / 1e6, 9) + " MHz");
    }
  }
  return AResult::Ok();
}

AResult VisibilityModel::OpenFrequencies() {
  const AUVXPosition& scans = data_.contents().scans();
  for (int i = 0; i < scans.count(); ++i) {
    const int setup = scans(i).freqId;
    if (frequencies_.count(setup)) continue;
    const AUVXFreqs freqs(data_.uvx(), setup);
    std::vector<double>& list = frequencies_[setup];
    list.assign(freqs.lpArray(), freqs.lpArray() + freqs.count());
    for (const double frequency : list) {
      if (!(frequency > 0))
        return AResult::Fail(data_.path() + ": has no frequencies for setup " + std::to_string(setup));
    }
  }
  return AResult::Ok();
}

AResult VisibilityModel::Check() const {
  if (!file_) return AResult::Ok();
  if (const int record = mismatch_->record; record >= 0) {
    return AResult::Fail(file_->path() + ": record " + std::to_string(record + 1) +
                         " is not of the antennas and the time of that of " + data_.path());
  }
  return file_->Check();
}

struct VisibilityModel::Reader::Buffer {
  explicit Buffer(VisibilityModel& model) {
    if (model.file_) reader.emplace(*model.file_);
  }

  std::vector<double> u, v;
  std::vector<std::complex<double>> values;  // of components, [point]
  std::optional<RecordReader> reader;        // of another file
  int first = 0, count = 0;                  // records that it holds
  const char* stored = nullptr;              // values of the record in it
  int stokes = 0;
};

VisibilityModel::Reader::Reader(VisibilityModel& model) : model_(model), buffer_(std::make_unique<Buffer>(model)) {
  buffer_->stokes = std::max<int>(model.data_.uvx().stokes(), 1);
}

VisibilityModel::Reader::~Reader() = default;

bool VisibilityModel::Reader::Take(const AUVXGroup& group, int record) {
  if (model_.file_) return TakeRead(group, record);
  Predict(group);
  return true;
}

bool VisibilityModel::Reader::TakeRead(const AUVXGroup& group, int record) {
  Buffer& b = *buffer_;
  if (record < b.first || record >= b.first + b.count) {
    b.first = record;
    b.count = b.reader->Read(record, model_.file_->uvx().count());
  }
  if (b.count == 0) return false;
  const char* bytes = b.reader->records() + int64{record - b.first} * b.reader->recordBytes();
  AUVXGroup other;
  std::memcpy(static_cast<void*>(&other), bytes, AUVXGroup::kBytes);
  b.stored = bytes + AUVXGroup::kBytes;
  if (IsSameRecord(group, other)) return true;
  int none = -1;
  model_.mismatch_->record.compare_exchange_strong(none, record);
  return false;
}

void VisibilityModel::Reader::Predict(const AUVXGroup& group) {
  Buffer& b = *buffer_;
  const auto found = model_.frequencies_.find(group.freqSel());
  if (found == model_.frequencies_.end()) return b.values.clear();
  const std::vector<double>& frequencies = found->second;
  const size_t n = frequencies.size();
  b.u.resize(n);
  b.v.resize(n);
  b.values.resize(n);
  const double u = group.u(), v = group.v();
  for (size_t i = 0; i < n; ++i) {
    b.u[i] = u * frequencies[i];
    b.v[i] = v * frequencies[i];
  }
  model_.prediction_->Predict(b.u.data(), b.v.data(), frequencies.data(), static_cast<int>(n), b.values.data());
}

bool VisibilityModel::Reader::At(int point, int stokes, std::complex<double>& value) const {
  const Buffer& b = *buffer_;
  if (!model_.file_) {
    if (static_cast<size_t>(point) >= b.values.size()) return false;
    value = b.values[static_cast<size_t>(point)];
    return true;
  }
  AUVXComplex stored;
  std::memcpy(static_cast<void*>(&stored), b.stored + (static_cast<size_t>(point) * b.stokes + stokes) * sizeof stored,
              sizeof stored);
  value = {stored.re, stored.im};
  return stored.weight > 0 && std::isfinite(stored.re) && std::isfinite(stored.im);
}

}  // namespace zeltra
