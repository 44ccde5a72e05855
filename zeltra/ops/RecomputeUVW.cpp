// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecomputeUVW.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <numbers>

#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/RecordReaderInternal.h"
#include "zeltra/readers/CalculateUVW.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

constexpr double kJ2000 = 2451545.0;         // Julian dates
constexpr double kB1950 = 2433282.42345905;  // the Besselian epoch
constexpr double kDaysPerCentury = 36525.0;

double JulianDateOfEpoch(double epoch) {
  return epoch == 1950 ? kB1950 : kJ2000 + (epoch - 2000) * kDaysPerCentury / 100;
}

// Make the apparent coordinates those of the mean equinox of a date (Lieske et al. 1977, A&A 58, 1, table 5).
void Precess(AUVXSourceItem& source, double julianDate) {
  const double from = JulianDateOfEpoch(std::fabs(source.epoch));
  const double T = (from - kJ2000) / kDaysPerCentury;
  const double t = (julianDate - from) / kDaysPerCentury;
  const double linear = (2306.2181 + (1.39656 - 0.000139 * T) * T) * t;
  const double zeta = (linear + (0.30188 - 0.000344 * T) * t * t + 0.017998 * t * t * t) * kRadiansPerArcsecond;
  const double z = (linear + (1.09468 + 0.000066 * T) * t * t + 0.018203 * t * t * t) * kRadiansPerArcsecond;
  const double theta =
      ((2004.3109 - (0.85330 + 0.000217 * T) * T) * t - (0.42665 + 0.000217 * T) * t * t - 0.041833 * t * t * t) *
      kRadiansPerArcsecond;
  const double ra = source.raApp * kRadiansPerDegree + zeta;
  const double dec = source.decApp * kRadiansPerDegree;
  const double x = std::cos(theta) * std::cos(dec) * std::cos(ra) - std::sin(theta) * std::sin(dec);
  const double y = std::cos(dec) * std::sin(ra);
  const double sine = std::sin(theta) * std::cos(dec) * std::cos(ra) + std::cos(theta) * std::sin(dec);
  source.raApp = (std::atan2(y, x) + z) / kRadiansPerDegree;
  source.decApp = std::asin(std::clamp(sine, -1.0, 1.0)) / kRadiansPerDegree;
}

class UVWCopy {
 public:
  UVWCopy(AUVXInput& from, const UVWOptions& options, UVWDifference& difference)
      : from_(from), options_(options), difference_(difference), contents_(from), antennas_(*from.Table("AN")) {}

  AResult Run(const std::string& to);

 private:
  AResult CopyRecord(const char* record, int index);
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
  const AUVXContents contents_;
  AUVXAntenns antennas_;
  std::map<int, ApparentSource> sources_;
  AUVXWriter writer_;
};

AResult UVWCopy::Run(const std::string& to) {
  AResult result = writer_.Create(to, AUVXHeader(from_.uvx()), options_, from_.path());
  if (!result) return result;
  SendProgressText(options_.progress, "Computing u, v, w...");
  result = VisitRecords(from_, options_, [this](const char* record, int index) { return CopyRecord(record, index); });
  if (!result) return result;
  FinishDifference();
  result = CopyTables(from_, writer_, [&](AUVXTable& table) { DropUnusedRows(table, writer_.baseLines()); });
  return result ? writer_.Finish() : result;
}

AResult UVWCopy::CopyRecord(const char* record, int index) {
  AUVXGroup group;
  std::memcpy(static_cast<void*>(&group), record, AUVXGroup::kBytes);
  const AUVXGroup before = group;
  int places[2];
  for (int i = 0; i < 2; ++i) {
    const int antenna = static_cast<uint8_t>(i == 0 ? group.ant1 : group.ant2);
    places[i] = antennas_.IndexForID(antenna);
    if (places[i] < 0) return Missing("antenna", antenna, index, "AN");
  }
  const int source = contents_.sources().IndexForID(group.sourceNo());
  if (source < 0) return Missing("source", group.sourceNo(), index, "SU");
  CalculateUVW(group, antennas_, places[0], places[1], Apparent(group, source), options_.rotate);
  Compare(before, group);
  return writer_.Append(group, record + AUVXGroup::kBytes);
}

AResult UVWCopy::Missing(const std::string& what, int number, int record, const char* table) const {
  return AResult::Fail(from_.path() + ": " + what + " " + std::to_string(number) + " of record " +
                       std::to_string(record) + " is not in its table " + table);
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
