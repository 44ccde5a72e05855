// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "zeltra/calibration/VisibilityList.h"
#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/core/PartRunnerInternal.h"
#include "zeltra/imaging/ImagePartsInternal.h"
#include "zeltra/imaging/ImageTaskFileInternal.h"
#include "zeltra/imaging/ImageWorkers.h"
#include "zeltra/ops/PartFileInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

// A part has at least this many bytes of records, and at least this many times the bytes of its sums: sums over less
// cost more to add up, to send and to hold than they save.
constexpr int64 kLeastPart = 16 << 20, kSumsPerPart = 4;
// More would need more memory for sums that wait to be added up, and few users have more machines to keep busy.
constexpr int kMostParts = 32;
// Visibilities that a model is computed for at a time.
constexpr size_t kBlock = 1 << 16;

// Adds up the visibilities of a part.
class Summer {
 public:
  Summer(const ImageTask& task, const ImageOptions& options, const GriddingWeights& weights, JobOptions inner,
         ImageSums& sums)
      : task_(task),
        weights_(weights),
        extent_(UVGrid::Extent(options.size, task.cell)),
        hasModel_(!task.model.components().empty()),
        inner_(inner),
        sums_(sums) {
    inner_.progress = nullptr;
  }

  void Take(const SelectedVisibility& visibility);
  AResult Finish();

 private:
  void TakeOnGrid(const SelectedVisibility& visibility);
  void Put(double u, double v, std::complex<double> value, double weight);
  void SubtractModel();

  const ImageTask& task_;
  const GriddingWeights& weights_;
  const double extent_;
  const bool hasModel_;
  JobOptions inner_;  // of the model's prediction
  ImageSums& sums_;
  VisibilityList block_;
  std::vector<double> gridding_;  // weights of the block
  AResult result_ = AResult::Ok();
};

void Summer::Take(const SelectedVisibility& visibility) {
  const double u = std::fabs(visibility.u), v = std::fabs(visibility.v);
  ImageCounts& counts = sums_.counts;
  if (task_.kind == ImageTask::Baselines) {
    counts.longest = std::max(counts.longest, std::hypot(u, v));
    return;
  }
  counts.farthest = std::max({counts.farthest, u, v});
  if (u <= extent_ && v <= extent_) return TakeOnGrid(visibility);
  ++counts.beyond;
}

void Summer::TakeOnGrid(const SelectedVisibility& visibility) {
  if (task_.kind == ImageTask::Density) {
    return sums_.density.Add(visibility.u, visibility.v, visibility.value.weight);
  }
  const double weight = weights_(visibility.u, visibility.v, visibility.value.weight);
  if (task_.kind == ImageTask::Sky) sums_.counts.Add(visibility, weight);
  if (!hasModel_) {
    const std::complex<double> value(visibility.value.re, visibility.value.im);
    sums_.counts.chi2 += visibility.value.weight * std::norm(value);
    return Put(visibility.u, visibility.v, value, weight);
  }
  block_.Add(visibility);
  if (task_.kind == ImageTask::Model) block_.value.back() = 0;
  gridding_.push_back(weight);
  if (block_.size() == kBlock) SubtractModel();
}

void Summer::Put(double u, double v, std::complex<double> value, double weight) {
  if (task_.kind == ImageTask::Model) return sums_.grid.AddToSky(u, v, value, weight);
  sums_.grid.Add(u, v, task_.kind == ImageTask::WideBeam ? 0 : value, weight);
}

void Summer::SubtractModel() {
  if (result_) result_ = block_.Subtract(task_.model, inner_);
  for (size_t i = 0; i < block_.size(); ++i) Put(block_.u[i], block_.v[i], block_.value[i], gridding_[i]);
  sums_.counts.chi2 += block_.Chi2();
  block_ = {};
  gridding_.clear();
}

AResult Summer::Finish() {
  SubtractModel();
  return result_;
}

// Adds up the sums over parts in pairs, then pairs of pairs and so on, as they come.
class SumTree {
 public:
  /// @param sums   of the next part
  /// @param spare  receives what is added up
  void Take(std::unique_ptr<ImageSums> sums, std::vector<std::unique_ptr<ImageSums>>& spare);
  /// The whole.
  void Finish(ImageSums& sums);

