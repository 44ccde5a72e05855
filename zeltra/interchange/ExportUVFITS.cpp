// SPDX-License-Identifier: MIT
#include "zeltra/interchange/ExportUVFITS.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/BlockReaderInternal.h"
#include "zeltra/core/BlockWriterInternal.h"
#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/fits/FITSHeaderWriterInternal.h"
#include "zeltra/interchange/InputKindInternal.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXGroupInternal.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXHeaderCards.h"
#include "zeltra/uvx/AUVXIntegrations.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {
namespace {

constexpr int kBytesPerStep = 12 * 1024;

// Split a time, relative to the zero of the first DATE parameter, into two floats whose sum in double precision is the
// time of the record: whole hundredths of a day, and the remainder.
void SplitTime(double time, double zero, float& first, float& second) {
  double hundredths = std::trunc((time - zero) * 100.0);
  for (int step = 0; step < 2; ++step) {
    first = static_cast<float>(hundredths * 0.01);
    const double rest = time - (static_cast<double>(first) + zero);
    second = static_cast<float>(rest);
    // Close to the next hundredth, the remainder may need a 25th bit; counted back from that hundredth, it does not.
    if (static_cast<double>(second) == rest) return;
    hundredths += 1.0;
  }
}

// Header cards and integration times are exported elsewhere. Baselines name no subarray, so the index names none
// either.
bool IsExported(AUVXTable& table) {
  const int subarray = table.Code() == "NX" ? table.FindColumn("SUBARRAY") : -1;
  for (int row = 0; row < table.rows() && subarray >= 0; ++row) {
    if (table.Number(row, subarray) > 1) table.SetNumber(row, subarray, 0, 1);
  }
  return !AUVXTable::IsProvenance(table.ID());
}

class Exporter {
 public:
  Exporter(const std::string& from, const std::string& to, const JobOptions& options)
      : from_(from), to_(to), options_(options) {}
  AResult Run();

 private:
  AResult Export();
  enum class Pass { Whole, ParameterMissing, Stopped };

  void ReadProvenance();
  AResult WriteHeader();
  Pass WriteGroups(AResult& result);
  bool LacksParameter(const AUVXGroup& group);
  ParameterForm FormOf(const AUVXGroup& group) const;
  bool CopyValues(BlockReader& reader, BlockWriter& writer) const;

