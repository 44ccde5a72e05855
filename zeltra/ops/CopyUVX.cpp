// SPDX-License-Identifier: MIT
#include "zeltra/ops/CopyUVX.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/CopyPartInternal.h"
#include "zeltra/ops/FrequencyTablesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

bool HasValid(const AUVXVisibility& values) {
  const AUVXComplex* begin = values.lpArray();
  return std::any_of(begin, begin + values.count(), [](const AUVXComplex& value) { return value.weight > 0; });
}

class Copier {
 public:
  Copier(AUVXInput& from, const std::string& to, const CopyOptions& options, std::string command, CopySummary& summary)
      : from_(from),
        to_(to),
        options_(options),
        command_(std::move(command)),
        summary_(summary),
        integrations_(from.contents().integrations()) {}

  AResult Run();

 private:
  AResult Create();
  AResult CopyRecord(const WalkedRecord& record);
  AResult CopyTables();

  AUVXInput& from_;
  const std::string to_;
  const CopyOptions options_;
  const std::string command_;
  CopySummary& summary_;
  AUVXIntegrationCursor integrations_;
  RecordChoice choice_;
  ChannelSelection channels_;
  AUVXVisibility read_, kept_;
  AUVXWriter writer_;
  std::optional<KeptScans> scans_;
};

AResult Copier::Run() {
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = choice_.Open(from_, options_.selection); !result) return result;
  if (AResult result = Create(); !result) return result;
  scans_.emplace(from_, writer_, options_.scanGap);
  SendProgressText(options_.progress, "Copying...");
  AResult copied = AResult::Ok();
  AResult result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    copied = CopyRecord(record);
    return static_cast<bool>(copied);
  });
  if (!copied) return copied;
  if (!result) return result;
  if (writer_.records() == 0 && from_.uvx().count() > 0) return choice_.NothingSelected(from_, options_);
  if (result = CopyTables(); !result) return result;
  summary_.records = writer_.records();
  return writer_.Finish();
}

AResult Copier::Create() {
  AUVXHeader header(from_.uvx());
  AResult result = channels_.Open(from_.path(), header, options_.selection.IFs, options_.selection.channels,
                                  options_.selection.stokes);
  if (!result) return result;
  const std::unique_ptr<AUVXTable> setups = from_.Table("FQ");
  if (result = CheckSetups(from_.path(), channels_.Frequencies(), setups.get()); !result) return result;
  read_.GrowBy(from_.uvx());
  if (!channels_.IsWhole()) {
    channels_.Change(header, setups.get());
    kept_.GrowBy(header.IFs, header.channels, std::max(header.stokes.count(), 1));
  }
  return writer_.Create(to_, header, options_, from_.path());
}

AResult Copier::CopyRecord(const WalkedRecord& record) {
  if (!choice_.Takes(record.group, record.index)) return AResult::Ok();
  if (options_.dropFlagged && record.group.flag != 0) return AResult::Ok();
  writer_.SetIntegration(integrations_.Stored(record.index));
  scans_->Enter(record.index);
  if (channels_.IsWhole() && !options_.dropFlagged) return writer_.Append(record.group, record.values);
  std::copy_n(record.values, read_.count(), read_.lpArray());
  if (!channels_.IsWhole()) channels_.Pick(read_, kept_);
  const AUVXVisibility& out = channels_.IsWhole() ? read_ : kept_;
  return options_.dropFlagged && !HasValid(out) ? AResult::Ok() : writer_.Append(record.group, out.lpArray());
}

AResult Copier::CopyTables() {
  FrequencyTables tables(channels_.Frequencies(), from_.uvx().freq0(), from_.Table("FQ").get());
  AResult result = zeltra::CopyTables(from_, writer_, command_, [&](AUVXTable& table) {
    DropUnusedRows(table, writer_.baseLines());
    return tables.Change(table);
  });
  summary_.remarks = tables.Remarks();
  if (!channels_.Frequencies().IsNone() && !from_.Table("FQ")) {
    summary_.remarks.push_back("there is no table FQ, so that the frequencies of what is kept are not known");
  }
  if (const std::string remark = scans_->Remark(); !remark.empty()) summary_.remarks.push_back(remark);
  return result;
}

}  // namespace

AResult CopyPart(AUVXInput& from, const std::string& to, const CopyOptions& options, const std::string& command,
                 CopySummary* summary) {
  CopySummary unseen;
  AResult result = Copier(from, to, options, command, summary ? *summary : unseen).Run();
  return result ? result : from.Settle(result);
}

AResult CopyUVX(AUVXInput& from, const std::string& to, const CopyOptions& options, CopySummary* summary) {
  return CopyPart(from, to, options, CopyDescription().Command(options), summary);
}

}  // namespace zeltra
