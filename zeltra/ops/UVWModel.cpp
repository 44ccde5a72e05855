// SPDX-License-Identifier: MIT
#include "zeltra/ops/UVWModelInternal.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

// The right frame is off only by what precession omits, some 1e-4, and by what averaging did to the coordinates; a
// wrong one is off by whole baselines.
constexpr double kWorstFit = 0.01;
// Frames whose fits differ by less than this ratio are told apart by what the file says about them: antennas on an
// east-west line look the same with either handedness.
constexpr double kTie = 1.05;
constexpr int kStretches = 64, kRecordsOfStretch = 32;

// Sums of squares over a sample of records.
struct Misfit {
  UVWModel model;
  double uv = 0, w = 0;  // of the differences

  double Relative(double given, bool hasW) const { return std::sqrt((uv + (hasW ? w : 0)) / given); }
};

// The longitude of an array, radians: of its centre, or, if positions are geocentric, of the antennas' mean position.
double LongitudeOf(const AUVXAntenns& antennas) {
  double x = antennas.ArrayX(), y = antennas.ArrayY();
  for (int i = 0; i < antennas.count() && antennas.ArrayX() == 0 && antennas.ArrayY() == 0; ++i) {
    x += antennas(i).x;
    y += antennas(i).y;
  }
  return std::atan2(y, x);
}

// All frames, starting with the one that the antenna table states.
std::vector<UVWFrame> Frames(const AUVXContents& contents) {
  const AUVXAntenns& antennas = contents.antennas();
  const bool isRelative = antennas.ArrayX() != 0 || antennas.ArrayY() != 0;
  std::vector<UVWFrame> frames;
  for (const bool isLeft : {!antennas.IsRight(), antennas.IsRight()}) {
    for (const bool isLocal : {isRelative, !isRelative}) {
      for (const bool isOfDate : {true, false}) frames.push_back({isLeft, isLocal, isOfDate});
    }
  }
  return frames;
}

}  // namespace

std::string UVWFrame::Text() const {
  return std::string(isLocal ? "local" : "geocentric") + (isLeftHanded ? " left-handed" : " right-handed") +
         " antenna positions, sources " + (isOfDate ? "of date" : "at their equinox");
}

UVWModel::UVWModel(const AUVXContents& contents, const UVWFrame& frame)
    : contents_(contents), frame_(frame), antennas_(256), isListed_(256) {
  const AUVXAntenns& list = contents.antennas();
  const double longitude = frame.isLocal ? LongitudeOf(list) : 0;
  const double c = std::cos(longitude), s = std::sin(longitude);
  // Backwards, so that the first antenna with a number counts.
  for (int i = list.count(); i-- > 0;) {
    const AUVXTlscItem& antenna = list(i);
    if (antenna.id < 0 || antenna.id > 255) continue;
    const double x = antenna.x / kSpeedOfLight, y = (frame.isLeftHanded ? -antenna.y : antenna.y) / kSpeedOfLight;
    antennas_[static_cast<size_t>(antenna.id)] = {c * x - s * y, s * x + c * y, antenna.z / kSpeedOfLight};
    isListed_[static_cast<size_t>(antenna.id)] = true;
  }
}

// The position of a record's source: the apparent one in the table, or, if a negative equinox marks it as that of the
// equinox, the same precessed to the day of the record.
const ASkyPosition* UVWModel::PositionOf(const AUVXGroup& group) {
  DatedSource& dated = sources_[group.sourceNo()];
  const double day = std::floor(group.date);
  if (dated.day == day) return &dated.position;
  const int place = contents_.sources().IndexForID(group.sourceNo());
  if (place < 0) return nullptr;
  const AUVXSourceItem& source = contents_.sources()(place);
  const SkyPosition mean = contents_.PositionOf(source);
  dated.day = day;
  dated.position = {mean.ra * kRadiansPerDegree, mean.dec * kRadiansPerDegree};
  if (!frame_.isOfDate) return &dated.position;
  if (source.epoch < 0) {
    dated.position = Precessed(dated.position, JulianDateOfEquinox(mean.equinox), group.date);
  } else {
    dated.position = {source.raApp * kRadiansPerDegree, source.decApp * kRadiansPerDegree};
  }
  return &dated.position;
}

