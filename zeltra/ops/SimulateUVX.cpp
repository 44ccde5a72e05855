// SPDX-License-Identifier: MIT
#include "zeltra/ops/SimulateUVX.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <numbers>
#include <vector>

#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/numeric/Astrometry.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

using Complex = std::complex<double>;

constexpr double kDate = 2458928.5;    // 2020-03-20, 0 h
constexpr double kStart = 7 * 3600.0;  // seconds since then: both sources are high above all ten antennas at 07:30
constexpr int kScans = 6;

constexpr double kFrequency = 8.4e9;  // of channel 0 of IF 0, Hz
constexpr double kIFWidth = 16e6;     // Hz
constexpr int kStokes = 4;            // RR, LL, RL, LR
constexpr double kEfficiency = 0.8;   // of the correlator
constexpr double kPolarised = 0.05;   // linearly polarised fraction
constexpr double kVectorAngle = kPi / 6;
constexpr double kAxisOffset = 2.13;  // of the antennas' mounts, metres

struct Station {
  const char* name;
  AVector position;  // metres
  double sefd;       // system equivalent flux density, Jy
};

// Positions are geocentric and right-handed (x towards Greenwich, z towards the north pole), in the ITRF, as published
// by NRAO and found in VLBA files of 2006. The sensitivities are made up, scattered around the 327 Jy that the VLBA's
// observational status summary gives for 8.4 GHz.
constexpr Station kStations[10] = {
    {"BR", {-2112065.105, -3705356.508, 4726813.708}, 310}, {"FD", {-1324009.236, -5332181.963, 3231962.411}, 320},
    {"HN", {1446374.979, -4447939.664, 4322306.142}, 355},  {"KP", {-1995678.746, -5037317.708, 3357328.053}, 300},
    {"LA", {-1449752.484, -4975298.581, 3709123.863}, 305}, {"MK", {-5464075.090, -2495248.528, 2148297.130}, 345},
    {"NL", {-130872.390, -4762317.104, 4226851.003}, 330},  {"OV", {-2409150.278, -4478573.165, 3838617.348}, 315},
    {"PT", {-1640953.842, -5014816.026, 3575411.803}, 325}, {"SC", {2607848.599, -5488069.592, 1932739.635}, 365},
};

// The splitmix64 generator (Steele, Lea & Flood, "Fast splittable pseudorandom number generators", OOPSLA 2014).
class Random {
 public:
  // Streams of one seed are independent, so that leaving out the noise does not move the flags.
  Random(std::uint64_t seed, std::uint64_t stream) : state_(seed) { state_ = Bits() ^ (stream * 0xD1342543DE82EF95u); }

  std::uint64_t Bits() {
    state_ += 0x9E3779B97F4A7C15u;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  // From 0 to below 1.
  double Uniform() { return static_cast<double>(Bits() >> 11) * 0x1p-53; }
  // Mean 0 and standard deviation 1: the sum of twelve uniform 16-bit numbers. Only integers are added, so that every
  // system draws the same number.
  double Normal() {
    std::int64_t sum = 0;
    for (int i = 0; i < 3; ++i) {
      const std::uint64_t bits = Bits();
      for (int shift = 0; shift < 64; shift += 16) sum += static_cast<std::int64_t>(bits >> shift & 0xFFFF);
    }
    return static_cast<double>(2 * sum - 12 * 0xFFFF) * 0x1p-17;
  }

 private:
  std::uint64_t state_;
};

AVector InSeconds(const AVector& metres) {
  return {metres.x / kSpeedOfLight, metres.y / kSpeedOfLight, metres.z / kSpeedOfLight};
}

class Simulator {
 public:
  Simulator(const std::string& to, const SimulateOptions& options)
      : to_(to),
        options_(options),
        noise_(options.seed, 1),
        flags_(options.seed, 2),
        phases_(options.seed, 3),
        visibility_(options.ifs, options.channels, kStokes) {}

  AResult Run();

 private:
  int64 FirstIntegration(int scan) const { return integrations_ * scan / scans_; }
  int64 Slewing(int scan) const { return (FirstIntegration(scan + 1) - FirstIntegration(scan)) / 10; }
  double ChannelWidth() const { return kIFWidth / options_.channels; }

