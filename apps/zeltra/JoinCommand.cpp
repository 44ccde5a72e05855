// zeltra join: the parts of an output become one file.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/JoinParts.h"

namespace zeltra::app {
namespace {

struct JoinOptions : JobOptions {
  bool parts = false;
};

struct Arguments {
  std::string to;
  JoinOptions options;
};

const AJobDescription& JoinDescription() {
  static const AJobDescription description = [] {
    AJobDescriber<JoinOptions> job(
        "join", "Join the parts of an output into the file that one run makes",
        "OUT.uvx is made of OUT.uvx.1-of-N to OUT.uvx.N-of-N, as zeltra average --part K/N -o OUT.uvx writes them, "
        "byte "
        "for byte as zeltra average -o OUT.uvx. The parts stay. Files of another run, of another input or with other "
        "options are refused.");
    job.Option("parts", &JoinOptions::parts, "join parts").Required();
    job.Output({"OUT.uvx", "the file to make", "", 0, {}});
    job.Overwrite();
    return job.Finish();
  }();
  return description;
}

AResult Join(Arguments& arguments, Session& session) {
  if (AResult result = JoinParts(arguments.to, arguments.options); !result) return result;
  ReportUVX(session, arguments.to);
  return AResult::Ok();
}

}  // namespace

void AddJoinCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, JoinDescription(), {arguments->options, {&arguments->to}},
             [arguments, &session] { return Join(*arguments, session); });
}

}  // namespace zeltra::app
