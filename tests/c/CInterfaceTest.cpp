// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/c/zeltra_c.h"

namespace zeltra::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

// A host that keeps what it is told, and cancels if the test asks for it.
struct Host {
  std::vector<std::string> names, units;
  std::vector<std::vector<std::string>> rows;
  std::string text, notes, reports, sentence;
  int blocks = 0, calls = 0;
  bool cancelsProgress = false, cancelsBlock = false;
  std::thread::id thread = std::this_thread::get_id();
  std::function<void()> inProgress = [] {};

  static std::string Cell(const zeltra_column& column, size_t row) {
    if (column.present && !column.present[row]) return "-";
    switch (column.type) {
      case ZELTRA_INT64:
        return std::to_string(static_cast<const int64_t*>(column.values)[row]);
      case ZELTRA_DOUBLE:
        return std::to_string(static_cast<const double*>(column.values)[row]);
      default:
        return static_cast<const char* const*>(column.values)[row];
    }
  }

  static int OnProgress(void* user, const char*, int percent) {
    Host& host = *static_cast<Host*>(user);
    EXPECT_EQ(std::this_thread::get_id(), host.thread);
    EXPECT_TRUE(percent >= 0 && percent <= 100);
    ++host.calls;
    host.inProgress();
    return host.cancelsProgress;
  }

  static int OnBlock(void* user, const zeltra_column* const* columns, size_t count, size_t rows) {
    Host& host = *static_cast<Host*>(user);
    EXPECT_EQ(std::this_thread::get_id(), host.thread);
    ++host.blocks;
    host.names.clear();
    host.units.clear();
    for (size_t i = 0; i < count; ++i) {
      EXPECT_EQ(columns[i]->size, sizeof(zeltra_column));
      EXPECT_EQ(columns[i]->count, rows);
      host.names.push_back(columns[i]->name);
      host.units.push_back(columns[i]->unit);
    }
    for (size_t row = 0; row < rows; ++row) {
      auto& cells = host.rows.emplace_back();
      for (size_t i = 0; i < count; ++i) cells.push_back(Cell(*columns[i], row));
    }
    return host.cancelsBlock;
  }

  static int OnText(void* user, const char* text, size_t bytes) {
    static_cast<Host*>(user)->text.append(text, bytes);
    return 0;
  }
  static void OnNote(void* user, const char* sentence) { static_cast<Host*>(user)->notes += sentence; }
  static void OnReport(void* user, const char* sentence) { static_cast<Host*>(user)->reports += sentence; }

  int Run(const char* job, std::vector<const char*> inputs, std::vector<const char*> outputs,
          std::vector<const char*> options) {
    for (auto* list : {&inputs, &outputs, &options}) list->push_back(nullptr);
    const zeltra_callbacks callbacks = {sizeof callbacks, this,     OnProgress, OnBlock, OnText,
                                        OnNote,           OnReport, nullptr,    nullptr};
    char buffer[1000];
    size_t needed = 0;
    const int code =
        zeltra_run(job, inputs.data(), outputs.data(), options.data(), &callbacks, buffer, sizeof buffer, &needed);
    sentence = buffer;
    EXPECT_EQ(needed, sentence.size() + 1);
    EXPECT_EQ(sentence.empty(), code == ZELTRA_DONE);
    return code;
  }
};

class CInterface : public testing::Test {
 protected:
  CInterface() { uvx_.Put(SyntheticUVX().Antennas(3).Sources(2).Channels(2).Times(4).Tables().Bytes()); }

  TempFile uvx_{"uvx"}, out_{"uvx"};
  Host host_;
};

TEST_F(CInterface, DescribesEveryJob) {
  int jobs = 0;
  for (const char* const* name = zeltra_jobs(); *name; ++name, ++jobs) {
    const json job = json::parse(zeltra_job_json(*name));
    EXPECT_EQ(job["name"], *name);
    EXPECT_FALSE(job["summary"].get<std::string>().empty());
  }
  EXPECT_GE(jobs, 26);
  const json average = json::parse(zeltra_job_json("average"));
  EXPECT_EQ(average["outputs"][0]["option"], "output");
  const auto interval = std::find_if(average["options"].begin(), average["options"].end(),
                                     [](const json& option) { return option["name"] == "interval"; });
  EXPECT_EQ((*interval)["kind"], "real");
  EXPECT_EQ((*interval)["unit"], "s");
  EXPECT_EQ((*interval)["special"], -1.0);
  EXPECT_EQ((*interval)["required"], true);
  EXPECT_EQ(average["columns"][1]["type"], "int64");
  EXPECT_EQ(zeltra_job_json("plot"), nullptr);
  EXPECT_EQ(zeltra_job_json(nullptr), nullptr);
  // Only the command draws pictures.
  EXPECT_EQ(json::parse(zeltra_job_json("image"))["outputs"].size(), 3u);
}

