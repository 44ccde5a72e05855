// Images and beams as map files and FITS images.
// SPDX-License-Identifier: MIT
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zeltra/core/Dates.h"
#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/image/AMapFile.h"
#include "zeltra/imaging/ImageUVX.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

// Equinoxes before this year are of the FK4 system (FITS standard 4.0, section 8.3).
constexpr double kFirstFK5Year = 1984;

AMapHeader HeaderOf(const DirtyImage& image) {
  AMapHeader header;
  SetFieldText(header.source, sizeof header.source, image.source);
  SetFieldText(header.unit, sizeof header.unit, image.unit);
  header.stokes = image.stokes;
  const double beam[4] = {image.shape.major, image.shape.minor, image.shape.angle, 0};
  static_assert(sizeof beam == sizeof header.beam.data);
  std::memcpy(header.beam.data, beam, sizeof beam);
  return header;
}

// Everything but the pixels and their range.
bool StorePrologue(const DirtyImage& image, AMapFile& file) {
  AMapHeader header = HeaderOf(image);
  const int size = image.map.Lines();
  const double first = -size / 2 * image.cell, last = (size / 2 - 1) * image.cell;
  TMinMax ranges;
  ranges.range[0] = {-last, -first};  // elements begin in the east
  ranges.range[1] = {first, last};
  return header.Store(file) && file.PutMinMax(ranges);
}

// The header of a FITS image, collected card by card.
class Header {
 public:
  void Number(const std::string& key, double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.12E", value);
    Card(key, FixExponent(text), 1);
  }
  void Integer(const std::string& key, int value) { Card(key, std::to_string(value), 1); }
  void Logical(const std::string& key) { Card(key, kFITSTrue, 1); }
  void Text(const std::string& key, const std::string& value) {
    if (!value.empty()) Card(key, Printable(value), 0);
  }
  void History(const std::string& text) { FormatHistoryCard(NewCard(), Printable(text)); }
  void Axis(int axis, const std::string& type, double value, double delta, double pixel) {
    const std::string number = std::to_string(axis);
    Text("CTYPE" + number, type);
    Number("CRVAL" + number, value);
    Number("CDELT" + number, delta);
    Number("CRPIX" + number, pixel);
  }
  /// The header as it stands in a file, with its END.
  const std::string& Finish() {
    std::memcpy(NewCard(), "END", 3);
    bytes_.resize((bytes_.size() + kFITSBlock - 1) / kFITSBlock * kFITSBlock, ' ');
    return bytes_;
  }

 private:
  // Headers hold printable ASCII only.
  static std::string Printable(std::string text) {
    for (char& c : text) c = c >= ' ' && c <= '~' ? c : '?';
    return text;
  }
  char* NewCard() {
    bytes_.append(kFITSCard, ' ');
    return &bytes_[bytes_.size() - kFITSCard];
  }
  void Card(const std::string& key, const std::string& value, int numeric) {
    FormatCard(NewCard(), key, value, numeric);
  }

  std::string bytes_;
};

std::string HeaderBytes(const DirtyImage& image) {
  const int size = image.map.Lines();
  Header header;
  header.Logical("SIMPLE");
  header.Integer("BITPIX", -32);
  header.Integer("NAXIS", 4);
  header.Integer("NAXIS1", size);
  header.Integer("NAXIS2", size);
  header.Integer("NAXIS3", 1);
  header.Integer("NAXIS4", 1);
  header.Text("OBJECT", image.source);
  header.Text("TELESCOP", image.telescope);
  header.Text("OBSERVER", image.observer);
  header.Text("DATE-OBS", DateText(image.dateObs));
  if (image.dateObs > 0) header.Number("MJD-OBS", image.dateObs - kModifiedZero);
  header.Text("BUNIT", image.unit);
  const double center = size / 2 + 1;
  header.Axis(1, "RA---SIN", image.ra, -image.cell * kDegreesPerRadian, center);
  header.Text("CUNIT1", "deg");
  header.Axis(2, "DEC--SIN", image.dec, image.cell * kDegreesPerRadian, center);
  header.Text("CUNIT2", "deg");
  header.Axis(3, "FREQ", image.frequency, image.bandwidth > 0 ? image.bandwidth : 1, 1);
  header.Text("CUNIT3", "Hz");
  header.Axis(4, "STOKES", image.stokes.GetStokesID(), 1, 1);
  if (image.equinox > 0) {
    header.Number("EQUINOX", image.equinox);
    header.Text("RADESYS", image.equinox < kFirstFK5Year ? "FK4" : "FK5");
  }
  if (image.shape.major > 0) {
    header.Number("BMAJ", image.shape.major * kDegreesPerRadian);
    header.Number("BMIN", image.shape.minor * kDegreesPerRadian);
    header.Number("BPA", image.shape.angle);
  }
  header.History(std::string("zeltra: dirty image, ") +
                 (image.weighting == ImageOptions::Uniform ? "uniform" : "natural") + " weighting");
  header.History("zeltra: " + std::to_string(image.visibilities) + " visibilities, nothing deconvolved");
  return header.Finish();
}

}  // namespace

AResult StoreMap(const DirtyImage& image, const AMatrix<float>& pixels, const std::string& path, bool overwrite) {
  OutputFile output;
  if (AResult result = output.Create(path, overwrite); !result) return result;
  AMapFile file;
  const bool stored = file.Open(output.temporary().c_str(), 1) && StorePrologue(image, file) && file.PutMatrix(pixels);
  return file.Close() && stored ? output.Commit() : output.WriteError();
}

AResult StoreFITSImage(const DirtyImage& image, const std::string& path, bool overwrite) {
  OutputFile output;
  if (AResult result = output.Create(path, overwrite); !result) return result;
  std::string header = HeaderBytes(image);
  CheckedFile& file = output.file();
  bool good = file.Write(header.data(), static_cast<int>(header.size()));
  const int size = image.map.LineLength();
  std::vector<float> line(static_cast<size_t>(size));
  const int lineBytes = size * static_cast<int>(sizeof(float));
  for (int i = 0; i < image.map.Lines() && good; ++i) {
    Swap32(line.data(), image.map.Line(i), line.size());
    good = file.Write(line.data(), lineBytes);
  }
  const int beyond = static_cast<int>(int64{lineBytes} * image.map.Lines() % kFITSBlock);
  char zeros[kFITSBlock] = {};
  if (beyond > 0) good = good && file.Write(zeros, kFITSBlock - beyond);
  return good && file.good() ? output.Commit() : output.WriteError();
}

}  // namespace zeltra
