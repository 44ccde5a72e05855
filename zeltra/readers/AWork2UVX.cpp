// SPDX-License-Identifier: MIT
#include "zeltra/readers/AWork2UVX.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zeltra/core/CancelFlag.h"
#include "zeltra/readers/AUVXFastRead.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/BaseLineCollectorInternal.h"

namespace zeltra {
namespace {

constexpr size_t kBlockBytes = 0x100000;

// The destination of a run, and what it collects of the records written. Records are written in blocks, the last one
// when the object is destroyed.
class Output {
 public:
  explicit Output(AUVXFile& file) : file_(file) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output() { Flush(); }

  void Write(AUVXGroup& group, AUVXVisibility& vis) {
    group.check(ranges_);
    vis.check(ranges_);
    baselines_.Take(group);
    // The index counts in seconds, but group times, in days, are entered unchanged: the times in the index of a copy
    // are its records' times divided by 86400. Its record numbers, which readers use, are right.
    positions_.CheckUVGroup(group, written_);
    const size_t end = block_.size();
    block_.resize(end + AUVXGroup::kBytes + static_cast<size_t>(vis.count()) * sizeof(AUVXComplex));
    vis.store(group.store(block_.data() + end));
    if (block_.size() >= kBlockBytes) Flush();
    ++written_;
  }

  void FinishHeader(AUVXHeader& header) {
    Flush();
    header.info.count = written_;
    header.range = ranges_;
    file_.Write(header);
  }

  void CopyTables(AUVXFile& source, double dateObs) {
    const std::unique_ptr<AArray<short>> sources(baselines_.list().getSourceMap());
    const AUVXTableHeader directory(source);
    for (int i = 0; i < directory.count(); ++i) {
      const int64 position = directory(i).position;
      source.Seek(position);
      auto table = std::make_unique<AUVXTable>(*source.GetFile());
      // For every table up to its own, the index is shifted by the time of day of the observation date. That date is
      // for 0 h, so the shift is 0.
      positions_.AddStartTime(dateObs);
      Add(std::move(table), *sources);
    }
  }

 private:
  void Flush() {
    if (file_.GetFile()) file_.GetFile()->WriteL(block_.data(), static_cast<int64>(block_.size()));
    block_.clear();
  }

  void Add(std::unique_ptr<AUVXTable> table, AArray<short>& sources) {
    const std::string code = table->Code();
    if (code == "NX") {
      table.reset();  // both may be large
      AddNew(positions_.ToUVXTable());
    } else if (code == "BL") {
      AddNew(baselines_.list().ToUVXTable());
    } else {
      if (code == "AN") {
        const std::unique_ptr<AArray<int>> unused(AUVXAntenns(*table).GetDeleteRows(baselines_.list()));
        table->DeleteRows(*unused);
      } else {
        table->CheckSources(&sources);
      }
      file_.AddTable(*table);
    }
  }

  void AddNew(AUVXTable* table) {
    const std::unique_ptr<AUVXTable> owned(table);
    file_.AddTable(*owned);
  }

  AUVXFile& file_;
  AUVXPosition positions_;
  BaseLineCollector baselines_;
  AUVXMinMax ranges_;
  std::vector<char> block_;
  int written_ = 0;
};

/// Run a skeleton once the header of the destination is written.
/// @param in, out  values read and values written, which may be the same
/// @param work     work(group, index): whether the record, with its values in `out`, is kept
template <typename Skeleton, typename Work>
int Copy(Skeleton& skeleton, AUVXFile& source, AUVXFile& destination, CProgressCtrl* progress, AUVXHeader& header,
         AUVXVisibility& in, AUVXVisibility& out, Work work) {
  Output output(destination);
  AUVXFastRead reader(&source, progress);
  if (!skeleton.Init()) return 0;
  // Init may have read tables of the source.
  source.SeekUVGroup(0);
  destination.SeekUVGroup(0);
  AUVXGroup group;
  int index = 0;
  while (reader.GetUVGVis(group, in, index)) {
    if (skeleton.IsCancel()) return 0;
    if (work(group, index)) output.Write(group, out);
  }
  output.FinishHeader(header);
  output.CopyTables(source, header.info.dateObs);
  return 1;
}

}  // namespace

AWork2UVX::~AWork2UVX() = default;

int AWork2UVX::Init() {
  return 1;
}

int AWork2UVX::IsCancel() {
  return CancelFlag(cancelFlag_);
}

int AWork2UVX::Working(AUVXGroup&, AUVXVisibility&, int) {
  return 1;
}

int AWork2UVX::Run() {
  AUVXHeader header(*source_);
  destination_->Write(header);
  AUVXVisibility vis(*source_);
  return Copy(*this, *source_, *destination_, progress_, header, vis, vis,
              [&](AUVXGroup& group, int index) { return Working(group, vis, index); });
}

AWork2UVX_STChange::~AWork2UVX_STChange() = default;

int AWork2UVX_STChange::Init() {
  return 1;
}

int AWork2UVX_STChange::IsCancel() {
  return CancelFlag(cancelFlag_);
}

int AWork2UVX_STChange::Working(AUVXGroup&, AUVXVisibility&, AUVXVisibility&, int) {
  return 1;
}

void AWork2UVX_STChange::ChangeHeader(AUVXHeader&, AUVXFile*) {}

int AWork2UVX_STChange::Run() {
  AUVXHeader header(*source_);
  ChangeHeader(header, source_);
  destination_->Write(header);
  AUVXVisibility in(*source_);
  AUVXVisibility out(header.IFs, header.channels, std::max(1, header.stokes.count()));
  out.ZeroInit();
  return Copy(*this, *source_, *destination_, progress_, header, in, out,
              [&](AUVXGroup& group, int index) { return Working(group, in, out, index); });
}

}  // namespace zeltra