TEST_F(CInterface, DeliversTablesInBlocks) {
  ASSERT_EQ(host_.Run("closure", {uvx_.c_str()}, {}, {"interval=-1", "source=2", "if=1"}), ZELTRA_DONE)
      << host_.sentence;
  EXPECT_THAT(host_.names,
              ElementsAre("time", "source", "stokes", "if", "channel", "ant1", "ant2", "ant3", "phase", "sigma"));
  EXPECT_EQ(host_.units[0], "JD");
  ASSERT_EQ(host_.rows.size(), 4u);
  const std::vector<std::string>& row = host_.rows[0];
  // The mean of two polarisations and two channels of one IF.
  EXPECT_THAT(std::vector(row.begin() + 1, row.begin() + 8), ElementsAre("2", "-", "1", "-", "1", "2", "3"));

  Host table;
  ASSERT_EQ(table.Run("table", {uvx_.c_str()}, {}, {"code=SU"}), ZELTRA_DONE) << table.sentence;
  ASSERT_EQ(table.rows.size(), 2u);
  EXPECT_THAT(table.rows[1], testing::Contains("SRC2"));

  Host none;
  EXPECT_EQ(none.Run("records", {uvx_.c_str()}, {}, {"count=0"}), ZELTRA_DONE);
  EXPECT_EQ(none.blocks, 1);
  EXPECT_EQ(none.rows.size(), 0u);
  EXPECT_EQ(none.names[9], "re_1_1_RR");
}

TEST_F(CInterface, MakesFilesAndTellsOfThem) {
  const std::string output = "output=" + out_.path();
  ASSERT_EQ(host_.Run("average", {uvx_.c_str()}, {}, {"interval=20", output.c_str()}), ZELTRA_DONE) << host_.sentence;
  EXPECT_THAT(host_.reports, HasSubstr(out_.path() + ": "));
  EXPECT_EQ(host_.blocks, 0);
  ASSERT_EQ(host_.Run("info", {out_.c_str()}, {}, {}), ZELTRA_DONE);
  EXPECT_EQ(json::parse(host_.text)["sources"].size(), 2u);
  // An output is replaced only if the host says so.
  EXPECT_EQ(host_.Run("copy", {uvx_.c_str()}, {out_.c_str()}, {}), ZELTRA_FAILED);
  EXPECT_THAT(host_.sentence, HasSubstr(out_.path() + ": exists"));
  EXPECT_EQ(host_.Run("copy", {uvx_.c_str()}, {out_.c_str()}, {"force", "scan=1"}), ZELTRA_DONE) << host_.sentence;
}

TEST_F(CInterface, RefusesMisuse) {
  struct Case {
    const char* job;
    std::vector<const char*> inputs, outputs, options;
    const char* sentence;
  };
  const char* uvx = uvx_.c_str();
  const Case cases[] = {
      {"dance", {uvx}, {}, {}, "there is no job dance"},
      {nullptr, {uvx}, {}, {}, "no job is named"},
      {"average", {uvx}, {}, {"interval=30", "robst"}, "average has no option robst"},
      {"average", {uvx}, {}, {"interval=thirty"}, "interval: "},
      {"average", {uvx}, {}, {"interval=1", "interval=2"}, "interval is given twice"},
      {"average", {uvx}, {}, {"interval"}, "interval needs a value"},
      {"average", {uvx}, {}, {"interval=30", ""}, "has no option"},
      {"average", {uvx}, {}, {"interval=30", "mix=all", "stokes=RR"}, "mix excludes stokes"},
      {"average", {uvx}, {}, {"interval=30", "part=1/2"}, "is required"},
      {"average", {uvx}, {}, {}, "interval is required"},
      {"average", {}, {}, {"interval=30"}, "FILE is not named"},
      {"average", {uvx}, {"a.uvx"}, {"interval=30"}, "more files than it takes: a.uvx"},
      {"copy", {uvx, uvx}, {"a.uvx"}, {}, "more files"},
      {"copy", {uvx}, {""}, {}, "OUT.uvx is not named"},
      {"image", {uvx}, {}, {"png=a.png"}, "image has no option png"},
      {"image", {uvx}, {}, {"source=1"}, "OUT.map"},
      {"gains", {uvx}, {}, {}, "task is required"},
  };
  for (const Case& misuse : cases) {
    Host host;
    EXPECT_EQ(host.Run(misuse.job, misuse.inputs, misuse.outputs, misuse.options), ZELTRA_MISUSED) << misuse.sentence;
    EXPECT_THAT(host.sentence, HasSubstr(misuse.sentence));
  }
  EXPECT_EQ(host_.Run("info", {"missing.uvx"}, {}, {}), ZELTRA_FAILED);
  EXPECT_THAT(host_.sentence, HasSubstr("missing.uvx"));
  EXPECT_EQ(zeltra_run_part(nullptr, 1, nullptr, nullptr, 0, nullptr), ZELTRA_MISUSED);
  EXPECT_EQ(zeltra_run_part(uvx_.c_str(), 1, nullptr, nullptr, 0, nullptr), ZELTRA_FAILED) << "is no task";
}