  void CountRecords();
  AUVXHeader Header() const;
  AResult WriteRecords();
  void DrawPhases();
  AResult WriteIntegration(int source, double seconds);
  void Observe(int source, int station1, int station2, double u, double v);
  AResult WriteTables();
  std::unique_ptr<AUVXTable> Antennas() const;
  std::unique_ptr<AUVXTable> Sources() const;
  std::unique_ptr<AUVXTable> Frequencies() const;

  const std::string to_;
  const SimulateOptions options_;
  Random noise_, flags_, phases_;
  AUVXWriter writer_;
  int64 integrations_ = 0;
  int scans_ = 0;
  int64 records_ = 0;
  AUVXVisibility visibility_;
  std::vector<Complex> gains_;
};

AResult Simulator::Run() {
  CountRecords();
  if (records_ > std::numeric_limits<int32_t>::max()) {
    return AResult::Fail(to_ + ": " + std::to_string(records_) + " records are more than a UVX file can hold");
  }
  if (AResult result = writer_.Create(to_, Header(), options_); !result) return result;
  writer_.SetIntegration(static_cast<float>(options_.integration));
  if (AResult result = WriteRecords(); !result) return result;
  if (AResult result = WriteTables(); !result) return result;
  return writer_.Finish();
}

void Simulator::CountRecords() {
  integrations_ = std::max<int64>(static_cast<int64>(options_.minutes * 60 / options_.integration), 1);
  scans_ = static_cast<int>(std::min<int64>(kScans, integrations_));
  int64 observed = 0;
  for (int scan = 0; scan < scans_; ++scan) {
    observed += FirstIntegration(scan + 1) - FirstIntegration(scan) - Slewing(scan);
  }
  records_ = observed * (options_.antennas * (options_.antennas - 1) / 2);
}

AUVXHeader Simulator::Header() const {
  AUVXHeader header;
  header.info.epoch = 2000;
  header.info.dateObs = kDate;
  SetFieldText(header.info.bunit, sizeof header.info.bunit, "JY");
  SetFieldText(header.info.observer, sizeof header.info.observer, "SIMULATION");
  SetFieldText(header.info.telescope, sizeof header.info.telescope, "VLBA");
  header.stokes.SetCount(kStokes);
  for (int i = 0; i < kStokes; ++i) header.stokes(i) = -1 - i;
  header.IFs = options_.ifs;
  header.channels = options_.channels;
  header.freq0 = kFrequency;
  return header;
}

// The first tenth of every scan is spent on slewing to its source.
AResult Simulator::WriteRecords() {
  SendProgressRange(options_.progress);
  SendProgressText(options_.progress, "Observing...");
  int lastPercent = -1;
  for (int scan = 0; scan < scans_; ++scan) {
    DrawPhases();
    for (int64 i = FirstIntegration(scan) + Slewing(scan); i < FirstIntegration(scan + 1); ++i) {
      if (IsCancelled(options_)) return AResult::Cancel(to_ + ": the simulation was cancelled");
      const double seconds = kStart + (static_cast<double>(i) + 0.5) * options_.integration;
      if (AResult result = WriteIntegration(1 + scan % 2, seconds); !result) return result;
      SendProgress(options_.progress, writer_.records(), records_, lastPercent);
    }
  }
  return AResult::Ok();
}

void Simulator::DrawPhases() {
  gains_.assign(static_cast<size_t>(options_.antennas), 1);
  if (!options_.phaseErrors) return;
  for (Complex& gain : gains_) gain = std::polar(1.0, 2 * kPi * phases_.Uniform());
}

AResult Simulator::WriteIntegration(int source, double seconds) {
  const double date = kDate + seconds / kSecondsPerDay;
  const SimulatedSource& sky = kSimulatedSources[source - 1];
  const UVWProjection project(SiderealTime(date) - sky.ra * kRadiansPerDegree, sky.dec * kRadiansPerDegree);
  for (int station1 = 0; station1 < options_.antennas; ++station1) {
    const AVector uvw1 = InSeconds(project(kStations[station1].position));
    for (int station2 = station1 + 1; station2 < options_.antennas; ++station2) {
      const AVector uvw2 = InSeconds(project(kStations[station2].position));
      AUVXGroup group;
      group.flag = flags_.Bits() % 1024 == 0;
      group.frqsel = 1;
      group.source = static_cast<int16_t>(source);
      group.uu = static_cast<float>(uvw1.x - uvw2.x);
      group.vv = static_cast<float>(uvw1.y - uvw2.y);
      group.ww = static_cast<float>(uvw1.z - uvw2.z);
      group.date = date;
      group.ant1 = static_cast<int8_t>(station1 + 1);
      group.ant2 = static_cast<int8_t>(station2 + 1);
      Observe(source, station1, station2, uvw1.x - uvw2.x, uvw1.y - uvw2.y);

      AResult result = writer_.Append(group, visibility_.lpArray(), seconds);
      if (!result) return result;
    }
  }
  return AResult::Ok();
}

// The visibilities of a source on a baseline, with noise, at all frequencies; u, v in seconds.
void Simulator::Observe(int source, int station1, int station2, double u, double v) {
  const double samples = 2 * ChannelWidth() * options_.integration;
  const double sefd = std::sqrt(kStations[station1].sefd * kStations[station2].sefd);
  const double thermal = sefd / (kEfficiency * std::sqrt(samples));
  const double sigma = options_.noise * thermal;
  const double weight = 1 / (options_.noise > 0 ? sigma * sigma : thermal * thermal);
  const double sign = flags_.Bits() % 256 == 0 ? -1 : 1;
  const Complex gain = gains_[static_cast<size_t>(station1)] * std::conj(gains_[static_cast<size_t>(station2)]);
  const Complex cross = std::polar(kPolarised, 2 * kVectorAngle);

  for (int f = 0; f < visibility_.freqs(); ++f) {
    const double frequency = kFrequency + f * ChannelWidth();
    Complex sum = 0;
    for (int i = 0; i < options_.components; ++i) {
      const SimulatedComponent& component = kSimulatedSources[source - 1].components[i];
      const double path = (u * component.east + v * component.north) * kRadiansPerMas;
      sum += std::polar(component.flux, 2 * kPi * frequency * path);
    }
    sum *= gain;
    const Complex values[kStokes] = {sum, sum, sum * cross, sum * std::conj(cross)};
    for (int s = 0; s < kStokes; ++s) {
      const double re = values[s].real() + sigma * noise_.Normal();
      const double im = values[s].imag() + sigma * noise_.Normal();
      visibility_(f, s) = AUVXComplex(re, im, sign * weight);
    }
  }
}

AResult Simulator::WriteTables() {
  AResult result = writer_.AddIndex();
  for (auto table : {&Simulator::Frequencies, &Simulator::Antennas, &Simulator::Sources}) {
    if (result) result = writer_.AddTable(*(this->*table)());
  }
  if (result) result = writer_.AddBaseLines();
  return result ? writer_.AddProvenance({}, SimulateDescription().Command(options_)) : result;
}

std::unique_ptr<AUVXTable> Simulator::Antennas() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("AN", 0));
  table->AddColumn("ANNAME", "", "8A");
  table->AddColumn("STABXYZ", "METERS", "3D");
  table->AddColumn("NOSTA", "", "1J");
  table->AddColumn("MNTSTA", "", "1J");
  table->AddColumn("STAXOF", "METERS", "1E");
  for (const char* key : {"ARRAYX", "ARRAYY", "ARRAYZ"}) table->AddKeyWord(key, "0", true);
  table->AddKeyWord("GSTIA0", valToStr(SiderealTime(kDate) * (180 / kPi)), true);
  table->AddKeyWord("DEGPDY", valToStr(360 * kSiderealDaysPerDay), true);
  table->AddKeyWord("FREQ", valToStr(kFrequency), true);
  table->AddKeyWord("RDATE", "2020-03-20", false);
  for (const char* key : {"POLARX", "POLARY", "UT1UTC", "DATUTC"}) table->AddKeyWord(key, "0", true);
  table->AddKeyWord("TIMSYS", "UTC", false);
  table->AddKeyWord("ARRNAM", "VLBA", false);
  table->AddKeyWord("XYZHAND", "RIGHT", false);
  table->AddKeyWord("FRAME", "ITRF", false);
  table->SetRows(options_.antennas);
  for (int row = 0; row < options_.antennas; ++row) {
    const Station& station = kStations[row];
    table->SetText(row, 0, station.name);
    table->SetNumber(row, 1, 0, station.position.x);
    table->SetNumber(row, 1, 1, station.position.y);
    table->SetNumber(row, 1, 2, station.position.z);
    table->SetNumber(row, 2, 0, row + 1);
    table->SetNumber(row, 4, 0, kAxisOffset);
  }
  return table;
}

