// SPDX-License-Identifier: MIT
#include "zeltra/ops/ShiftUVX.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/numeric/Astrometry.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/KnownFrequenciesInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

AVector Cross(const AVector& a, const AVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double Product(const AVector& a, const AVector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

// An offset on the sky.
struct Offset {
  double l, m;

  double n() const { return std::sqrt(1 - l * l - m * m); }
  /// n - 1 without loss of digits.
  double nLess1() const { return -(l * l + m * m) / (1 + n()); }
  /// Where a position moves to, degrees.
  void Move(double& ra, double& dec) const;
};

void Offset::Move(double& ra, double& dec) const {
  const double s = std::sin(dec * kRadiansPerDegree), c = std::cos(dec * kRadiansPerDegree);
  const double meridian = n() * c - m * s;
  ra += std::atan2(l, meridian) * kDegreesPerRadian;
  ra -= 360 * std::floor(ra / 360);
  dec = std::atan2(m * c + n() * s, std::hypot(l, meridian)) * kDegreesPerRadian;
}

// Rotates u, v, w from a direction to one at an offset from it: east, north and the new direction in the old frame.
struct Rotation {
  AVector east, north, centre;

  /// @param dec  of the old direction, radians
  Rotation(const Offset& offset, double dec) : centre{offset.l, offset.m, offset.n()} {
    east = Cross({0, std::cos(dec), std::sin(dec)}, centre);
    const double length = std::sqrt(Product(east, east));
    east = length > 0 ? AVector{east.x / length, east.y / length, east.z / length} : AVector{1, 0, 0};
    north = Cross(centre, east);
  }

  void Turn(AUVXGroup& group) const {
    const AVector uvw = {group.u(), group.v(), group.w()};
    group.uu = static_cast<float>(Product(east, uvw));
    group.vv = static_cast<float>(Product(north, uvw));
    group.ww = static_cast<float>(Product(centre, uvw));
  }
};

// The channels of an IF, Hz.
struct ChannelGrid {
  double start, width;
};

class Shifter {
 public:
  Shifter(AUVXInput& from, const ShiftOptions& options, ShiftSummary& summary)
      : from_(from),
        options_(options),
        summary_(summary),
        contents_(from.contents()),
        integrations_(contents_.integrations()),
        frequencies_(from),
        offset_{options.ra, options.dec} {}

  AResult Run(const std::string& to);

 private:
  AResult Open();
  AResult FindSources(std::vector<int>& numbers) const;
  AResult AddSource(int number);
  const std::vector<ChannelGrid>& GridsOf(int setup);
  bool Shift(AUVXGroup& group);
  void MoveSources(AUVXTable& table);
  AUVXHeaderCards MovedCards() const;

  AUVXInput& from_;
  const ShiftOptions& options_;
  ShiftSummary& summary_;
  const AUVXContents& contents_;
  AUVXIntegrationCursor integrations_;
  KnownFrequencies frequencies_;
  const Offset offset_;
  std::map<int, Rotation> rotations_;              // by source
  std::map<int, std::vector<ChannelGrid>> grids_;  // by setup
  std::vector<AUVXComplex> values_;
  int64 without_ = 0;  // records whose u, v, w are not numbers
};

AResult Shifter::Open() {
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = contents_.CheckLists(); !result) return result;
  if (AResult result = frequencies_.Open(); !result) return result;
  if (!(options_.ra * options_.ra + options_.dec * options_.dec < 1)) {
    return AResult::Fail(from_.path() + ": the new phase centre is a quarter of the sky away or more");
  }
  std::vector<int> numbers;
  if (AResult result = FindSources(numbers); !result) return result;
  for (const int number : numbers) {
    if (AResult result = AddSource(number); !result) return result;
  }
  return AResult::Ok();
}

AResult Shifter::FindSources(std::vector<int>& numbers) const {
  for (const std::string& name : options_.sources) {
    if (AResult result = contents_.FindSource(name, numbers.emplace_back()); !result) return result;
  }
  if (!numbers.empty()) return AResult::Ok();
  numbers = contents_.SourceNumbers();
  for (int i = 0; i < contents_.sources().count() && numbers.empty(); ++i) {
    if (contents_.sources().count() == 1) numbers.push_back(contents_.sources()(i).id);
  }
  if (numbers.size() == 1) return AResult::Ok();
  return AResult::Fail(from_.path() + ": --source has to name the sources to shift; there are " +
                       contents_.SourceList(numbers));
}

// u, v, w refer to the apparent position, or to that at the equinox if no other is known. The angle by which north
// turns over the offset differs between the two by some 1e-4 of the offset, in radians, for each year of precession.
AResult Shifter::AddSource(int number) {
  const int place = contents_.sources().IndexForID(number);
  if (place < 0) {
    return AResult::Fail(from_.path() + ": source " + std::to_string(number) + " is not in its table SU");
  }
  const AUVXSourceItem& source = contents_.sources()(place);
  SkyPosition position = contents_.PositionOf(source);
  const bool isOfDate = source.epoch > 0 && (source.raApp != 0 || source.decApp != 0);
  const double dec = isOfDate ? source.decApp : position.dec;
  if (!std::isfinite(dec + position.ra + position.dec)) {
    return AResult::Fail(from_.path() + ": the position of source " + std::to_string(number) + " is no number");
  }
  rotations_.emplace(number, Rotation(offset_, dec * kRadiansPerDegree));
  offset_.Move(position.ra, position.dec);
  summary_.sources.push_back({number, position});
  return AResult::Ok();
}

const std::vector<ChannelGrid>& Shifter::GridsOf(int setup) {
  std::vector<ChannelGrid>& grids = grids_[setup];
  if (!grids.empty()) return grids;
  const AUVXFreqs& frequencies = frequencies_.Of(setup);
  for (int i = 0; i < std::max(from_.uvx().IFs(), 1); ++i) {
    const bool isThere = (i + 1) * frequencies.channels() <= frequencies.count() && frequencies.channels() > 0;
    const double start = isThere ? frequencies(0, i) : 0;
    grids.push_back({start, isThere && frequencies.channels() > 1 ? frequencies(1, i) - start : 0});
  }
  return grids;
}

// Rotate the phases and u, v, w of a record. @return false if these are not numbers
bool Shifter::Shift(AUVXGroup& group) {
  const double delay = group.u() * offset_.l + group.v() * offset_.m + group.w() * offset_.nLess1();
  if (!std::isfinite(delay)) return false;
  const int channels = from_.uvx().channels(), stokes = from_.uvx().stokes();
  const auto sine = [&](double frequency, double& re, double& im) {
    const double turns = frequency * delay, phase = -kTwoPi * (turns - std::round(turns));
    re = std::cos(phase);
    im = std::sin(phase);
  };
  AUVXComplex* value = values_.data();
  for (const ChannelGrid& grid : GridsOf(group.freqSel())) {
    double re = 0, im = 0, stepRe = 0, stepIm = 0;
    sine(grid.start, re, im);
    sine(grid.width, stepRe, stepIm);
    for (int channel = 0; channel < channels; ++channel) {
      for (int s = 0; s < stokes; ++s, ++value) {
        const double x = value->re, y = value->im;
        value->re = static_cast<float>(x * re - y * im);
        value->im = static_cast<float>(x * im + y * re);
      }
      const double before = re;
      re = re * stepRe - im * stepIm;
      im = before * stepIm + im * stepRe;
    }
  }
  rotations_.at(group.sourceNo()).Turn(group);
  return true;
}

AResult Shifter::Run(const std::string& to) {
  if (AResult result = Open(); !result) return result;
  AUVXWriter writer;
  if (AResult result = writer.Create(to, AUVXHeader(from_.uvx()), options_, from_.path()); !result) return result;
  KeptScans scans(from_, writer, 0);
  const int64 count = (from_.uvx().recSize() - AUVXGroup::kBytes) / int64{sizeof(AUVXComplex)};
  values_.resize(static_cast<size_t>(count));
  SendProgressText(options_.progress, "Shifting...");
  AResult copied = AResult::Ok();
  AResult result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    AUVXGroup group = record.group;
    writer.SetIntegration(integrations_.Stored(record.index));
    scans.Enter(record.index);
    const bool isMeant = rotations_.contains(group.sourceNo());
    if (isMeant) {
      if (copied = frequencies_.Check(record); !copied) return false;
      std::copy_n(record.values, values_.size(), values_.data());
      without_ += !Shift(group);
    }
    copied = writer.Append(group, isMeant ? values_.data() : record.values);
    return static_cast<bool>(copied);
  });
  if (!copied) return copied;
  if (!result) return result;
  result = CopyTables(from_, writer, MovedCards(), ShiftDescription().Command(options_), [this](AUVXTable& table) {
    MoveSources(table);
    return true;
  });
  if (!result) return result;
  if (without_ > 0) {
    summary_.remarks.push_back(std::to_string(without_) + " records whose u, v, w are no numbers stay as they are");
  }
  if (const std::string remark = scans.Remark(); !remark.empty()) summary_.remarks.push_back(remark);
  return writer.Finish();
}

