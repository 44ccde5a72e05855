// The job info: the contents of a file, as one JSON object.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/InfoJob.h"

#include <algorithm>

#include "zeltra/core/Dates.h"
#include "zeltra/core/JSON.h"
#include "zeltra/core/Text.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

// For up to this many scans, JSON gives the times of their records, which takes two reads for each; for more, it gives
// those of the index.
constexpr int kMostTimedScans = 100000;

template <int size>
std::string HeaderText(const char (&field)[size]) {
  return FieldText(field, size);
}

void WriteRanges(AUVXMinMax range, AJSONWriter& json) {
  const std::pair<const char*, TMnMx> ranges[] = {{"u", range.u()},          {"v", range.v()},   {"w", range.w()},
                                                  {"time", range.time()},    {"re", range.re()}, {"im", range.im()},
                                                  {"weight", range.weight()}};
  json.Key("ranges");
  json.BeginObject();
  for (const auto& [name, limits] : ranges) {
    json.Key(name);
    json.BeginArray();
    json.Value(double{limits.minimum});
    json.Value(double{limits.maximum});
    json.EndArray();
  }
  json.EndObject();
}

void WriteTables(const AUVXContents& contents, AJSONWriter& json) {
  json.Key("tables");
  json.BeginArray();
  for (const UVXTableSummary& table : contents.tables()) {
    json.BeginObject();
    json.Member("code", table.code);
    json.Member("id", table.id);
    json.Member("name", table.name);
    json.Member("rows", table.rows);
    json.Member("columns", table.columns);
    json.Member("row_bytes", table.rowBytes);
    json.Member("bytes", table.bytes);
    json.Member("offset", table.offset);
    json.EndObject();
  }
  json.EndArray();
}

void WriteAntennas(const AUVXContents& contents, AJSONWriter& json) {
  json.Key("antennas");
  json.BeginArray();
  for (int i = 0; i < ListedAntennas(contents); ++i) {
    const AUVXTlscItem& antenna = contents.antennas()(i);
    json.BeginObject();
    json.Member("id", int{antenna.id});
    json.Member("name", antenna.Name());
    json.Member("x", antenna.x);
    json.Member("y", antenna.y);
    json.Member("z", antenna.z);
    json.EndObject();
  }
  json.EndArray();
  json.Key("array_center");
  json.BeginArray();
  const AUVXAntenns& antennas = contents.antennas();
  for (const double metres : {antennas.ArrayX(), antennas.ArrayY(), antennas.ArrayZ()}) json.Value(metres);
  json.EndArray();
}

void WriteSources(const AUVXContents& contents, AJSONWriter& json) {
  json.Key("sources");
  json.BeginArray();
  for (int i = 0; i < contents.sources().count(); ++i) {
    const AUVXSourceItem& source = contents.sources()(i);
    json.BeginObject();
    json.Member("id", int{source.id});
    json.Member("name", source.Name());
    json.Member("epoch", double{source.epoch});
    json.Member("ra_app", source.raApp);
    json.Member("dec_app", source.decApp);
    json.Member("ra_epoch", source.raEpoch);
    json.Member("dec_epoch", source.decEpoch);
    json.EndObject();
  }
  json.EndArray();
}

void WriteScans(const FileInfo& info, const AUVXContents& contents, AJSONWriter& json) {
  json.Key("scans");
  json.BeginArray();
  for (int i = 0; i < contents.scans().count(); ++i) {
    const AUVXPositionItem& scan = info.scans.empty() ? contents.scans()(i) : info.scans[static_cast<size_t>(i)];
    json.BeginObject();
    json.Member("source_id", int{scan.sourceId});
    json.Member("freq_id", int{scan.freqId});
    json.Member("subarray", int{scan.subarray});
    json.Member("start_s", double{scan.start});
    json.Member("duration_s", double{scan.duration});
    json.Member("first", scan.startVis);
    json.Member("last", scan.endVis);
    json.EndObject();
  }
  json.EndArray();
}

void WriteSetups(const AUVXContents& contents, AJSONWriter& json) {
  const AUVXFqTbl& setups = contents.setups();
  json.Key("frequencies");
  json.BeginArray();
  for (int row = 0; row < setups.GetFreqSels(); ++row) {
    json.BeginObject();
    json.Member("setup", setups.GetFreqSelID(row));
    json.Key("ifs");
    json.BeginArray();
    for (int i = 0; i < setups.GetIFs(); ++i) {
      json.BeginObject();
      json.Member("start_hz", setups.GetStartIFFq(i, row));
      json.Member("delta_hz", setups.GetDeltaIFFq(i, row));
      json.EndObject();
    }
    json.EndArray();
    json.EndObject();
  }
  json.EndArray();
}

void WriteFluxes(const AUVXContents& contents, const AUVXFluxes& fluxes, int baseline, AJSONWriter& json) {
  json.Key("polarisations");
  json.BeginArray();
  for (int s = 0; s < fluxes.stokes(); ++s) {
    const AUVXFluxItem& flux = fluxes(baseline, s);
    json.BeginObject();
    json.Member("stokes", contents.polarisations()[static_cast<size_t>(s)]);
    json.Member("values", flux.count);
    json.Member("mean", double{flux.mean});
    json.Member("scatter", double{flux.scatter});
    json.EndObject();
  }
  json.EndArray();
}

