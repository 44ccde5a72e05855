// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecomputeUVW.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "zeltra/core/Units.h"
#include "zeltra/numeric/Astrometry.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/readers/CalculateUVW.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Make the apparent coordinates, which are those of the source's epoch, those of the mean equinox of a date.
void Precess(AUVXSourceItem& source, double julianDate) {
  const ASkyPosition given = {source.raApp * kRadiansPerDegree, source.decApp * kRadiansPerDegree};
  const ASkyPosition turned = Precessed(given, JulianDateOfEquinox(std::fabs(source.epoch)), julianDate);
  source.raApp = turned.ra / kRadiansPerDegree;
  source.decApp = turned.dec / kRadiansPerDegree;
}

class UVWCopy {
 public:
  UVWCopy(AUVXInput& from, const UVWOptions& options, UVWDifference& difference)
      : from_(from),
        options_(options),
        difference_(difference),
        contents_(from.contents()),
        antennas_(*from.Table("AN")) {}

  AResult Run(const std::string& to);

 private:
  AResult CopyRecord(const WalkedRecord& record);
  AResult Missing(const std::string& what, int number, int record, const char* table) const;
  AUVXSourceItem& Apparent(const AUVXGroup& group, int place);
  void Compare(const AUVXGroup& before, const AUVXGroup& after);
  void FinishDifference();

  struct ApparentSource {
    double day = 0;  // that the coordinates are of
    AUVXSourceItem item;
  };

  AUVXInput& from_;
  const UVWOptions& options_;
  UVWDifference& difference_;
  const AUVXContents& contents_;
  AUVXAntenns antennas_;
  std::map<int, ApparentSource> sources_;
  AUVXWriter writer_;
};

AResult UVWCopy::Run(const std::string& to) {
  AResult result = writer_.Create(to, AUVXHeader(from_.uvx()), options_, from_.path());
  if (!result) return result;
  SendProgressText(options_.progress, "Computing u, v, w...");
  AResult copied = AResult::Ok();
  result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    copied = CopyRecord(record);
    return static_cast<bool>(copied);
  });
  if (!copied) return copied;
  if (!result) return result;
  FinishDifference();
  result = CopyTables(from_, writer_, [&](AUVXTable& table) { DropUnusedRows(table, writer_.baseLines()); });
  return result ? writer_.Finish() : result;
}

AResult UVWCopy::CopyRecord(const WalkedRecord& record) {
  AUVXGroup group = record.group;
  int places[2];
  for (int i = 0; i < 2; ++i) {
    const int antenna = static_cast<uint8_t>(i == 0 ? group.ant1 : group.ant2);
    places[i] = antennas_.IndexForID(antenna);
    if (places[i] < 0) return Missing("antenna", antenna, record.index, "AN");
  }
  const int source = contents_.sources().IndexForID(group.sourceNo());
  if (source < 0) return Missing("source", group.sourceNo(), record.index, "SU");
  CalculateUVW(group, antennas_, places[0], places[1], Apparent(group, source), options_.rotate);
  Compare(record.group, group);
  return writer_.Append(group, record.values);
}

AResult UVWCopy::Missing(const std::string& what, int number, int record, const char* table) const {
  return AResult::Fail(from_.path() + ": " + what + " " + std::to_string(number) + " of record " +
                       std::to_string(record + 1) + " is not in its table " + table);
}

AUVXSourceItem& UVWCopy::Apparent(const AUVXGroup& group, int place) {
  ApparentSource& apparent = sources_[group.sourceNo()];
  const double day = std::floor(group.date);
  if (apparent.day != day) {
    apparent.day = day;
    apparent.item = contents_.sources()(place);
    if (apparent.item.epoch < 0) Precess(apparent.item, group.date);
  }
  return apparent.item;
}

void UVWCopy::Compare(const AUVXGroup& before, const AUVXGroup& after) {
  const double distances[] = {after.u() - before.u(), after.v() - before.v(), after.w() - before.w()};
  const double squares = distances[0] * distances[0] + distances[1] * distances[1] + distances[2] * distances[2];
  if (!std::isfinite(squares)) return;
  ++difference_.records;
  for (int i = 0; i < 3; ++i) {
    difference_.largest[i] = std::max(difference_.largest[i], std::fabs(distances[i]));
    difference_.rms[i] += distances[i] * distances[i];
  }
  difference_.longest = std::max(difference_.longest, std::hypot(after.u(), after.v(), after.w()));
}

void UVWCopy::FinishDifference() {
  for (double& rms : difference_.rms) rms = difference_.records > 0 ? std::sqrt(rms / difference_.records) : 0;
}

}  // namespace

AResult RecomputeUVW(AUVXInput& from, const std::string& to, const UVWOptions& options, UVWDifference& difference) {
  difference = UVWDifference();
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = from.CheckRecordSize(); !result) return result;
  for (const char* code : {"AN", "SU"}) {
    if (!from.Table(code)) return AResult::Fail(from.path() + ": has no table " + code);
  }
  return UVWCopy(from, options, difference).Run(to);
}

}  // namespace zeltra