std::unique_ptr<AUVXTable> Simulator::Sources() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("SU", 0));
  table->AddColumn("ID. NO.", "", "1J");
  table->AddColumn("SOURCE", "", "16A");
  table->AddColumn("EPOCH", "YEARS", "1D");
  for (const char* name : {"RAEPO", "DECEPO", "RAAPP", "DECAPP"}) table->AddColumn(name, "DEGREES", "1D");
  table->SetRows(2);
  for (int row = 0; row < 2; ++row) {
    const SimulatedSource& source = kSimulatedSources[row];
    table->SetNumber(row, 0, 0, row + 1);
    table->SetText(row, 1, source.name);
    const double numbers[] = {2000, source.ra, source.dec, source.ra, source.dec};
    for (int i = 0; i < 5; ++i) table->SetNumber(row, 2 + i, 0, numbers[i]);
  }
  return table;
}

std::unique_ptr<AUVXTable> Simulator::Frequencies() const {
  const std::string ifs = std::to_string(options_.ifs);
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("FQ", 0));
  table->AddColumn("FRQSEL", "", "1J");
  table->AddColumn("IF FREQ", "HZ", ifs + "D");
  table->AddColumn("CH WIDTH", "HZ", ifs + "E");
  table->AddColumn("TOTAL BANDWIDTH", "HZ", ifs + "E");
  table->AddColumn("SIDEBAND", "", ifs + "J");
  table->SetRows(1);
  table->SetNumber(0, 0, 0, 1);
  for (int i = 0; i < options_.ifs; ++i) {
    table->SetNumber(0, 1, i, i * kIFWidth);
    table->SetNumber(0, 2, i, ChannelWidth());
    table->SetNumber(0, 3, i, kIFWidth);
    table->SetNumber(0, 4, i, 1);
  }
  return table;
}