 private:
  struct Node {
    int parts;
    std::unique_ptr<ImageSums> sums;
  };

  std::unique_ptr<ImageSums> AddLast();

  std::vector<Node> nodes_;
};

void SumTree::Take(std::unique_ptr<ImageSums> sums, std::vector<std::unique_ptr<ImageSums>>& spare) {
  nodes_.push_back({1, std::move(sums)});
  while (nodes_.size() > 1 && nodes_[nodes_.size() - 2].parts == nodes_.back().parts) spare.push_back(AddLast());
}

// Adds the last node to the one before. @return the sums of the last one, which are free for another part
std::unique_ptr<ImageSums> SumTree::AddLast() {
  Node last = std::move(nodes_.back());
  nodes_.pop_back();
  nodes_.back().sums->Add(*last.sums);
  nodes_.back().parts += last.parts;
  return std::move(last.sums);
}

void SumTree::Finish(ImageSums& sums) {
  while (nodes_.size() > 1) AddLast();
  sums = std::move(*nodes_.back().sums);
}

// How many sums the tree holds at most, including those that are about to be added.
int MostNodes(int parts) {
  return parts > 1 ? std::bit_width(static_cast<unsigned>(parts)) + 1 : 1;
}

}  // namespace

void ImageCounts::Add(const SelectedVisibility& visibility, double weight) {
  const double u = visibility.u, v = visibility.v, w = visibility.group->w() * visibility.frequency;
  beam.Add(u, v, weight, visibility.value.weight);
  ++visibilities;
  if (std::isfinite(w)) largestW = std::max(largestW, std::fabs(w));
  longest = std::max(longest, std::hypot(u, v));
  lowest = std::min(lowest, visibility.frequency - visibility.width / 2);
  highest = std::max(highest, visibility.frequency + visibility.width / 2);
}

void ImageCounts::Add(const ImageCounts& other) {
  beam.Add(other.beam);
  visibilities += other.visibilities;
  beyond += other.beyond;
  chi2 += other.chi2;
  longest = std::max(longest, other.longest);
  farthest = std::max(farthest, other.farthest);
  largestW = std::max(largestW, other.largestW);
  lowest = std::min(lowest, other.lowest);
  highest = std::max(highest, other.highest);
}

int ImageSums::Create(const ImageTask& task, const ImageOptions& options) {
  switch (task.kind) {
    case ImageTask::Baselines:
      return 1;
    case ImageTask::Density:
      return density.Create(options.weighting, options.size, task.cell);
    default:
      return grid.Create(task.kind == ImageTask::WideBeam ? 2 * options.size : options.size, task.cell);
  }
}

int64 ImageSums::Bytes(const ImageTask& task, const ImageOptions& options) {
  switch (task.kind) {
    case ImageTask::Baselines:
      return 0;
    case ImageTask::Density:
      return GriddingWeights::Bytes(options.weighting, options.size);
    default:
      return UVGrid::Bytes(task.kind == ImageTask::WideBeam ? 2 * options.size : options.size);
  }
}

void ImageSums::Clear() {
  counts = {};
  density.Clear();
  grid.Clear();
}

void ImageSums::Add(const ImageSums& other) {
  counts.Add(other.counts);
  density.Add(other.density);
  grid.Add(other.grid);
}

int ImageSums::Store(AFile& f) const {
  return WriteWhole(f, &counts, sizeof counts) && density.Store(f) && grid.Store(f);
}

int ImageSums::Load(AFile& f) {
  return ReadWhole(f, &counts, sizeof counts) && density.Load(f) && grid.Load(f);
}

std::string ImageSizeText(const ImageOptions& options) {
  const std::string size = std::to_string(options.size);
  return "an image of " + size + " x " + size + " pixels";
}

double MostMemory(const ImageOptions& options) {
  return options.memory > 0 ? options.memory : static_cast<double>(FreeMemory()) / 2;
}

// What the threads share. All sums are made in the beginning and used again, since memory that one thread frees is
// available neither to other threads nor to the system.
struct ImageParts::Shared {
  Shared(const ImageTask& whole, const std::vector<RecordStretch>& all, const JobOptions& options, int threads)
      : task(whole), parts(all), inner(options), most(threads), done(all.size()) {
    inner.progress = nullptr;
  }

