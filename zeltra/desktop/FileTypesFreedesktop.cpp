// SPDX-License-Identifier: MIT
#include "zeltra/desktop/FileNames.h"
#include "zeltra/desktop/FileTypes.h"
#include "zeltra/desktop/MIMETypeInternal.h"

namespace zeltra {

ARegistration RegisterFileType(const AFileType& type) {
  const desktop::MIMEType mimeType(type.typeId);
  if (!mimeType.IsValid() || type.command.empty()) return ARegistration::Failed;
  const bool withExtension = !type.ext.empty() && !mimeType.IsOthers(type.ext);
  const bool written = mimeType.Write(type, withExtension);
  mimeType.UpdateDatabases();
  if (!written) return ARegistration::Failed;
  return withExtension ? ARegistration::Complete : ARegistration::TypeOnly;
}

void ARegisterShellFileTypes(int withIcon, const std::string& ext, const std::string& typeId,
                             const std::string& iconFile, int) {
  RegisterFileType({ext, typeId, withIcon ? iconFile : "", {ProgramPath()}});
}

// The extension is part of the type's own package and is removed with it.
bool AUnregisterShellFileTypes(const std::string&, const std::string& typeId) {
  const desktop::MIMEType mimeType(typeId);
  if (!mimeType.IsValid()) return false;
  const bool gone = mimeType.Remove();
  mimeType.UpdateDatabases();
  return gone;
}

}  // namespace zeltra
