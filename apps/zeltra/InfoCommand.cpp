// zeltra info: the contents of a UVX file, as a page or as one JSON object.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXFluxes.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra::app {
namespace {

using nlohmann::ordered_json;

// The most lines in a section of the page.
constexpr int kMostLines = 40;
// Up to this many scans JSON gives their records' own times, reading two records for each; above it, those of the
// index.
constexpr int kMostTimedScans = 100000;

struct Arguments : JobOptions {
  std::string path;
  bool json = false;
  bool baselines = false;
  UVXSelection selection;
};

template <int size>
std::string HeaderText(const char (&field)[size]) {
  return FieldText(field, size);
}

ordered_json RangesAsJSON(AUVXMinMax range) {
  const auto pair = [](const TMnMx& r) { return ordered_json{double{r.minimum}, double{r.maximum}}; };
  return {{"u", pair(range.u())},          {"v", pair(range.v())},   {"w", pair(range.w())},
          {"time", pair(range.time())},    {"re", pair(range.re())}, {"im", pair(range.im())},
          {"weight", pair(range.weight())}};
}

ordered_json TablesAsJSON(const AUVXContents& contents) {
  ordered_json list = ordered_json::array();
  for (const UVXTableSummary& table : contents.tables()) {
    list.push_back({{"code", table.code},
                    {"id", table.id},
                    {"name", table.name},
                    {"rows", table.rows},
                    {"columns", table.columns},
                    {"row_bytes", table.rowBytes},
                    {"bytes", table.bytes},
                    {"offset", table.offset}});
  }
  return list;
}

// If a file has no antenna table, its antennas appear only in its list of baselines.
int ListedAntennas(const AUVXContents& contents) {
  return contents.HasAntennaTable() ? contents.antennas().count() : 0;
}

ordered_json AntennasAsJSON(const AUVXContents& contents) {
  ordered_json list = ordered_json::array();
  for (int i = 0; i < ListedAntennas(contents); ++i) {
    const AUVXTlscItem& antenna = contents.antennas()(i);
    list.push_back(
        {{"id", antenna.id}, {"name", antenna.Name()}, {"x", antenna.x}, {"y", antenna.y}, {"z", antenna.z}});
  }
  return list;
}

ordered_json SourcesAsJSON(const AUVXContents& contents) {
  ordered_json list = ordered_json::array();
  for (int i = 0; i < contents.sources().count(); ++i) {
    const AUVXSourceItem& source = contents.sources()(i);
    list.push_back({{"id", source.id},
                    {"name", source.Name()},
                    {"epoch", source.epoch},
                    {"ra_app", source.raApp},
                    {"dec_app", source.decApp},
                    {"ra_epoch", source.raEpoch},
                    {"dec_epoch", source.decEpoch}});
  }
  return list;
}

ordered_json ScansAsJSON(const AUVXContents& contents, const std::vector<AUVXPositionItem>& timed) {
  ordered_json list = ordered_json::array();
  for (int i = 0; i < contents.scans().count(); ++i) {
    const AUVXPositionItem& scan = timed.empty() ? contents.scans()(i) : timed[static_cast<size_t>(i)];
    list.push_back({{"source_id", scan.sourceId},
                    {"freq_id", scan.freqId},
                    {"subarray", scan.subarray},
                    {"start_s", scan.start},
                    {"duration_s", scan.duration},
                    {"first", scan.startVis},
                    {"last", scan.endVis}});
  }
  return list;
}

ordered_json SetupsAsJSON(const AUVXContents& contents) {
  const AUVXFqTbl& setups = contents.setups();
  ordered_json list = ordered_json::array();
  for (int row = 0; row < setups.GetFreqSels(); ++row) {
    ordered_json ifs = ordered_json::array();
    for (int i = 0; i < setups.GetIFs(); ++i) {
      ifs.push_back({{"start_hz", setups.GetStartIFFq(i, row)}, {"delta_hz", setups.GetDeltaIFFq(i, row)}});
    }
    list.push_back({{"setup", setups.GetFreqSelID(row)}, {"ifs", ifs}});
  }
  return list;
}

ordered_json BaselinesAsJSON(const AUVXContents& contents, const AUVXFluxes& fluxes) {
  ordered_json list = ordered_json::array();
  for (int i = 0; i < fluxes.baselines().count(); ++i) {
    const AUVXBaseLineItem& baseline = fluxes.baselines()(i);
    ordered_json polarisations = ordered_json::array();
    for (int s = 0; s < fluxes.stokes(); ++s) {
      const AUVXFluxItem& flux = fluxes(i, s);
      polarisations.push_back({{"stokes", contents.polarisations()[static_cast<size_t>(s)]},
                               {"values", flux.count},
                               {"mean", flux.mean},
                               {"scatter", flux.scatter}});
    }
    list.push_back({{"source", int{baseline.source}},
                    {"ant1", static_cast<uint8_t>(baseline.tlsc1)},
                    {"ant2", static_cast<uint8_t>(baseline.tlsc2)},
                    {"flagged", baseline.flag != 0},
                    {"polarisations", polarisations}});
  }
  return list;
}

// The first scans, with the times of their records.
AResult TimeScans(UVXInput& input, int most, std::vector<AUVXPositionItem>& timed) {
  const AUVXContents& contents = input.contents();
  AResult result = AResult::Ok();
  for (int i = 0; i < std::min(contents.scans().count(), most) && result; ++i) {
    timed.push_back(contents.scans()(i));
    result = contents.ReadTimes(input, timed.back());
  }
  return result;
}

// Numbers that are not finite become null.
// @param scans   with the times of their records; empty: those of the index
// @param fluxes  null if there are no statistics of the baselines
std::string InfoAsJSON(const AUVXContents& contents, const AUVXFile& uvx, const std::vector<AUVXPositionItem>& scans,
                       const AUVXFluxes* fluxes) {
  const AUVXHeader& header = contents.header();
  const AUVXAntenns& antennas = contents.antennas();
  const double dateObs = header.info.dateObs;
  const std::string date = DateText(dateObs);
  ordered_json codes = ordered_json::array();
  for (int i = 0; i < header.stokes.count(); ++i) codes.push_back(int{header.stokes(i)});

  ordered_json info;
  info["records"] = uvx.count();
  info["stokes"] = codes;
  info["stokes_names"] = contents.polarisations();
  info["ifs"] = std::max(uvx.IFs(), 1);
  info["channels"] = uvx.channels();
  info["freq0_hz"] = uvx.freq0();
  info["epoch"] = double{header.info.epoch};
  info["date_obs"] = date.empty() ? ordered_json(nullptr) : ordered_json(date);
  info["date_obs_jd"] = dateObs;
  info["bunit"] = HeaderText(header.info.bunit);
  info["observer"] = HeaderText(header.info.observer);
  info["telescope"] = HeaderText(header.info.telescope);
  info["record_bytes"] = uvx.recSize();
  info["data_offset"] = uvx.DataOffset();
  info["ranges"] = RangesAsJSON(header.range);
  info["tables"] = TablesAsJSON(contents);
  info["antennas"] = AntennasAsJSON(contents);
  info["array_center"] = {antennas.ArrayX(), antennas.ArrayY(), antennas.ArrayZ()};
  info["sources"] = SourcesAsJSON(contents);
  info["scans"] = ScansAsJSON(contents, scans);
  info["frequencies"] = SetupsAsJSON(contents);
  if (fluxes) info["baselines"] = BaselinesAsJSON(contents, *fluxes);
  return info.dump(2, ' ', true, ordered_json::error_handler_t::replace) + "\n";
}

// The page, section by section.
class Page {
 public:
  Page(StandardOutput& out, const AUVXContents& contents, const AUVXFile& uvx)
      : out_(out), contents_(contents), header_(contents.header()), uvx_(uvx) {}

