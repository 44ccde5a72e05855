// SPDX-License-Identifier: MIT
#include <algorithm>
#include <optional>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/FrequencyAveragerInternal.h"
#include "zeltra/ops/FrequencyMeansInternal.h"
#include "zeltra/ops/FrequencyTablesInternal.h"
#include "zeltra/ops/IFColumnsInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

class Averager {
 public:
  Averager(AUVXInput& from, const std::string& to, const JobOptions& options, const FrequencyAverage& average,
           const AUVXTable& setups, CopySummary& summary)
      : from_(from),
        to_(to),
        options_(options),
        average_(average),
        setups_(setups),
        summary_(summary),
        integrations_(from.contents().integrations()),
        means_(average.change, from.uvx().stokes(), average.needsAll),
        room_(static_cast<size_t>(means_.count())) {}

  AResult Run();

 private:
  AResult AverageRecord(const WalkedRecord& record);
  AResult CopyTables();

  AUVXInput& from_;
  const std::string to_;
  const JobOptions options_;
  const FrequencyAverage& average_;
  const AUVXTable& setups_;
  CopySummary& summary_;
  AUVXIntegrationCursor integrations_;
  RecordChoice choice_;
  FrequencyMeans means_;
  std::vector<AUVXComplex> room_;  // for the means of a record
  AUVXWriter writer_;
  std::optional<KeptScans> scans_;
};

AResult Averager::Run() {
  if (AResult result = choice_.Open(from_, average_.selection); !result) return result;
  AUVXHeader header(from_.uvx());
  average_.change.Change(header, &setups_);
  AResult result = writer_.Create(to_, header, options_, from_.path());
  if (!result) return result;
  scans_.emplace(from_, writer_, 0);
  SendProgressText(options_.progress, "Averaging...");
  AResult averaged = AResult::Ok();
  result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    averaged = AverageRecord(record);
    return static_cast<bool>(averaged);
  });
  if (!averaged) return averaged;
  if (!result) return result;
  if (writer_.records() == 0 && from_.uvx().count() > 0) return choice_.NothingSelected(from_, options_);
  if (result = CopyTables(); !result) return result;
  summary_.records = writer_.records();
  return writer_.Finish();
}

AResult Averager::AverageRecord(const WalkedRecord& record) {
  if (!choice_.Takes(record.group, record.index)) return AResult::Ok();
  writer_.SetIntegration(integrations_.Stored(record.index));
  scans_->Enter(record.index);
  means_.Take(record.values, room_.data());
  return writer_.Append(record.group, room_.data());
}

AResult Averager::CopyTables() {
  FrequencyTables tables(average_.change, from_.uvx().freq0(), &setups_);
  AResult result = zeltra::CopyTables(from_, writer_, average_.command, [&](AUVXTable& table) {
    if (!average_.selection.sources.empty()) DropUnusedRows(table, writer_.baseLines());
    if (table.Code() == "FQ") KeepSetups(table, average_.setups);
    return tables.Change(table);
  });
  for (std::string& remark : tables.Remarks()) summary_.remarks.push_back(std::move(remark));
  for (std::string remark : {means_.Remark(), means_.NotFiniteRemark(), scans_->Remark()}) {
    if (!remark.empty()) summary_.remarks.push_back(std::move(remark));
  }
  return result;
}

}  // namespace

AResult OpenSetups(AUVXInput& from, std::unique_ptr<AUVXTable>& setups) {
  const AUVXFile& uvx = from.uvx();
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = from.CheckRecordSize(); !result) return result;
  if (uvx.stokes() < 1 || uvx.channels() < 1) return AResult::Fail(from.path() + ": its records hold no values");
  setups = from.Table("FQ");
  if (!setups || setups->rows() == 0) {
    return AResult::Fail(from.path() + ": has no table FQ, so that the frequencies of its channels are not known");
  }
  if (FillsRows(*setups)) return AResult::Ok();
  return AResult::Fail(from.path() + ": the columns of its table FQ do not fill the rows");
}

void KeepSetups(AUVXTable& setups, const std::vector<int>& numbers) {
  if (numbers.empty()) return;
  const SetupFrequencies frequencies(setups);
  AArray<int> rows;
  for (int row = 0; row < setups.rows(); ++row) {
    if (!std::binary_search(numbers.begin(), numbers.end(), frequencies.Id(row))) rows.Add(row);
  }
  if (rows.count() > 0) setups.DeleteRows(rows);
}

AResult AverageFrequencies(AUVXInput& from, const std::string& to, const JobOptions& options,
                           const FrequencyAverage& average, const AUVXTable& setups, CopySummary& summary) {
  return Averager(from, to, options, average, setups, summary).Run();
}

}  // namespace zeltra