// What is wrong with the options; empty if nothing is.
std::string Complaint(const SimulateOptions& options) {
  // Records stay below 1 MiB.
  constexpr int kLargestPoints = ((1 << 20) - AUVXGroup::kBytes) / (kStokes * static_cast<int>(sizeof(AUVXComplex)));
  if (options.antennas < 2 || options.antennas > 10) return "there can be 2 to 10 antennas";
  if (!(options.minutes > 0 && options.minutes <= 1e6)) return "an observation lasts up to 1000000 minutes";
  if (!(options.integration >= 1e-3 && options.integration <= 3600))
    return "an integration lasts 0.001 to 3600 seconds";
  if (options.ifs < 1 || options.channels < 1 || int64{options.ifs} * options.channels > kLargestPoints) {
    return "there can be 1 to " + std::to_string(kLargestPoints) + " channels in all IFs together";
  }
  if (options.components < 1 || options.components > 2) return "a source has 1 or 2 components";
  if (!(options.noise >= 0 && options.noise <= 1e6)) return "the noise is 0 to 1000000 times the thermal noise";
  return {};
}

}  // namespace

AResult SimulateUVX(const std::string& to, const SimulateOptions& options) {
  const std::string complaint = Complaint(options);
  if (!complaint.empty()) return AResult::Fail(to + ": cannot be simulated, " + complaint);
  return Simulator(to, options).Run();
}

}  // namespace zeltra
