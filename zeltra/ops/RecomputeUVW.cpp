// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecomputeUVW.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/FinishedCopyInternal.h"
#include "zeltra/readers/AWork2UVX.h"
#include "zeltra/readers/CalculateUVW.h"

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

class UVWCopy : public AWork2UVX {
 public:
  UVWCopy(AUVXInput& from, AUVXFile& to, const UVWOptions& options, FinishedCopy& finish, UVWDifference& difference)
      : AWork2UVX(&from.uvx(), &to, options.progress, nullptr),
        cancel_(options.cancel),
        path_(from.path()),
        rotate_(options.rotate),
        finish_(finish),
        difference_(difference),
        contents_(from),
        antennas_(*from.Table("AN")) {}

  int IsCancel() override { return !problem_.empty() || IsSet(cancel_); }
  int Working(AUVXGroup& group, AUVXVisibility& vis, int index) override;

  /// What is missing for a record; empty if nothing is.
  const std::string& problem() const { return problem_; }
  void FinishDifference();

 private:
  int PlaceOf(int8_t antenna, int index);
  AUVXSourceItem* SourceOf(const AUVXGroup& group, int index);
  void Compare(const AUVXGroup& before, const AUVXGroup& after);

  struct Apparent {
    double day = 0;  // that the coordinates are of
    AUVXSourceItem item;
  };

  const ACancelFlag* cancel_;
  const std::string path_;
  const bool rotate_;
  FinishedCopy& finish_;
  UVWDifference& difference_;
  const AUVXContents contents_;
  AUVXAntenns antennas_;
  std::map<int, Apparent> sources_;
  std::string problem_;
};

int UVWCopy::Working(AUVXGroup& group, AUVXVisibility&, int index) {
  finish_.CountRead();
  const AUVXGroup before = group;
  const int first = PlaceOf(group.ant1, index);
  const int second = PlaceOf(group.ant2, index);
  AUVXSourceItem* source = SourceOf(group, index);
  if (!problem_.empty()) return 0;
  CalculateUVW(group, antennas_, first, second, *source, rotate_);
  Compare(before, group);
  finish_.Register(group);
  return 1;
}

int UVWCopy::PlaceOf(int8_t antenna, int index) {
  const int number = static_cast<uint8_t>(antenna);
  const int place = antennas_.IndexForID(number);
  if (place < 0 && problem_.empty()) {
    problem_ = path_ + ": antenna " + std::to_string(number) + " of record " + std::to_string(index) +
               " is not in its table AN";
  }
  return place;
}

AUVXSourceItem* UVWCopy::SourceOf(const AUVXGroup& group, int index) {
  const int place = contents_.sources().IndexForID(group.sourceNo());
  if (place < 0) {
    if (problem_.empty()) {
      problem_ = path_ + ": source " + std::to_string(group.sourceNo()) + " of record " + std::to_string(index) +
                 " is not in its table SU";
    }
    return nullptr;
  }
  Apparent& apparent = sources_[group.sourceNo()];
  const double day = std::floor(group.date);
  if (apparent.day != day) {
    apparent.day = day;
    apparent.item = contents_.sources()(place);
    if (apparent.item.epoch < 0) Precess(apparent.item, group.date);
  }
  return &apparent.item;
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

AResult Recompute(AUVXInput& from, AUVXFile& uvx, OutputFile& output, const UVWOptions& options,
                  UVWDifference& difference) {
  FinishedCopy finish(from);
  UVWCopy copy(from, uvx, options, finish, difference);
  SendProgressText(options.progress, "Computing u, v, w...");
  const int done = copy.Run();
  if (!copy.problem().empty()) return AResult::Fail(copy.problem());
  if (!done) return AResult::Cancel(from.path() + ": the job was cancelled");
  if (!output.file().good()) return output.WriteError();
  if (AResult result = finish.Check(); !result) return result;
  copy.FinishDifference();
  finish.WriteIndex(uvx);
  if (!output.file().good()) return output.WriteError();
  uvx.Close();
  return output.Commit();
}

}  // namespace

AResult RecomputeUVW(AUVXInput& from, const std::string& to, const UVWOptions& options, UVWDifference& difference) {
  difference = UVWDifference();
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = from.CheckRecordSize(); !result) return result;
  for (const char* code : {"AN", "SU"}) {
    if (!from.Table(code)) return AResult::Fail(from.path() + ": has no table " + code);
  }
  OutputFile output;
  if (AResult result = output.Create(to, options.overwrite, from.path()); !result) return result;
  AUVXFile uvx;
  if (!uvx.Attach(&output.file(), 1, 0)) return output.WriteError();
  AResult result = Recompute(from, uvx, output, options, difference);
  // Closing a UVX file declares it whole, so a job that ends early takes the file away first.
  if (!result) output.Discard();
  return result;
}

}  // namespace zeltra
