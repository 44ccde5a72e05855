// Functions shared by the pages of the manual in all their formats.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_MANUAL_H_
#define ZELTRA_APPS_MANUAL_H_

#include <string>

#include "apps/zeltra/Command.h"

namespace zeltra::app {

/// How a command is called, as in "zeltra export IN.uvx OUT.uvfits [options]".
std::string Synopsis(const AJobDescription& job);
/// An option as it is typed, as in "-o, --output OUT.uvx".
std::string OptionNames(const std::string& name, char letter, const std::string& form);
/// The help of an option with its range.
std::string HelpOf(const AJobOption& option);
/// What holds if an option is not given.
std::string DefaultOf(const AJobDescription& job, const AJobOption& option);

/// The page for man, in roff with the macros of man(7).
std::string ManPage(const Session& session, const CLI::App& app);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_MANUAL_H_