void WriteBaselines(const AUVXContents& contents, const AUVXFluxes& fluxes, AJSONWriter& json) {
  json.Key("baselines");
  json.BeginArray();
  for (int i = 0; i < fluxes.baselines().count(); ++i) {
    const AUVXBaseLineItem& baseline = fluxes.baselines()(i);
    json.BeginObject();
    json.Member("source", int{baseline.source});
    json.Member("ant1", int{static_cast<uint8_t>(baseline.tlsc1)});
    json.Member("ant2", int{static_cast<uint8_t>(baseline.tlsc2)});
    json.Member("flagged", baseline.flag != 0);
    WriteFluxes(contents, fluxes, i, json);
    json.EndObject();
  }
  json.EndArray();
}

void WriteHeader(const AUVXContents& contents, const AUVXFile& uvx, AJSONWriter& json) {
  const AUVXHeader& header = contents.header();
  json.Member("records", uvx.count());
  json.Key("stokes");
  json.BeginArray();
  for (int i = 0; i < header.stokes.count(); ++i) json.Value(int{header.stokes(i)});
  json.EndArray();
  json.Key("stokes_names");
  json.BeginArray();
  for (const std::string& name : contents.polarisations()) json.Value(name);
  json.EndArray();
  json.Member("ifs", std::max(uvx.IFs(), 1));
  json.Member("channels", uvx.channels());
  json.Member("freq0_hz", uvx.freq0());
  json.Member("epoch", double{header.info.epoch});
  const std::string date = DateText(header.info.dateObs);
  json.Key("date_obs");
  date.empty() ? json.Value(nullptr) : json.Value(date);
  json.Member("date_obs_jd", header.info.dateObs);
  json.Member("bunit", HeaderText(header.info.bunit));
  json.Member("observer", HeaderText(header.info.observer));
  json.Member("telescope", HeaderText(header.info.telescope));
  json.Member("record_bytes", uvx.recSize());
  json.Member("data_offset", uvx.DataOffset());
}

// Numbers that are not finite become null.
std::string InfoAsJSON(FileInfo& info, bool hasFluxes) {
  const AUVXContents& contents = info.input.contents();
  AJSONWriter json;
  json.BeginObject();
  WriteHeader(contents, info.input.uvx(), json);
  WriteRanges(contents.header().range, json);
  WriteTables(contents, json);
  WriteAntennas(contents, json);
  WriteSources(contents, json);
  WriteScans(info, contents, json);
  WriteSetups(contents, json);
  if (hasFluxes) WriteBaselines(contents, info.fluxes, json);
  json.EndObject();
  return json.text() + "\n";
}

AJobDescription DescribeInfo() {
  AJobDescriber<InfoOptions> job("info", "Show what a UVX file contains",
                                 "A page of what the header and the tables say: sources, scans, frequencies, antennas, "
                                 "ranges of values. A selection applies to the records that --baselines reads.");
  job.Input(UVXInputFile());
  job.Option(
      "json", &InfoOptions::json,
      "print one JSON object: frequencies in Hz, scans in seconds since 0 h of the date, from their first and last "
      "records or, where there are more than 100000 scans, from the index, with their records numbered from 1");
  job.Option("baselines", &InfoOptions::baselines,
             "read all records for the mean amplitude, its scatter and the number of valid values of every baseline "
             "and polarisation");
  DescribeSelection(job, {.leftOut = kFrequencies | kStokes, .sources = "all"});
  return job.Finish();
}

}  // namespace

int ListedAntennas(const AUVXContents& contents) {
  return contents.HasAntennaTable() ? contents.antennas().count() : 0;
}

AResult ReadInfo(const std::string& path, const InfoOptions& options, AJobHost& host, FileInfo& info) {
  if (AResult result = OpenInput(info.input, path, options.selection, options, host); !result) return result;
  const AUVXContents& contents = info.input.contents();
  if (AResult result = info.input.Check(); !result) return result;
  NoteAll(contents.Remarks(), host);
  if (options.baselines) {
    SendProgressText(options.progress, "Measuring baselines...");
    if (AResult result = info.fluxes.Create(info.input, options.selection, options); !result) return result;
  }
  return AResult::Ok();
}

AResult ReadScans(const JobOptions& options, int most, FileInfo& info) {
  const AUVXContents& contents = info.input.contents();
  for (int i = 0; i < std::min(contents.scans().count(), most); ++i) {
    if (IsCancelled(options)) return AResult::Cancel(info.input.path() + ": not all scans are read");
    info.scans.push_back(contents.scans()(i));
    if (AResult result = contents.ReadTimes(info.input, info.scans.back()); !result) return result;
  }
  return AResult::Ok();
}

AResult RunInfo(const AJobFiles& files, InfoOptions& options, AJobHost& host) {
  FileInfo info;
  if (AResult result = ReadInfo(files.from(), options, host, info); !result) return result;
  if (info.input.contents().scans().count() > kMostTimedScans) {
    host.Note("there are many scans, so their times are those of the index");
  } else if (AResult result = ReadScans(options, kMostTimedScans, info); !result) {
    return result;
  }
  return host.Text(InfoAsJSON(info, options.baselines));
}

const AJobDescription& InfoDescription() {
  static const AJobDescription description = DescribeInfo();
  return description;
}

AJob InfoJob() {
  return JobOf<InfoOptions, RunInfo>(InfoDescription);
}

}  // namespace zeltra