  const std::string from_, to_;
  const JobOptions options_;
  AInputFile input_;
  AUVXFile uvx_;
  OutputFile output_;
  char firstCard_[kFITSCard] = {};
  double dateZero_ = 0;
  AUVXFITSForm form_;
  AUVXHeaderCards cards_;
  AUVXIntegrations integrations_;
};

AResult Exporter::Run() {
  SendProgressRange(options_.progress);
  if (const std::string sentence = WhyNoInput(from_); !sentence.empty()) return AResult::Fail(from_ + ": " + sentence);
  AResult result = input_.Open(from_);
  if (!result) return result;
  if (const std::string sentence = WhyNoInput(input_); !sentence.empty()) return AResult::Fail(from_ + ": " + sentence);
  result = Export();
  return result ? result : input_.Settle(result);
}

AResult Exporter::Export() {
  if (!uvx_.Attach(&input_, 0, 0)) {
    return AResult::Fail(from_ + ": not a UVX file, or one whose writer did not finish");
  }
  if (uvx_.HeldRecords() < uvx_.count()) {
    return AResult::Fail(from_ + ": holds " + std::to_string(uvx_.HeldRecords()) + " of the " +
                         std::to_string(uvx_.count()) + " records that its header promises");
  }
  if (AResult result = output_.Create(to_, options_, from_); !result) return result;
  const AUVXHeader header(uvx_);
  if (uvx_.channels() < 1 || header.stokes.count() < 1) return AResult::Fail(from_ + ": its records hold no values");
  dateZero_ = std::isfinite(header.info.dateObs) ? double{header.info.dateObs} : 0;
  form_.withSourceAndFreqSel = uvx_.NeedsSourceAndFreqSel();
  ReadProvenance();

  AResult result = AResult::Ok();
  Pass pass = Pass::ParameterMissing;
  while (pass == Pass::ParameterMissing) {
    if (result = WriteHeader(); !result) return result;
    pass = WriteGroups(result);
  }
  if (!result) return result;
  CheckedFile& file = output_.file();
  if (!PadFITSData(file, file.Tell())) return output_.WriteError();
  if (!uvx_.ToFITSTables(file, IsExported)) {
    return file.good() ? AResult::Fail(from_ + ": a table is damaged") : output_.WriteError();
  }
  if (result = input_.Check(); !result) return result;
  if (result = output_.Sync(); !result) return result;
  if (!file.Seek(0) || !file.Write(firstCard_, kFITSCard)) return output_.WriteError();
  return output_.Commit();
}

// A damaged table fails later, when all tables are written.
void Exporter::ReadProvenance() {
  if (const std::unique_ptr<AUVXTable> cards(uvx_.GetTable("HD")); cards) cards_ = AUVXHeaderCards(*cards);
  if (const std::unique_ptr<AUVXTable> times(uvx_.GetTable("IT")); times) {
    integrations_ = AUVXIntegrations(*times, uvx_.count());
  }
  cards_.AddHistory(ExportDescription().Command(options_));
  form_.cards = &cards_;
  form_.withIntegration = integrations_.IsKnown();
}

// The first card is written last: without it, no program mistakes what a killed export leaves for a FITS file.
AResult Exporter::WriteHeader() {
  CheckedFile& file = output_.file();
  if (!file.Seek(0) || !uvx_.ToFITSHeader(file, form_)) {
    return file.good() ? AResult::Fail(from_ + ": its polarisations do not form an axis of constant steps")
                       : output_.WriteError();
  }
  const int64 dataStart = file.Tell();
  char nothing[kFITSCard] = {};
  const bool written = file.Seek(0) && ReadWhole(file, firstCard_, kFITSCard) && file.Seek(0) &&
                       file.Write(nothing, kFITSCard) && file.Seek(dataStart);
  return written && file.good() ? AResult::Ok() : output_.WriteError();
}

Exporter::Pass Exporter::WriteGroups(AResult& result) {
  SendProgressText(options_.progress, "Writing data into output file...");
  BlockReader reader(input_);
  BlockWriter writer(output_.file(), options_.threads);
  reader.Seek(uvx_.DataOffset());
  AUVXIntegrationCursor integrations(integrations_);
  int lastPercent = -1;
  for (int i = 0; i < uvx_.count(); ++i) {
    if (IsCancelled(options_)) {
      result = AResult::Cancel(to_ + ": the export was cancelled");
      return Pass::Stopped;
    }
    char* record = reader.Next(sizeof(AUVXGroup));
    AUVXGroup group;
    if (record) group.load(record);
    if (record && LacksParameter(group)) return Pass::ParameterMissing;
    ParameterForm form = FormOf(group);
    form.integration = integrations.Stored(i);
    float parameters[10];
    const int bytes = EncodeParameters(group, form, parameters);
    char* to = record ? writer.Reserve(bytes) : nullptr;
    if (to) std::memcpy(to, parameters, static_cast<size_t>(bytes));
    if (!to || !CopyValues(reader, writer)) {
      writer.Clear();  // the file is the writer's until its buffer is empty
      result = output_.file().good() ? AResult::Fail(from_ + ": cannot be read in record " + std::to_string(i + 1))
                                     : output_.WriteError();
      return Pass::Stopped;
    }
    SendProgress(options_.progress, i + 1, uvx_.count(), lastPercent);
  }
  if (!writer.Flush()) result = output_.WriteError();
  return result ? Pass::Whole : Pass::Stopped;
}

// Whether a record needs a parameter that the header does not have yet: the tables promised a single source and setup,
// and no table mentions flags. The parameter is then added and the export starts again.
bool Exporter::LacksParameter(const AUVXGroup& group) {
  const bool source = group.source != 1 || group.frqsel != 1, flag = group.flag != 0;
  const bool lacks = (source && !form_.withSourceAndFreqSel) || (flag && !form_.withFlag);
  form_.withSourceAndFreqSel |= source;
  form_.withFlag |= flag;
  return lacks;
}

ParameterForm Exporter::FormOf(const AUVXGroup& group) const {
  ParameterForm form = {};
  form.baseline = static_cast<float>(static_cast<uint8_t>(group.ant1) * 256 + static_cast<uint8_t>(group.ant2));
  SplitTime(group.date, dateZero_, form.date1, form.date2);
  form.withSourceAndFreqSel = form_.withSourceAndFreqSel;
  form.withFlag = form_.withFlag;
  form.withIntegration = form_.withIntegration;
  return form;
}

bool Exporter::CopyValues(BlockReader& reader, BlockWriter& writer) const {
  for (int left = uvx_.recSize() - static_cast<int>(sizeof(AUVXGroup)); left > 0;) {
    const int bytes = std::min(left, kBytesPerStep);
    const char* from = reader.Next(bytes);
    char* to = from ? writer.Reserve(bytes) : nullptr;
    if (!to) return false;
    Swap32(to, from, static_cast<size_t>(bytes) / 4);
    left -= bytes;
  }
  return true;
}

}  // namespace

AResult ExportUVFITS(const std::string& from, const std::string& to, const JobOptions& options) {
  return Exporter(from, to, options).Run();
}

}  // namespace zeltra