bool UVWModel::Compute(const AUVXGroup& group, AVector& uvw) {
  const size_t one = static_cast<uint8_t>(group.ant1), two = static_cast<uint8_t>(group.ant2);
  const ASkyPosition* source = PositionOf(group);
  if (!source || !isListed_[one] || !isListed_[two]) return false;
  const AVector &a = antennas_[one], &b = antennas_[two];
  const UVWProjection project(SiderealTime(group.date) - source->ra, source->dec);
  uvw = project({a.x - b.x, a.y - b.y, a.z - b.z});
  return true;
}

AResult UVWModel::Missing(const std::string& path, const WalkedRecord& record) const {
  const AUVXGroup& group = record.group;
  const auto is = [&](const std::string& what, int number, const char* table) {
    return AResult::Fail(path + ": " + what + " " + std::to_string(number) + " of record " +
                         std::to_string(record.index + 1) + " is not in its table " + table);
  };
  if (contents_.sources().IndexForID(group.sourceNo()) < 0) return is("source", group.sourceNo(), "SU");
  const int one = static_cast<uint8_t>(group.ant1), two = static_cast<uint8_t>(group.ant2);
  return is("antenna", isListed_[static_cast<size_t>(one)] ? two : one, "AN");
}

AResult FindUVWFrame(AUVXInput& from, UVWFrame& frame) {
  std::vector<Misfit> misfits;
  for (const UVWFrame& candidate : Frames(from.contents())) misfits.push_back({UVWModel(from.contents(), candidate)});
  double uv = 0, w = 0;
  AResult missing = AResult::Ok();
  const auto compare = [&](const WalkedRecord& record) {
    const AUVXGroup& group = record.group;
    if (!std::isfinite(group.u() + group.v() + group.w())) return true;
    for (Misfit& misfit : misfits) {
      AVector made = {};
      if (!misfit.model.Compute(group, made)) {
        missing = misfit.model.Missing(from.path(), record);
        return false;
      }
      misfit.uv += std::pow(made.x - group.u(), 2) + std::pow(made.y - group.v(), 2);
      misfit.w += std::pow(made.z - group.w(), 2);
    }
    uv += std::pow(group.u(), 2) + std::pow(group.v(), 2);
    w += std::pow(group.w(), 2);
    return true;
  };
  const int count = from.uvx().count(), step = std::max(count / kStretches, kRecordsOfStretch);
  for (int64 first = 0; first < count; first += step) {
    const int end = static_cast<int>(std::min<int64>(first + kRecordsOfStretch, count));
    if (AResult result = WalkRecords(from, {}, static_cast<int>(first), end, compare); !result) return result;
    if (!missing) return missing;
  }
  if (!(uv > 0)) return AResult::Fail(from.path() + ": has no u, v to show how its antenna positions are to be read");
  // Some programs leave w at 0.
  const double given = uv + w;
  double least = std::numeric_limits<double>::infinity();
  for (const Misfit& misfit : misfits) {
    // NaN, from positions that are not numbers, is not less than anything.
    if (const double relative = misfit.Relative(given, w > 0); relative < least) least = relative;
  }
  if (std::isinf(least))
    return AResult::Fail(from.path() + ": the positions of its antennas or sources are no numbers");
  const auto fits = [&](const Misfit& misfit) { return misfit.Relative(given, w > 0) <= least * kTie; };
  const Misfit& best = *std::find_if(misfits.begin(), misfits.end(), fits);
  frame = best.model.frame();
  if (least <= kWorstFit) return AResult::Ok();
  return AResult::Fail(from.path() + ": its u, v, w do not follow from its antennas, sources and times; what comes " +
                       "nearest, " + frame.Text() + ", is off by " + RoundedNumber(100 * least, 2) +
                       " % of their root mean square");
}

}  // namespace zeltra
