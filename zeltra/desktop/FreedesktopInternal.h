// The user's data folder and the text files in it.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_FREEDESKTOPINTERNAL_H_
#define ZELTRA_DESKTOP_FREEDESKTOPINTERNAL_H_

#include <optional>
#include <string>
#include <vector>

namespace zeltra::desktop {

/// Folder for the user's own data, without a trailing separator; empty if the environment does not name one.
std::string DataFolder();

/// Folders of the data shared by all users, the most important first.
std::vector<std::string> SharedDataFolders();

/// Contents of a file: empty text if there is no such file, nothing if it cannot be read.
std::optional<std::string> FileText(const std::string& path);

/// Write a file, creating its folders. Other programs see all of it or nothing.
bool PutFile(const std::string& path, const std::string& text);

/// The pieces of `text` between separators: one more than there are separators.
std::vector<std::string> Split(const std::string& text, char separator);

/// `text` with ASCII letters in lower case.
std::string LowerCase(std::string text);

/// Make a desktop entry the program that opens files of a MIME type, unless the user has chosen another one.
/// @param list  path of a `mimeapps.list`
bool AddDefaultProgram(const std::string& list, const std::string& mimeType, const std::string& entry);

/// Undo AddDefaultProgram.
bool RemoveDefaultProgram(const std::string& list, const std::string& mimeType, const std::string& entry);

}  // namespace zeltra::desktop

#endif  // ZELTRA_DESKTOP_FREEDESKTOPINTERNAL_H_
