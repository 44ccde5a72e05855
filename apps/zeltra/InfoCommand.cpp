// zeltra info: the contents of a UVX file, as a page or as one JSON object.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "apps/zeltra/Command.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/jobs/InfoJob.h"

namespace zeltra::app {
namespace {

// The most lines in a section of the page.
constexpr int kMostLines = 40;

template <int size>
std::string HeaderText(const char (&field)[size]) {
  return FieldText(field, size);
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
  printer.End();
  if (*code && lines > kMostLines) {
    out_.Append("  and " + std::to_string(lines - kMostLines) + " more: zeltra table FILE " + code + "\n");
  }
}

std::string Page::SourceName(int id) {
  const std::string name = contents_.SourceName(id);
  return name.empty() ? "source " + std::to_string(id) : name;
}

AResult Info(const AJobFiles& files, InfoOptions& options, Session& session) {
  if (options.json) return RunInfo(files, options, session);
  FileInfo info;
  if (AResult result = ReadInfo(files.from(), options, session, info); !result) return result;
  if (AResult result = ReadScans(options, kMostLines, info); !result) return result;
  StandardOutput out;
  Page page(out, info.input.contents(), info.input.uvx());
  page.Print(files.from(), info.scans);
  if (options.baselines) page.PrintBaselines(info.fluxes);
  return out.Flush();
}

}  // namespace

void AddInfoCommand(CLI::App& app, Session& session) {
  auto files = std::make_shared<AJobFiles>();
  auto options = std::make_shared<InfoOptions>();
  AddCommand(app, session, InfoDescription(), TargetsOf(InfoDescription(), *options, *files),
             [files, options, &session] { return Info(*files, *options, session); });
}

}  // namespace zeltra::app