  /// @param scans  those to list
  void Print(const std::string& path, const std::vector<AUVXPositionItem>& scans);
  void PrintBaselines(const AUVXFluxes& fluxes);

 private:
  void PrintHead();
  void PrintFrequencies();
  void PrintAntennas();
  void PrintSources();
  void PrintScans(const std::vector<AUVXPositionItem>& scans);
  void PrintRanges();
  void PrintTables();

  void Line(const char* what, const std::string& text);
  TablePrinter Section(const std::string& title, std::vector<PrintedColumn> columns);
  // A section that is too long ends with a line that says how to see the rest.
  void EndSection(TablePrinter& printer, int lines, const char* code);
  std::string SourceName(int id);

  StandardOutput& out_;
  const AUVXContents& contents_;
  const AUVXHeader& header_;
  const AUVXFile& uvx_;
};

std::string Count(int64 n, const char* what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

void Page::Print(const std::string& path, const std::vector<AUVXPositionItem>& scans) {
  out_.Append(Printable(path) + "\n\n");
  PrintHead();
  PrintSources();
  PrintScans(scans);
  PrintFrequencies();
  PrintAntennas();
  PrintRanges();
  PrintTables();
}

void Page::PrintHead() {
  AUVXMinMax range = header_.range;
  const double start = range.time().minimum, end = range.time().maximum;
  const std::string date = DateText(header_.info.dateObs);
  Line("Telescope", HeaderText(header_.info.telescope));
  Line("Observer", HeaderText(header_.info.observer));
  Line("Date", date.empty() ? "unknown" : date);
  if (!DateText(start).empty() && end >= start) {
    Line("Times", DateAndTime(start) + " to " + DateAndTime(end) + " " + contents_.timeScale() + " (" +
                      DurationText((end - start) * kSecondsPerDay) + ")");
  }
  std::string names;
  for (const std::string& name : contents_.polarisations()) names += (names.empty() ? "" : ", ") + name;
  Line("Records", Count(uvx_.count(), "record") + " of " + Count(std::max(uvx_.IFs(), 1), "IF") + " x " +
                      Count(uvx_.channels(), "channel") + " x " + Count(uvx_.stokes(), "polarisation") +
                      (names.empty() ? "" : " (" + names + ")") + ", " + std::to_string(uvx_.recSize()) +
                      " bytes each");
  Line("Unit", HeaderText(header_.info.bunit));
  Line("Equinox", ReadableNumber(header_.info.epoch));
}

void Page::PrintSources() {
  TablePrinter printer = Section("Sources", {{"number"}, {"name", true}, {"RA"}, {"Dec"}, {"equinox"}, {"records"}});
  const AUVXSources& sources = contents_.sources();
  for (int i = 0; i < std::min(sources.count(), kMostLines); ++i) {
    const AUVXSourceItem& source = sources(i);
    const SkyPosition position = contents_.PositionOf(source);
    printer.Integer(source.id);
    printer.Text(source.Name());
    printer.Text(RightAscensionText(position.ra));
    printer.Text(DeclinationText(position.dec));
    printer.Real(position.equinox);
    printer.Integer(contents_.scans().CountForSrc(source.id));
    printer.EndRow();
  }
  EndSection(printer, sources.count(), "SU");
}

void Page::PrintScans(const std::vector<AUVXPositionItem>& scans) {
  TablePrinter printer = Section(
      "Scans",
      {{"scan"}, {"source", true}, {"setup"}, {"start, " + contents_.timeScale(), true}, {"duration"}, {"records"}});
  int number = 0;
  for (const AUVXPositionItem& scan : scans) {
    const double start = header_.info.dateObs + scan.start / kSecondsPerDay;
    printer.Integer(++number);
    printer.Text(SourceName(scan.sourceId));
    printer.Integer(scan.freqId);
    printer.Text(DateText(start).empty() ? DurationText(scan.start) : DateAndTime(start));
    printer.Text(DurationText(scan.duration));
    printer.Text(std::to_string(scan.startVis) + "-" + std::to_string(scan.endVis));
    printer.EndRow();
  }
  EndSection(printer, contents_.scans().count(), "NX");
}

void Page::PrintFrequencies() {
  TablePrinter printer =
      Section("Frequencies", {{"setup"}, {"IF"}, {"first channel / MHz"}, {"channel width / kHz"}, {"channels"}});
  const AUVXFqTbl& setups = contents_.setups();
  const int lines = setups.GetFreqSels() * setups.GetIFs();
  for (int line = 0; line < std::min(lines, kMostLines); ++line) {
    const int row = line / setups.GetIFs(), i = line % setups.GetIFs();
    printer.Integer(setups.GetFreqSelID(row));
    printer.Integer(i + 1);
    printer.Real(setups.GetStartIFFq(i, row) / 1e6);
    printer.Real(setups.GetDeltaIFFq(i, row) / 1e3);
    printer.Integer(uvx_.channels());
    printer.EndRow();
  }
  EndSection(printer, lines, "FQ");
}

void Page::PrintAntennas() {
  TablePrinter printer = Section("Antennas", {{"number"}, {"name", true}, {"x / m"}, {"y / m"}, {"z / m"}});
  const AUVXAntenns& antennas = contents_.antennas();
  const int lines = ListedAntennas(contents_);
  for (int i = 0; i < std::min(lines, kMostLines); ++i) {
    const AUVXTlscItem& antenna = antennas(i);
    printer.Integer(antenna.id);
    printer.Text(antenna.Name());
    for (const double metres : {antenna.x, antenna.y, antenna.z}) printer.Real(metres);
    printer.EndRow();
  }
  EndSection(printer, lines, "AN");
  const double center[] = {antennas.ArrayX(), antennas.ArrayY(), antennas.ArrayZ()};
  if (lines > 0 && (center[0] != 0 || center[1] != 0 || center[2] != 0)) {
    out_.Append("  relative to " + ReadableNumber(center[0]) + ", " + ReadableNumber(center[1]) + ", " +
                ReadableNumber(center[2]) + "\n");
  }
}

void Page::PrintRanges() {
  TablePrinter printer = Section("Ranges", {{"of", true}, {"least"}, {"greatest"}});
  AUVXMinMax range = header_.range;
  const std::pair<const char*, TMnMx> ranges[] = {{"u / s", range.u()},           {"v / s", range.v()},
                                                  {"w / s", range.w()},           {"real part", range.re()},
                                                  {"imaginary part", range.im()}, {"weight", range.weight()}};
  for (const auto& [name, limits] : ranges) {
    printer.Text(name);
    for (const double limit : {double{limits.minimum}, double{limits.maximum}}) {
      // The records hold 32-bit floats, for which more digits are meaningless.
      char text[32];
      std::snprintf(text, sizeof text, "%.7g", limit);
      printer.Text(text);
    }
    printer.EndRow();
  }
  EndSection(printer, static_cast<int>(std::size(ranges)), "");
}

void Page::PrintTables() {
  TablePrinter printer = Section("Tables", {{"code", true}, {"rows"}, {"columns"}, {"bytes"}, {"at byte"}});
  for (const UVXTableSummary& table : contents_.tables()) {
    printer.Text(table.code);
    printer.Integer(table.rows);
    printer.Integer(table.columns);
    printer.Integer(table.bytes);
    printer.Integer(table.offset);
    printer.EndRow();
  }
  EndSection(printer, static_cast<int>(contents_.tables().size()), "");
}

void Page::PrintBaselines(const AUVXFluxes& fluxes) {
  TablePrinter printer = Section(
      "Baselines",
      {{"source", true}, {"antennas"}, {"polarisation", true}, {"valid values"}, {"mean amplitude"}, {"scatter"}});
  for (int i = 0; i < fluxes.baselines().count(); ++i) {
    const AUVXBaseLineItem& baseline = fluxes.baselines()(i);
    for (int s = 0; s < fluxes.stokes(); ++s) {
      const AUVXFluxItem& flux = fluxes(i, s);
      printer.Text(SourceName(baseline.source));
      printer.Text(std::to_string(static_cast<uint8_t>(baseline.tlsc1)) + "-" +
                   std::to_string(static_cast<uint8_t>(baseline.tlsc2)));
      printer.Text(contents_.polarisations()[static_cast<size_t>(s)]);
      printer.Integer(flux.count);
      printer.Real(static_cast<float>(flux.mean));
      printer.Real(static_cast<float>(flux.scatter));
      printer.EndRow();
    }
  }
  EndSection(printer, fluxes.baselines().count(), "");
}

void Page::Line(const char* what, const std::string& text) {
  std::string head = std::string("  ") + what;
  head.resize(14, ' ');
  if (!text.empty()) out_.Append(head + PlainText(text) + "\n");
}

TablePrinter Page::Section(const std::string& title, std::vector<PrintedColumn> columns) {
  out_.Append("\n" + title + "\n");
  return TablePrinter(out_, TableFormat::Text, std::move(columns), 2);
}

void Page::EndSection(TablePrinter& printer, int lines, const char* code) {
  if (lines == 0) {
    out_.Append("  none\n");
    return;
  }
  printer.Finish();
  if (*code && lines > kMostLines) {
    out_.Append("  and " + std::to_string(lines - kMostLines) + " more: zeltra table FILE " + code + "\n");
  }
}

std::string Page::SourceName(int id) {
  const std::string name = contents_.SourceName(id);
  return name.empty() ? "source " + std::to_string(id) : name;
}

AResult Info(const Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.path, arguments.selection, session); !result) return result;
  const AUVXContents& contents = input.contents();
  if (AResult result = input.Check(); !result) return result;
  for (const std::string& remark : contents.Remarks()) session.Note(remark);
  AUVXFluxes fluxes;
  if (arguments.baselines) {
    const JobOptions options = session.Options();
    SendProgressText(options.progress, "Measuring baselines...");
    if (AResult result = fluxes.Create(input, arguments.selection, options); !result) return result;
  }
  const bool isIndexTimed = arguments.json && contents.scans().count() > kMostTimedScans;
  if (isIndexTimed) session.Note("there are many scans, so their times are those of the index");
  std::vector<AUVXPositionItem> scans;
  const int most = isIndexTimed ? 0 : arguments.json ? kMostTimedScans : kMostLines;
  if (AResult result = TimeScans(input, most, scans); !result) return result;
  StandardOutput out;
  if (arguments.json) {
    out.Append(InfoAsJSON(contents, input.uvx(), scans, arguments.baselines ? &fluxes : nullptr));
  } else {
    Page page(out, contents, input.uvx());
    page.Print(arguments.path, scans);
    if (arguments.baselines) page.PrintBaselines(fluxes);
  }
  return out.Flush();
}

AJobDescription DescribeInfo() {
  AJobDescriber<Arguments> job("info", "Show what a UVX file contains",
                               "A page of what the header and the tables say: sources, scans, frequencies, antennas, "
                               "ranges of values. A selection applies to the records that --baselines reads.");
  job.Input(UVXInputFile());
  job.Option(
      "json", &Arguments::json,
      "print one JSON object: frequencies in Hz, scans in seconds since 0 h of the date, from their first and last "
      "records or, where there are more than 100000 scans, from the index, with their records numbered from 1");
  job.Option("baselines", &Arguments::baselines,
             "read all records for the mean amplitude, its scatter and the number of valid values of every baseline "
             "and polarisation");
  DescribeSelection(job, {.leftOut = kFrequencies | kStokes, .sources = "all"});
  return job.Finish();
}

}  // namespace

void AddInfoCommand(CLI::App& app, Session& session) {
  static const AJobDescription description = DescribeInfo();
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, description, {*arguments, {&arguments->path}},
             [arguments, &session] { return Info(*arguments, session); });
}

}  // namespace zeltra::app
