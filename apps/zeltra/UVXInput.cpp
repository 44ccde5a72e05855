// SPDX-License-Identifier: MIT
#include "apps/zeltra/UVXInput.h"

#include "apps/zeltra/Command.h"
#include "apps/zeltra/Gunzip.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"

namespace zeltra::app {
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

AResult UVXInput::Open(const std::string& path, Session& session) {
  const JobOptions options = session.Options();
  std::unique_ptr<AInputFile> plain;
  AResult result = Gunzip(path, options, plain);
  if (result) result = plain ? AUVXInput::Open(std::move(plain), options) : AUVXInput::Open(path, options);
  for (const std::string& remark : remarks()) session.Note(remark);
  return result;
}

AResult UVXInput::Open(const std::string& path, const UVXSelection& selection, Session& session) {
  if (AResult result = Open(path, session); !result) return result;
  for (const std::string& remark : contents().RemarksOn(selection)) session.Note(remark);
  return AResult::Ok();
}

void ReportVisibilities(Session& session, const std::string& path, AUVXInput& made, const std::string& what,
                        const std::string& of) {
  const AUVXContents& contents = made.contents();
  const std::string records =
      of.empty() ? Count(made.uvx().count(), "record") : std::to_string(made.uvx().count()) + of + " records";
  const int64 sources = std::ssize(contents.SourceNumbers()), tables = std::ssize(contents.tables());
  session.Report(path + ": " + records + (sources > 0 ? " of " + Count(sources, "source") : "") + what + ", " +
                 Count(tables, "table") + SizeOf(path));
}

void ReportUVX(Session& session, const std::string& path, const std::string& what, const std::string& of) {
  AUVXInput made;
  if (made.Open(path)) ReportVisibilities(session, path, made, what, of);
}

}  // namespace zeltra::app
