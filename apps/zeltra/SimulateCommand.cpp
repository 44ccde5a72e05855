// zeltra simulate: a UVX file of an observation that never was.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "zeltra/ops/SimulateUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string path;
  bool force = false;
  SimulateOptions options;
};

AResult Simulate(Arguments& arguments, Session& session) {
  static_cast<JobOptions&>(arguments.options) = session.Options(arguments.force);
  return SimulateUVX(arguments.path, arguments.options);
}

}  // namespace

void AddSimulateCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  SimulateOptions& options = arguments->options;
  CLI::App& command = *app.add_subcommand("simulate", "Make a UVX file of a simulated VLBA observation");
  command.add_option("OUT.uvx", arguments->path, "the file to make")->required();
  command.option_defaults()->always_capture_default();
  command.add_flag("-f,--force", arguments->force, "replace OUT.uvx if it exists");
  command.add_option("--seed", options.seed, "of the random numbers: the same seed makes the same file");
  command.add_option("--antennas", options.antennas, "number of antennas, 2 to 10");
  command.add_option("--minutes", options.minutes, "length of the observation");
  command.add_option("--integration", options.integration, "seconds a record");
  command.add_option("--ifs", options.ifs, "number of IFs");
  command.add_option("--channels", options.channels, "channels of an IF");
  command.add_option("--components", options.components, "point sources of each source, 1 or 2");
  command.add_option("--noise", options.noise, "multiple of the thermal noise");
  command.add_flag("--phase-errors", options.phaseErrors, "give every antenna a random phase in each scan");
  session.OnRun(command, [arguments, &session] { return Simulate(*arguments, session); });
}

}  // namespace zeltra::app
