// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"

#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/RecordChoice.h"

namespace zeltra {
namespace {

std::string Count(int64 n, const char* what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

std::string SizeOf(const std::string& path) {
  AFile file;
  if (!file.Open(path.c_str(), AFile::Binary)) return "";
  const auto bytes = static_cast<double>(file.GetFileSize());
  if (bytes < 1e5) return ", " + std::to_string(file.GetFileSize()) + " bytes";
  return ", " + RoundedNumber(bytes / (bytes < 1e9 ? 1e6 : 1e9), 3) + (bytes < 1e9 ? " MB" : " GB");
}

}  // namespace

AResult OpenInput(AUVXInput& input, const std::string& path, const JobOptions& options, AJobHost& host) {
  // Whether outputs are synchronised does not concern a file that is made for reading.
  JobOptions reading;
  reading.progress = options.progress;
  reading.cancel = options.cancel;
  std::unique_ptr<AInputFile> plain;
  AResult result = host.OpenInput(path, reading, plain);
  if (result) result = plain ? input.Open(std::move(plain), reading) : input.Open(path, reading);
  NoteAll(input.remarks(), host);
  return result;
}

AResult OpenInput(AUVXInput& input, const std::string& path, const UVXSelection& selection, const JobOptions& options,
                  AJobHost& host) {
  if (AResult result = OpenInput(input, path, options, host); !result) return result;
  NoteAll(input.contents().RemarksOn(selection), host);
  return AResult::Ok();
}

void NoteAll(const std::vector<std::string>& remarks, AJobHost& host) {
  for (const std::string& remark : remarks) host.Note(remark);
}

void NoteSources(AUVXInput& input, const UVXSelection& chosen, AJobHost& host) {
  if (!chosen.sources.empty()) return;
  RecordChoice choice;
  if (!choice.Open(input, chosen) || choice.sources().size() < 2) return;
  host.Note("the table has lines of several sources, --source chooses one: " +
            input.contents().SourceList(choice.sources()));
}

void ReportVisibilities(AJobHost& host, const std::string& path, AUVXInput& made, const std::string& what,
                        const std::string& of) {
  const AUVXContents& contents = made.contents();
  const std::string records =
      of.empty() ? Count(made.uvx().count(), "record") : std::to_string(made.uvx().count()) + of + " records";
  const int64 sources = std::ssize(contents.SourceNumbers()), tables = std::ssize(contents.tables());
  host.Report(path + ": " + records + (sources > 0 ? " of " + Count(sources, "source") : "") + what + ", " +
              Count(tables, "table") + SizeOf(path));
}

void ReportUVX(AJobHost& host, const std::string& path, const std::string& what, const std::string& of) {
  AUVXInput made;
  if (made.Open(path)) ReportVisibilities(host, path, made, what, of);
}

AResult FinishSummary(ATableSink& table) {
  AResult result = table.Finish();
  return result.code() == AResult::Cancelled ? AResult::Ok() : result;
}

void AppendValueColumns(AUVXInput& input, const ValuesChoice& values, int shown, std::vector<AJobColumn>& columns) {
  const std::string unit = FieldText(input.contents().header().info.bunit, sizeof(AUVXHeader().info.bunit));
  int value = 0;
  for (const int i : values.IFs) {
    for (const int channel : values.channels) {
      for (const PolarisationChoice& polarisation : values.polarisations) {
        if (value++ >= shown) return;
        for (const std::string part : {"re", "im", "weight"}) {
          std::string name = part;
          for (const int place : {i, channel}) name.append("_").append(std::to_string(place + 1));
          columns.push_back({name.append("_").append(polarisation.name), part == "weight" ? "" : unit, ""});
        }
      }
    }
  }
}

void DeliverValue(ATableSink& table, const AUVXComplex& value) {
  table.Real(value.re);
  table.Real(value.im);
  table.Real(value.weight);
}

}  // namespace zeltra
