// zeltra register: sets what a double-click on a UVX file opens.
// SPDX-License-Identifier: MIT
#include <filesystem>
#include <memory>
#include <system_error>

#include "apps/zeltra/Command.h"
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FileTypes.h"

namespace zeltra::app {
namespace {

constexpr char kExtension[] = ".uvx";
constexpr char kTypeId[] = "ZELTRA.uvx";

struct Arguments : JobOptions {
  std::string program;
  bool remove = false;
};

// The desktop starts programs from any folder.
std::string FullPath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path full = std::filesystem::absolute(std::u8string(path.begin(), path.end()), error);
  const std::u8string text = full.u8string();
  return std::string(text.begin(), text.end());
}

AResult CannotWrite() {
  return AResult::Fail(std::string(kExtension) +
                       ": the file types of this system cannot be written; on Windows that takes an administrator");
}

AResult Register(const std::string& program, Session& session) {
  AFileType type{kExtension, kTypeId, "", {ProgramPath(), "info", "--pause"}, true};
  if (!program.empty()) {
    if (!IsFileExists(program)) return AResult::Fail(program + ": no such program");
    type.command = {FullPath(program)};
    type.terminal = false;
  }
  switch (RegisterFileType(type)) {
    case ARegistration::Failed:
      return CannotWrite();
    case ARegistration::TypeOnly:
      AUnregisterShellFileTypes(kExtension, kTypeId);
      return AResult::Fail(std::string(kExtension) + ": belongs to another file type, which keeps it");
    case ARegistration::Complete:
      break;
  }
  session.Report(std::string(kExtension) + " files are opened by " + type.command.front());
  return AResult::Ok();
}

AResult Unregister(Session& session) {
  if (!AUnregisterShellFileTypes(kExtension, kTypeId)) return CannotWrite();
  session.Report(std::string(kExtension) + " files are no longer opened by a program of this registration");
  return AResult::Ok();
}

AJobDescription DescribeRegister() {
  AJobDescriber<Arguments> job("register", "Make the desktop open UVX files", "UVX files then open on a double-click.");
  job.Option("program", &Arguments::program, "path of the program that opens UVX files")
      .Form("PROGRAM")
      .Otherwise("zeltra info");
  job.Option("remove", &Arguments::remove, "undo the registration").Excludes("program");
  return job.Finish();
}

}  // namespace

void AddRegisterCommand(CLI::App& app, Session& session) {
  static const AJobDescription description = DescribeRegister();
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, description, {*arguments, {}}, [arguments, &session] {
    return arguments->remove ? Unregister(session) : Register(arguments->program, session);
  });
}

}  // namespace zeltra::app