void Shifter::MoveSources(AUVXTable& table) {
  for (const char* column : {"GEODELAY", "GDELAY"}) {
    if (table.FindColumn(column) < 0) continue;
    summary_.remarks.push_back("the delays of the table " + table.Code() + " are still those of the old phase centre");
  }
  if (table.Code() != "SU") return;
  const AUVXSources sources(table);
  for (const auto& [ra, dec] : {std::pair("RAEPO", "DECEPO"), std::pair("RAAPP", "DECAPP")}) {
    const int columns[] = {table.FindColumn(ra), table.FindColumn(dec)};
    for (int row = 0; row < sources.count(); ++row) {
      if (!rotations_.contains(sources(row).id)) continue;
      double degrees[] = {table.Number(row, columns[0]), table.Number(row, columns[1])};
      // If both coordinates are 0, they are unknown.
      if (!std::isfinite(degrees[0] + degrees[1]) || (degrees[0] == 0 && degrees[1] == 0)) continue;
      offset_.Move(degrees[0], degrees[1]);
      for (int i = 0; i < 2; ++i) table.SetNumber(row, columns[i], 0, degrees[i]);
    }
  }
}

// The header cards, with those of the position set to that of the only source, in degrees.
AUVXHeaderCards Shifter::MovedCards() const {
  const AUVXHeaderCards& cards = contents_.cards();
  AUVXHeaderCards moved;
  for (int i = 0; i < cards.count(); ++i) {
    const std::string_view key = KeywordOf(cards(i));
    const bool isRA = key == "RA", isDec = key == "DEC";
    if ((!isRA && !isDec) || contents_.sources().count() != 1) {
      moved.Add(cards(i));
      continue;
    }
    const SkyPosition& position = summary_.sources.front().position;
    moved.Add((isRA ? "RA      = " : "DEC     = ") + valToStr(isRA ? position.ra : position.dec) + " / degrees");
  }
  return moved;
}

