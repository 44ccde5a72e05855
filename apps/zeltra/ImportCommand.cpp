// zeltra import: UV FITS into UVX.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "zeltra/interchange/ImportUVFITS.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  bool force = false;
};

AResult Import(const Arguments& arguments, Session& session) {
  ImportSummary summary;
  AResult result = ImportUVFITS(arguments.from, arguments.to, session.Options(arguments.force), &summary);
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
  CLI::App& command = *app.add_subcommand("import", "Import random-groups UV FITS into a UVX file");
  command.add_option("IN.uvfits", arguments->from, "the file to import")->required();
  command.add_option("OUT.uvx", arguments->to, "the file to make")->required();
  command.add_flag("-f,--force", arguments->force, "replace OUT.uvx if it exists");
  session.OnRun(command, [arguments, &session] { return Import(*arguments, session); });
}

}  // namespace zeltra::app