  const ImageTask& task;
  const std::vector<RecordStretch>& parts;
  JobOptions inner;
  const int most;  // parts that may be at work, or wait to be added up
  std::mutex mutex;
  std::condition_variable isAdded;
  int added = 0;                                        // parts
  std::vector<std::unique_ptr<ImageSums>> spare, done;  // done: [part]
};

// Makes the sums of one part after another.
class ImageParts::Worker : public PartWorker {
 public:
  Worker(ImageParts& parts, Shared& shared) : parts_(parts), shared_(shared) {}

  AResult Run(int part, PartOutput& output) override {
    std::unique_ptr<ImageSums> sums = Wait(part, output);
    if (!sums) return AResult::Ok();
    sums->Clear();
    const auto place = static_cast<size_t>(part);
    AResult result = parts_.RunStretch(shared_.task, shared_.parts[place], shared_.inner, *sums);
    if (!result) return result;
    {
      const std::lock_guard lock(shared_.mutex);
      shared_.done[place] = std::move(sums);
    }
    if (output.Put({0})) output.Count(1);
    return AResult::Ok();
  }

 private:
  // Wait until enough parts have been added up to leave sums for this one. @return null if the job has ended
  std::unique_ptr<ImageSums> Wait(int part, PartOutput& output) {
    constexpr auto kPatience = std::chrono::milliseconds(20);
    std::unique_lock lock(shared_.mutex);
    while (part >= shared_.added + shared_.most) {
      if (!output.Count(0)) return nullptr;
      shared_.isAdded.wait_for(lock, kPatience);
    }
    std::unique_ptr<ImageSums> sums = std::move(shared_.spare.back());
    shared_.spare.pop_back();
    return sums;
  }

  ImageParts& parts_;
  Shared& shared_;
};

std::vector<RecordStretch> ImageParts::Parts(const ImageTask& task) const {
  return data_.Divide(std::max(kLeastPart, kSumsPerPart * ImageSums::Bytes(task, options_)), kMostParts);
}

int64 ImageParts::Bytes(const ImageTask& task) const {
  return MostNodes(Count(task)) * ImageSums::Bytes(task, options_);
}

int ImageParts::MostThreads(const ImageTask& task, int parts) const {
  const int threads = ThreadsFor(parts, options_);
  const int64 bytes = ImageSums::Bytes(task, options_);
  const double most = MostMemory(options_);
  if (most == 0 || bytes == 0) return threads;
  const double left = (most - static_cast<double>(held_ + Bytes(task))) / static_cast<double>(bytes);
  return left < threads - 1 ? 1 + static_cast<int>(std::max(left, 0.0)) : threads;
}

AResult ImageParts::NoMemory() const {
  return AResult::Fail(from_.path() + ": there is no memory for " + ImageSizeText(options_));
}

AResult ImageParts::Weigh(double cell) {
  if (!weights_.Create(options_.weighting, options_.size, cell)) return NoMemory();
  if (!weights_.isDensityNeeded()) return AResult::Ok();
  ImageSums sums;
  if (AResult result = Run({ImageTask::Density, cell, {}}, "Weighing visibilities...", sums); !result) return result;
  weights_ = std::move(sums.density);
  weights_.Settle();
  return AResult::Ok();
}

AResult ImageParts::Run(const ImageTask& task, const char* step, ImageSums& sums, bool quiet) {
  JobOptions options = options_;
  if (quiet) options.progress = nullptr;
  SendProgressText(options.progress, step);
  sums = ImageSums();
  const std::vector<RecordStretch> parts = Parts(task);
  const int count = static_cast<int>(parts.size());
  if (count > 1 && options_.workers && !from_.isImported()) return RunElsewhere(task, count, sums);
  if (count > 1) return RunHere(task, parts, options, sums);
  return sums.Create(task, options_) ? RunStretch(task, parts[0], options, sums) : NoMemory();
}

AResult ImageParts::RunPart(const ImageTask& task, int part, const JobOptions& options, ImageSums& sums) {
  if (!sums.Create(task, options_)) return NoMemory();
  return RunStretch(task, Parts(task)[static_cast<size_t>(part)], options, sums);
}

