// A file type of a freedesktop system.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_MIMETYPEINTERNAL_H_
#define ZELTRA_DESKTOP_MIMETYPEINTERNAL_H_

#include <string>

#include "zeltra/desktop/FileTypes.h"

namespace zeltra::desktop {

/// The files in the user's data folder that make up a type:
///   mime/packages/NAME.xml                                 the MIME type with its extension and icon
///   applications/NAME.desktop                              the program that opens it
///   applications/mimeapps.list                             one line, which makes that program the default
///   icons/hicolor/{scalable,256x256}/mimetypes/NAME.{svg,png}  the icon
/// where NAME is `application-x-` followed by the type's name in lower case.
class MIMEType {
 public:
  explicit MIMEType(const std::string& typeId);

  bool IsValid() const { return !typeId_.empty() && !data_.empty(); }

  /// Whether the extension belongs to another type, for this user or for all.
  bool IsOthers(const std::string& ext) const;

  bool Write(const AFileType& type, bool withExtension) const;
  /// @return whether all files are gone
  bool Remove() const;

  /// Notify the desktop, if its programs for that are installed.
  void UpdateDatabases() const;

 private:
  std::string MIMEName() const { return "application/" + name_; }
  std::string FileName() const { return "application-" + name_; }
  std::string PackagePath() const { return data_ + "/mime/packages/" + FileName() + ".xml"; }
  std::string EntryPath() const { return data_ + "/applications/" + FileName() + ".desktop"; }
  std::string DefaultsPath() const { return data_ + "/applications/mimeapps.list"; }
  std::string IconPath(const std::string& extension) const;

  std::string Package(const AFileType& type, bool withExtension) const;
  std::string Entry(const AFileType& type) const;
  void CopyIcon(const std::string& icon) const;
  bool IsBoundByPackage(const std::string& path, const std::string& pattern) const;
  bool IsBoundIn(const std::string& folder, const std::string& pattern) const;

  std::string typeId_;
  std::string data_;  // the user's data folder
  std::string name_;  // of the MIME type, after the slash
};

}  // namespace zeltra::desktop

#endif  // ZELTRA_DESKTOP_MIMETYPEINTERNAL_H_
