// SPDX-License-Identifier: MIT
#include <cstring>
#include <type_traits>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/imaging/DirtyImageInternal.h"
#include "zeltra/imaging/ImageTaskFileInternal.h"

namespace zeltra {
namespace {

constexpr char kMagic[] = "ZELTRA image task";
// Of all but the weights: a list of components is the largest part by far.
constexpr int64 kMostBytes = 1 << 30;

// Appends values to bytes.
class Packer {
 public:
  template <typename T>
  void operator()(const T& value) {
    if constexpr (std::is_enum_v<T> || std::is_same_v<T, bool>) {
      (*this)(static_cast<std::int32_t>(value));
    } else {
      static_assert(std::is_arithmetic_v<T>);
      bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
    }
  }
  void operator()(const std::string& text) {
    (*this)(std::int64_t{std::ssize(text)});
    bytes_ += text;
  }
  template <typename T>
  void operator()(const std::optional<T>& value) {
    (*this)(value.has_value());
    if (value) (*this)(*value);
  }
  void operator()(const ATime& time) {
    (*this)(time.value);
    (*this)(time.isRelative);
  }
  template <typename T>
  void List(std::vector<T>& list) {
    (*this)(std::int64_t{std::ssize(list)});
  }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

// Takes values back, as long as there are bytes.
class Unpacker {
 public:
  explicit Unpacker(std::string_view bytes) : bytes_(bytes) {}

  template <typename T>
  void operator()(T& value) {
    if constexpr (std::is_enum_v<T> || std::is_same_v<T, bool>) {
      std::int32_t number = 0;
      (*this)(number);
      value = static_cast<T>(number);
    } else {
      static_assert(std::is_arithmetic_v<T>);
      if (const char* from = Take(sizeof value)) std::memcpy(&value, from, sizeof value);
    }
  }
  void operator()(std::string& text) {
    std::int64_t length = 0;
    (*this)(length);
    if (const char* from = Take(length)) text.assign(from, static_cast<size_t>(length));
  }
  template <typename T>
  void operator()(std::optional<T>& value) {
    bool has = false;
    (*this)(has);
    if (has) (*this)(value.emplace());
  }
  void operator()(ATime& time) {
    (*this)(time.value);
    (*this)(time.isRelative);
  }
  // Each element takes at least one byte.
  template <typename T>
  void List(std::vector<T>& list) {
    std::int64_t count = 0;
    (*this)(count);
    good_ = good_ && count >= 0 && count <= std::ssize(bytes_);
    if (good_) list.resize(static_cast<size_t>(count));
  }
  bool isDone() const { return good_ && bytes_.empty(); }

 private:
  const char* Take(std::int64_t count) {
    good_ = good_ && count >= 0 && count <= std::ssize(bytes_);
    if (!good_) return nullptr;
    const char* from = bytes_.data();
    bytes_.remove_prefix(static_cast<size_t>(count));
    return from;
  }

  std::string_view bytes_;
  bool good_ = true;
};

template <typename Archive, typename T>
void ExchangeList(Archive& archive, std::vector<T>& list) {
  archive.List(list);
  for (T& element : list) archive(element);
}

template <typename Archive>
void Exchange(Archive& archive, UVXSelection& selection) {
  ExchangeList(archive, selection.sources);
  archive(selection.setup);
  ExchangeList(archive, selection.scans);
  ExchangeList(archive, selection.antennas);
  ExchangeList(archive, selection.baselines);
  archive(selection.start);
  archive(selection.stop);
  ExchangeList(archive, selection.IFs);
  ExchangeList(archive, selection.channels);
  ExchangeList(archive, selection.stokes);
  archive(selection.uvRange.least);
  archive(selection.uvRange.greatest);
  archive(selection.flagged);
}

template <typename Archive>
void Exchange(Archive& archive, ModelComponent& component) {
  archive(component.flux);
  archive(component.x);
  archive(component.y);
  archive(component.major);
  archive(component.ratio);
  archive(component.angle);
  archive(component.isGaussian);
  archive(component.frequency);
  archive(component.spectralIndex);
}

// The one list of what a task consists of, for both directions.
template <typename Archive>
void Exchange(Archive& archive, ImageTaskFile& file) {
  archive(file.input);
  archive(file.content);
  Exchange(archive, file.options.selection);
  archive(file.options.size);
  archive(file.options.weighting.scheme);
  archive(file.options.weighting.robustness);
  archive(file.options.weighting.power);
  archive(file.options.weighting.taper);
  archive(file.options.weighting.taperRadius);
  archive(file.task.kind);
  archive(file.task.cell);
  archive.List(file.task.model.components());
  for (ModelComponent& component : file.task.model.components()) Exchange(archive, component);
}

bool IsPossible(const ImageTaskFile& file) {
  const int kind = file.task.kind, scheme = file.options.weighting.scheme;
  return kind >= ImageTask::Baselines && kind <= ImageTask::WideBeam && scheme >= WeightingOptions::Natural &&
         scheme <= WeightingOptions::Robust && IsImageSize(file.options.size) &&
         (file.task.kind == ImageTask::Baselines || file.task.cell > 0) && CheckWeighting(file.options.weighting);
}

std::string Version() {
  return ZELTRA_VERSION;
}

}  // namespace

AResult ImageTaskFile::Store(const std::string& path) {
  Packer start, fields;
  start(std::string(kMagic));
  start(Version());
  Exchange(fields, *this);
  start(fields.bytes());
  JobOptions output;
  output.overwrite = true;
  output.sync = false;
  OutputFile file;
  if (AResult result = file.Create(path, output); !result) return result;
  const std::string& bytes = start.bytes();
  const bool isWritten = WriteWhole(file.file(), bytes.data(), std::ssize(bytes)) &&
                         (task.kind <= ImageTask::Density || weights.Store(file.file()));
  return isWritten ? file.Commit() : file.WriteError();
}

AResult ImageTaskFile::Load(const std::string& path) {
  AInputFile file;
  if (AResult result = file.Open(path); !result) return result;
  const auto fail = [&] { return file.Settle(AResult::Fail(path + ": is not a task for workers")); };
  std::string texts[3];
  for (std::string& text : texts) {
    std::int64_t length = 0;
    if (!ReadWhole(file, &length, sizeof length) || length < 0 || length > kMostBytes || !HasBytes(file, length)) {
      return fail();
    }
    text.resize(static_cast<size_t>(length));
    if (!ReadWhole(file, text.data(), length)) return fail();
  }
  const auto& [magic, version, fields] = texts;
  if (magic != kMagic) return fail();
  if (version != Version()) {
    return AResult::Fail(path + ": was made by version " + version + ", this is " + Version());
  }
  Unpacker unpack(fields);
  Exchange(unpack, *this);
  if (!unpack.isDone() || !IsPossible(*this)) return fail();
  if (task.kind <= ImageTask::Density) return AResult::Ok();
  if (!weights.Create(options.weighting, options.size, task.cell) || !weights.Load(file)) return fail();
  weights.Settle();
  return AResult::Ok();
}

}  // namespace zeltra
