// zeltra simulate: a UVX file of a simulated observation.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/SimulateUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string path;
  SimulateOptions options;
};

}  // namespace

void AddSimulateCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, SimulateDescription(), {arguments->options, {&arguments->path}}, [arguments, &session] {
    AResult result = SimulateUVX(arguments->path, arguments->options);
    if (result) ReportUVX(session, arguments->path);
    return result;
  });
}

}  // namespace zeltra::app
