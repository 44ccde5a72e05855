// zeltra import: UV FITS into UVX.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/Gunzip.h"
#include "zeltra/interchange/ImportUVFITS.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  ImportOptions options;
};

AResult Import(const Arguments& arguments, Session& session) {
  ImportSummary summary;
  const ImportOptions& options = arguments.options;
  std::unique_ptr<AInputFile> plain;
  AResult result = Gunzip(arguments.from, options, plain);
  if (result) {
    result = plain ? ImportUVFITS(std::move(plain), arguments.to, options, &summary)
                   : ImportUVFITS(arguments.from, arguments.to, options, &summary);
  }
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (result) {
    session.Report(arguments.to + ": " + std::to_string(summary.records) + " records" +
                   (summary.sorted ? ", sorted by time" : "") + ", " + std::to_string(summary.tables) + " tables");
  }
  return result;
}

}  // namespace

void AddImportCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, ImportDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Import(*arguments, session); });
}

}  // namespace zeltra::app