AJobDescription DescribeShift() {
  AJobDescriber<ShiftOptions> job(
      "shift", "Move the phase centre to another place in the field",
      "What an image shows at the offsets (--ra, --dec) is then at its centre. Phases, u, v, w and the positions of "
      "the sources in the table SU follow; the pointing of the antennas (RAOBS, OBSRA, ...) is unchanged. Offsets are "
      "in milliarcseconds on the sky: the one in right ascension is the difference times cos dec, as in an image.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  job.Option("ra", &ShiftOptions::ra, "offset to the east")
      .Form("MAS")
      .Unit("mas")
      .Scale(kRadiansPerMas)
      .Range(-3e8, 3e8)
      .Required();
  job.Option("dec", &ShiftOptions::dec, "offset to the north")
      .Form("MAS")
      .Unit("mas")
      .Scale(kRadiansPerMas)
      .Range(-3e8, 3e8)
      .Required();
  job.Option("source", &ShiftOptions::sources,
             "numbers or names of the sources to shift, all by the same offsets; =7 is the source named 7")
      .Form("N|NAME[,...]")
      .Otherwise("the only source; one of several has to be named");
  job.Overwrite();
  return job.Finish();
}

}  // namespace

AResult ShiftUVX(AUVXInput& from, const std::string& to, const ShiftOptions& options, ShiftSummary* summary) {
  ShiftSummary unseen;
  AResult result = Shifter(from, options, summary ? *summary : unseen).Run(to);
  return result ? result : from.Settle(result);
}

const AJobDescription& ShiftDescription() {
  static const AJobDescription description = DescribeShift();
  return description;
}

}  // namespace zeltra
