// SPDX-License-Identifier: MIT
#include "zeltra/imaging/ImageFiles.h"

#include <cerrno>
#include <cmath>
#include <utility>

#include "zeltra/core/BlockWriterInternal.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/OutputFilesInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/fits/FITSHeaderWriterInternal.h"
#include "zeltra/image/AMapFile.h"

namespace zeltra {
namespace {

// Equinoxes before this year belong to the FK4 system (FITS standard 4.0, section 8.3).
constexpr double kFirstFK5Year = 1984;

AMapHeader HeaderOf(const DirtyImage& image) {
  AMapHeader header;
  SetFieldText(header.source, sizeof header.source, image.source);
  SetFieldText(header.unit, sizeof header.unit, image.unit);
  header.stokes = image.stokes;
  header.beam.SetShape(image.shape);
  return header;
}

// Everything but the pixels and their range.
bool StorePrologue(const DirtyImage& image, AMapFile& file) {
  const AMapHeader header = HeaderOf(image);
  const int size = image.map.Lines();
  const double first = -size / 2 * image.cell, last = (size / 2 - 1) * image.cell;
  TMinMax ranges;
  ranges.range[0] = {-last, -first};  // elements run from east to west
  ranges.range[1] = {first, last};
  return header.Store(file) && file.PutMinMax(ranges);
}

std::string WeightingText(const WeightingOptions& weighting) {
  std::string text = schemeToStr(weighting) + " weighting";
  if (weighting.power != 1) text += ", weights to the power " + valToStr(weighting.power);
  if (weighting.taper == 0) return text;
  return text + ", taper " + valToStr(weighting.taper) + " at " + valToStr(weighting.taperRadius) + " wavelengths";
}

void AddAxis(FITSHeaderWriter& header, int axis, const std::string& type, double value, double delta, double pixel) {
  const std::string number = std::to_string(axis);
  header.AddText("CTYPE" + number, type);
  header.AddRoundedNumber("CRVAL" + number, value);
  if (delta != 0) header.AddRoundedNumber("CDELT" + number, delta);  // 0: the width is unknown, and CDELT must not be 0
  header.AddRoundedNumber("CRPIX" + number, pixel);
}

FITSHeaderWriter FITSHeader(const DirtyImage& image) {
  const int size = image.map.Lines();
  FITSHeaderWriter header;
  header.AddLogical("SIMPLE");
  header.AddInteger("BITPIX", -32);
  header.AddInteger("NAXIS", 4);
  header.AddInteger("NAXIS1", size);
  header.AddInteger("NAXIS2", size);
  header.AddInteger("NAXIS3", 1);
  header.AddInteger("NAXIS4", 1);
  header.AddKnownText("OBJECT", image.source);
  header.AddKnownText("TELESCOP", image.telescope);
  header.AddKnownText("OBSERVER", image.observer);
  header.AddDay("DATE-OBS", image.dateObs);
  header.AddKnownText("TIMESYS", image.timeScale);
  if (image.dateObs > 0) header.AddRoundedNumber("MJD-OBS", image.dateObs - kModifiedZero);
  header.AddKnownText("BUNIT", image.unit);
  const double center = size / 2 + 1;
  AddAxis(header, 1, "RA---SIN", image.ra, -image.cell * kDegreesPerRadian, center);
  header.AddText("CUNIT1", "deg");
  AddAxis(header, 2, "DEC--SIN", image.dec, image.cell * kDegreesPerRadian, center);
  header.AddText("CUNIT2", "deg");
  AddAxis(header, 3, "FREQ", image.frequency, image.bandwidth, 1);
  header.AddText("CUNIT3", "Hz");
  AddAxis(header, 4, "STOKES", image.stokes.GetStokesID(), 1, 1);
  if (image.equinox > 0) {
    header.AddRoundedNumber("EQUINOX", image.equinox);
    header.AddText("RADESYS", image.equinox < kFirstFK5Year ? "FK4" : "FK5");
  }
  if (image.shape.major > 0) {
    header.AddRoundedNumber("BMAJ", image.shape.major * kDegreesPerRadian);
    header.AddRoundedNumber("BMIN", image.shape.minor * kDegreesPerRadian);
    header.AddRoundedNumber("BPA", image.shape.angle);
  }
  for (int i = 0; i < image.history.count(); ++i) header.AddCard(std::string(image.history(i)));
  // NOISE is the usual keyword of published images for the noise expected from the weights.
  header.AddRoundedNumber("NOISE", image.noise);
  header.AddRoundedNumber("RMS", image.rms);
  header.AddHistory("zeltra: dirty image, " + WeightingText(image.weighting));
  header.AddHistory("zeltra: " + std::to_string(image.visibilities) + " visibilities, nothing deconvolved");
  return header;
}

AResult WriteMap(const DirtyImage& image, const AMatrix<float>& pixels, const OutputFile& output) {
  AMapFile file;
  errno = 0;
  const bool stored = file.Open(output.temporary().c_str(), 1) && StorePrologue(image, file) && file.PutMatrix(pixels);
  const int error = errno;
  if (!stored) return output.WriteError(error);
  return file.Close() ? AResult::Ok() : output.WriteError(errno);
}

AResult WriteFITSImage(const DirtyImage& image, OutputFile& output) {
  BlockWriter writer(output.file());
  if (!FITSHeader(image).Write(output.file())) return output.WriteError();
  const int size = image.map.LineLength();
  const int lineBytes = size * static_cast<int>(sizeof(float));
  for (int i = 0; i < image.map.Lines(); ++i) {
    char* room = writer.Reserve(lineBytes);
    if (room) Swap32(room, image.map.Line(i), static_cast<size_t>(size));
  }
  const bool isWritten = writer.Flush() && PadFITSData(output.file(), int64{lineBytes} * image.map.Lines());
  return isWritten ? AResult::Ok() : output.WriteError();
}

}  // namespace

struct ImageFiles::Outputs {
  Outputs(const std::string& input, const JobOptions& options) : files(input, options) {}

  OutputFiles files;
  OutputFile *map = nullptr, *beam = nullptr, *fits = nullptr, *picture = nullptr;
};

ImageFiles::ImageFiles() = default;

ImageFiles::~ImageFiles() = default;

AResult ImageFiles::Create(const ImageNames& names, const std::string& input, const JobOptions& options) {
  outputs_ = std::make_unique<Outputs>(input, options);
  AResult result = AResult::Ok();
  const auto create = [&](const std::string& name, OutputFile*& output) {
    if (result && !name.empty()) result = outputs_->files.Create(name, output);
  };
  create(names.map, outputs_->map);
  create(names.fits, outputs_->fits);
  create(names.picture, outputs_->picture);
  create(names.beam, outputs_->beam);
  if (!result) outputs_.reset();
  return result;
}

AResult ImageFiles::Store(const DirtyImage& image, const std::string& picture) {
  const std::unique_ptr<Outputs> outputs = std::move(outputs_);
  if (!outputs) return AResult::Fail(image.source + ": there are no files to store its image in");
  AResult result = AResult::Ok();
  if (outputs->map) result = WriteMap(image, image.map, *outputs->map);
  if (result && outputs->beam) result = WriteMap(image, image.beam, *outputs->beam);
  if (result && outputs->fits) result = WriteFITSImage(image, *outputs->fits);
  if (result && outputs->picture) {
    const auto bytes = static_cast<int64>(picture.size());
    if (!WriteWhole(outputs->picture->file(), picture.data(), bytes)) result = outputs->picture->WriteError();
  }
  return result ? outputs->files.Commit() : result;
}

}  // namespace zeltra