TEST_F(CInterface, TakesNullsAndStructsOfOtherSizes) {
  EXPECT_EQ(zeltra_run("info", nullptr, nullptr, nullptr, nullptr, nullptr, 0, nullptr), ZELTRA_MISUSED);
  const char* inputs[] = {uvx_.c_str(), nullptr};
  EXPECT_EQ(zeltra_run("info", inputs, nullptr, nullptr, nullptr, nullptr, 0, nullptr), ZELTRA_DONE);
  for (const size_t size : {size_t{0}, size_t{3}, sizeof(size_t), sizeof(zeltra_callbacks) + sizeof(size_t)}) {
    zeltra_callbacks callbacks = {};
    callbacks.size = size;
    EXPECT_EQ(zeltra_run("info", inputs, nullptr, nullptr, &callbacks, nullptr, 0, nullptr), ZELTRA_MISUSED) << size;
  }
  // A host whose struct ends after progress: nothing beyond it is read.
  std::vector<char> bytes(offsetof(zeltra_callbacks, block));
  auto* callbacks = reinterpret_cast<zeltra_callbacks*>(bytes.data());
  callbacks->size = bytes.size();
  callbacks->user = &host_;
  callbacks->progress = Host::OnProgress;
  const char* options[] = {"interval=60", nullptr};
  EXPECT_EQ(zeltra_run("average", inputs, nullptr, options, callbacks, nullptr, 0, nullptr), ZELTRA_DONE);
  EXPECT_GT(host_.calls, 0);
}

TEST_F(CInterface, CutsSentencesBetweenCharacters) {
  char whole[100], cut[100];
  size_t needed = 0;
  EXPECT_EQ(zeltra_run("d\xC3\xA4nce", nullptr, nullptr, nullptr, nullptr, whole, sizeof whole, &needed),
            ZELTRA_MISUSED);
  EXPECT_STREQ(whole, "there is no job d\xC3\xA4nce");
  EXPECT_EQ(needed, sizeof "there is no job d\xC3\xA4nce");
  std::memset(cut, 'x', sizeof cut);
  // There is room for the first byte of the umlaut only, so the umlaut is left out.
  zeltra_run("d\xC3\xA4nce", nullptr, nullptr, nullptr, nullptr, cut, sizeof "there is no job d" + 1, nullptr);
  EXPECT_STREQ(cut, "there is no job d");
  EXPECT_EQ(cut[sizeof "there is no job d" + 1], 'x');
  zeltra_run("dance", nullptr, nullptr, nullptr, nullptr, cut, 1, nullptr);
  EXPECT_STREQ(cut, "");
  // Bytes that are not UTF-8 are replaced.
  zeltra_run("d\xFFn\nce", nullptr, nullptr, nullptr, nullptr, cut, sizeof cut, nullptr);
  EXPECT_STREQ(cut, "there is no job d\xEF\xBF\xBDn?ce");
}

TEST_F(CInterface, CallbacksCancel) {
  host_.cancelsProgress = true;
  EXPECT_EQ(host_.Run("simulate", {}, {out_.c_str()}, {"minutes=600"}), ZELTRA_CANCELLED);
  EXPECT_FALSE(out_.exists());
  Host blocks;
  blocks.cancelsBlock = true;
  EXPECT_EQ(blocks.Run("records", {uvx_.c_str()}, {}, {}), ZELTRA_CANCELLED);
  EXPECT_EQ(blocks.Run("average", {uvx_.c_str()}, {}, {"interval=-1"}), ZELTRA_CANCELLED);
  EXPECT_EQ(blocks.Run("table", {uvx_.c_str()}, {}, {"code=AN"}), ZELTRA_CANCELLED);
  EXPECT_EQ(blocks.blocks, 3);
  const TempFile flagged("uvx");
  EXPECT_EQ(blocks.Run("flag", {uvx_.c_str()}, {flagged.c_str()}, {"clip=1e9"}), ZELTRA_DONE);
  EXPECT_TRUE(flagged.exists());
  // An exception in a callback of a C++ host only cancels the job.
  Host throwing;
  throwing.inProgress = [] { throw 1; };
  EXPECT_EQ(throwing.Run("simulate", {}, {out_.c_str()}, {"minutes=600"}), ZELTRA_CANCELLED);
}

TEST_F(CInterface, JobsRunAtOnceAndWithinEachOther) {
  const auto run = [this](int minutes) {
    Host host;
    TempFile made("uvx");
    const std::string length = "minutes=" + std::to_string(minutes);
    EXPECT_EQ(host.Run("simulate", {}, {made.c_str()}, {length.c_str()}), ZELTRA_DONE) << host.sentence;
    EXPECT_EQ(host.Run("closure", {made.c_str()}, {}, {"interval=60"}), ZELTRA_DONE) << host.sentence;
    return host.rows.size();
  };
  const size_t few = run(2), more = run(4);
  EXPECT_GT(more, few);
  size_t first = 0, second = 0;
  std::thread one([&] { first = run(2); }), other([&] { second = run(4); });
  one.join();
  other.join();
  EXPECT_EQ(first, few);
  EXPECT_EQ(second, more);
  size_t within = 0;
  host_.inProgress = [&] { within = within == 0 ? run(2) : within; };
  EXPECT_EQ(host_.Run("info", {uvx_.c_str()}, {}, {}), ZELTRA_DONE);
  EXPECT_EQ(within, few);
}

}  // namespace
}  // namespace zeltra::test
