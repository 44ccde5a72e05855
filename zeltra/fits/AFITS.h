// A FITS file with all its headers.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_AFITS_H_
#define ZELTRA_FITS_AFITS_H_

#include <memory>
#include <string>

#include "zeltra/core/APtrArray.h"
#include "zeltra/fits/AFITSxtbl.h"

namespace zeltra {

// Declared before their first use, since a complete class accepts no more attributes.
ZELTRA_EXPORT_TEMPLATE(AArray<AFITSxtbl*>);
ZELTRA_EXPORT_TEMPLATE(APtrArray<AFITSxtbl*>);

/// A random-groups UV FITS file: Open(), ReadHeaders(), then any number of seeks and reads. Until ReadHeaders() has
/// been called, queries return 0 or null.
///
/// Every card of every header is available as it stands in the file, whether or not a class knows its keyword:
///
///     for (int i = 0; i < fits.main()->CardCount(); ++i) use(fits.main()->CardText(i));
///     ParseFITSstr card;
///     if (fits.tables()(0)->FindCard("EXTVER", card)) use(card.iPar());
class ZELTRA_API AFITS {
 public:
  AFITS();
  /// Adopt an open file, which must come from new.
  explicit AFITS(AFile* file);
  AFITS(const AFITS&) = delete;
  AFITS& operator=(const AFITS&) = delete;
  ~AFITS();

  /// Open for reading. @return 0 if the file cannot be opened; file() is then null
  int Open(const std::string& path);

  /// Read the primary header from the current position and all extension headers after it.
  /// @return 0 if the primary header cannot be read. An unreadable extension header ends the walk successfully, without
  ///         a table for it.
  int ReadHeaders();

  /// Whether ReadHeaders() reached the end of the file: all headers could be read, those after the first begin with the
  /// card XTENSION, the data of each are in the file, and nothing follows the last data but the padding of their block,
  /// which need not be complete. False if the file is cut short, if a header cannot be read, or if another file or
  /// other bytes follow.
  bool EndsCleanly() const;

  /// The first extension whose EXTNAME contains `name`, since writers add words to it; null if there is none.
  AFITSxtbl* HasExtTable(const std::string& name) const;

  // Lengths of the first axis whose CTYPE contains "STOKES", "FREQ" or "IF"; 0 if there is none.
  int Stokes() const { return LengthOf("STOKES"); }
  int Channels() const { return LengthOf("FREQ"); }
  int IFs() const { return LengthOf("IF"); }
  /// The number of groups.
  int GetRecords() const;

  /// Move to the random parameters of group i, counted from 0. @return 1 for success
  int SeekToGroup(int i);
  /// Move to the first value of group i, after its random parameters. @return 1 for success
  int SeekToVis(int i);
  /// Read one value of BITPIX -32, 16 or 32 at the current position, without scaling.
  /// @return 1e38 for any other BITPIX, and if the value cannot be read
  double ReadAndTransform();

  AFITSmain* main() const { return main_.get(); }
  APtrArray<AFITSxtbl*>& tables() { return tables_; }
  const APtrArray<AFITSxtbl*>& tables() const { return tables_; }
  AFile* file() const { return file_.get(); }

 private:
  int LengthOf(const char* axisName) const;

  std::unique_ptr<AFile> file_;
  APtrArray<AFITSxtbl*> tables_;
  std::unique_ptr<AFITSmain> main_;
};

}  // namespace zeltra

#endif  // ZELTRA_FITS_AFITS_H_