AResult ImageParts::RunStretch(const ImageTask& task, RecordStretch part, const JobOptions& options, ImageSums& sums) {
  Summer summer(task, options_, weights_, options, sums);
  AResult result =
      data_.ForEachOf(part, options, [&](const SelectedVisibility& visibility) { summer.Take(visibility); });
  return result ? summer.Finish() : result;
}

AResult ImageParts::RunHere(const ImageTask& task, const std::vector<RecordStretch>& parts, const JobOptions& options,
                            ImageSums& sums) {
  const int count = static_cast<int>(parts.size());
  JobOptions outer = options;
  outer.threads = MostThreads(task, count);
  Shared shared(task, parts, options, outer.threads);
  for (int i = std::min(MostNodes(count) - 1 + shared.most, count); i > 0; --i) {
    shared.spare.push_back(std::make_unique<ImageSums>());
    if (!shared.spare.back()->Create(task, options_)) return NoMemory();
  }
  SumTree tree;
  PartJob job;
  job.name = from_.path();
  job.parts = count;
  job.work = count;
  job.worker = [&] { return std::make_unique<Worker>(*this, shared); };
  job.take = [&](const std::vector<char>&) {
    const std::lock_guard lock(shared.mutex);
    tree.Take(std::move(shared.done[static_cast<size_t>(shared.added++)]), shared.spare);
    shared.isAdded.notify_all();
    return AResult::Ok();
  };
  if (AResult result = RunParts(job, outer); !result) return result;
  tree.Finish(sums);
  return AResult::Ok();
}

AResult ImageParts::RunElsewhere(const ImageTask& task, int parts, ImageSums& sums) {
  const std::string name = options_.workers->folder() + "/task-" + std::to_string(++tasks_);
  ImageTaskFile file = {from_.path(), HashOf(from_), options_, task, weights_};
  AResult result = file.Store(name);
  if (result) result = options_.workers->Run(name, parts);
  if (result) result = Gather(task, name, parts, sums);
  RemoveFile(name);
  for (int part = 1; part <= parts; ++part) RemoveFile(name + "." + std::to_string(part));
  return result;
}

AResult ImageParts::Gather(const ImageTask& task, const std::string& name, int parts, ImageSums& sums) {
  SumTree tree;
  std::vector<std::unique_ptr<ImageSums>> spare;
  for (int part = 1; part <= parts; ++part) {
    if (IsCancelled(options_)) return AResult::Cancel(from_.path() + ": cancelled before its image was made");
    const std::string path = name + "." + std::to_string(part);
    AInputFile file;
    if (AResult result = file.Open(path); !result) return result;
    if (spare.empty()) {
      spare.push_back(std::make_unique<ImageSums>());
      if (!spare.back()->Create(task, options_)) return NoMemory();
    }
    std::unique_ptr<ImageSums> next = std::move(spare.back());
    spare.pop_back();
    if (!next->Load(file)) return file.Settle(AResult::Fail(path + ": is not what a worker makes of its part"));
    file.Close();
    RemoveFile(path);
    tree.Take(std::move(next), spare);
  }
  tree.Finish(sums);
  return AResult::Ok();
}

AImageWorkers::~AImageWorkers() = default;

AResult RunImagePart(const std::string& task, int part, const JobOptions& options) {
  ImageTaskFile file;
  if (AResult result = file.Load(task); !result) return result;
  AUVXInput from;
  if (AResult result = from.Open(file.input, options); !result) return result;
  if (HashOf(from) != file.content) return AResult::Fail(file.input + ": has changed since it was divided");
  static_cast<JobOptions&>(file.options) = options;
  file.options.threads = 1;  // several workers share a machine
  ImageParts parts(from, file.options);
  if (AResult result = parts.Open(); !result) return from.Settle(result);
  if (const int count = parts.Count(file.task); part < 1 || part > count) {
    return AResult::Misuse(task + ": has parts 1 to " + std::to_string(count) + ", not " + std::to_string(part));
  }
  parts.weights() = std::move(file.weights);
  ImageSums sums;
  if (AResult result = from.Settle(parts.RunPart(file.task, part - 1, file.options, sums)); !result) return result;
  JobOptions output = options;
  output.overwrite = true;
  output.sync = false;
  OutputFile made;
  if (AResult result = made.Create(task + "." + std::to_string(part), output); !result) return result;
  if (!sums.Store(made.file())) return made.WriteError();
  return made.Commit();
}

}  // namespace zeltra
