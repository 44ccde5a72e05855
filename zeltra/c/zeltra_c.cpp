// SPDX-License-Identifier: MIT
#include "zeltra/c/zeltra_c.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/c/CallbackHostInternal.h"
#include "zeltra/c/JobJSONInternal.h"
#include "zeltra/imaging/ImageWorkers.h"
#include "zeltra/jobs/JobArguments.h"
#include "zeltra/jobs/JobList.h"

namespace zeltra {
namespace {

std::vector<std::string> TextsOf(const char* const* list) {
  std::vector<std::string> texts;
  for (; list && *list; ++list) texts.emplace_back(*list);
  return texts;
}

// The callbacks of a host that may have been compiled with fewer of them.
std::optional<zeltra_callbacks> CallbacksOf(const zeltra_callbacks* given) {
  zeltra_callbacks callbacks = {};
  if (!given) return callbacks;
  constexpr size_t kLeast = offsetof(zeltra_callbacks, progress);
  if (given->size < kLeast || given->size > sizeof callbacks || given->size % sizeof(void*) != 0) return {};
  std::memcpy(&callbacks, given, given->size);
  return callbacks;
}

AResult RunJob(const char* name, const char* const* inputs, const char* const* outputs, const char* const* options,
               const zeltra_callbacks* given) {
  const AJob* job = FindJob(name ? name : "");
  if (!job) return AResult::Misuse(name ? "there is no job " + CleanText(name) : "no job is named");
  const std::optional<zeltra_callbacks> callbacks = CallbacksOf(given);
  if (!callbacks) return AResult::Misuse("the callbacks have a size that this version of the library does not know");
  const AJobDescription& description = job->description();
  const std::shared_ptr<JobOptions> target = description.makeOptions();
  AJobFiles files;
  AResult result = ReadArguments(description, {TextsOf(inputs), TextsOf(outputs), TextsOf(options)}, files, *target);
  if (!result) return result;
  CallbackHost host(*callbacks);
  return host.Run(*target, [&] { return job->run(files, *target, host); });
}

AResult RunPart(const char* task, int part, const zeltra_callbacks* given) {
  const std::optional<zeltra_callbacks> callbacks = CallbacksOf(given);
  if (!callbacks) return AResult::Misuse("the callbacks have a size that this version of the library does not know");
  if (!task) return AResult::Misuse("no task is named");
  CallbackHost host(*callbacks);
  JobOptions options;
  return host.Run(options, [&] { return RunImagePart(task, part, options); });
}

int CodeOf(const AResult& result) {
  switch (result.code()) {
    case AResult::Done:
      return ZELTRA_DONE;
    case AResult::Cancelled:
      return ZELTRA_CANCELLED;
    case AResult::Misused:
      return ZELTRA_MISUSED;
    default:
      return ZELTRA_FAILED;
  }
}

// Where a sentence goes.
struct Buffer {
  char* text;
  size_t size;
  size_t* needed;

  void Put(std::string_view sentence) const {
    if (needed) *needed = sentence.size() + 1;
    if (!text || size == 0) return;
    size_t length = std::min(sentence.size(), size - 1);
    // A character that does not fit as a whole is left out.
    while (length < sentence.size() && length > 0 && (sentence[length] & 0xC0) == 0x80) --length;
    std::memcpy(text, sentence.data(), length);
    text[length] = 0;
  }
};

// Runs a job and lets no exception out. @return its code
template <typename Run>
int Guarded(const Run& run, const Buffer& buffer) {
  try {
    const AResult result = run();
    buffer.Put(CleanText(result.message()));
    return CodeOf(result);
  } catch (const std::bad_alloc&) {
    buffer.Put("out of memory");
  } catch (const std::exception& e) {
    buffer.Put(e.what());
  } catch (...) {
    buffer.Put("the job failed for an unknown reason");
  }
  return ZELTRA_FAILED;
}

}  // namespace
}  // namespace zeltra

const char* zeltra_version(void) {
  return ZELTRA_VERSION;
}

const char* const* zeltra_jobs(void) {
  try {
    static const std::vector<const char*> names = [] {
      std::vector<const char*> list;
      for (const zeltra::AJob& job : zeltra::Jobs()) list.push_back(job.description().name.c_str());
      list.push_back(nullptr);
      return list;
    }();
    return names.data();
  } catch (...) {
    return nullptr;
  }
}

const char* zeltra_job_json(const char* job) {
  try {
    static const std::map<std::string, std::string, std::less<>> texts = [] {
      std::map<std::string, std::string, std::less<>> all;
      for (const zeltra::AJob& known : zeltra::Jobs()) {
        all[known.description().name] = zeltra::JobAsJSON(known.description());
      }
      return all;
    }();
    const auto found = job ? texts.find(std::string_view(job)) : texts.end();
    return found == texts.end() ? nullptr : found->second.c_str();
  } catch (...) {
    return nullptr;
  }
}

int zeltra_run(const char* job, const char* const* inputs, const char* const* outputs, const char* const* options,
               const zeltra_callbacks* callbacks, char* sentence, size_t sentence_size, size_t* needed) {
  return zeltra::Guarded([&] { return zeltra::RunJob(job, inputs, outputs, options, callbacks); },
                         {sentence, sentence_size, needed});
}

int zeltra_run_part(const char* task, int part, const zeltra_callbacks* callbacks, char* sentence, size_t sentence_size,
                    size_t* needed) {
  return zeltra::Guarded([&] { return zeltra::RunPart(task, part, callbacks); }, {sentence, sentence_size, needed});
}
