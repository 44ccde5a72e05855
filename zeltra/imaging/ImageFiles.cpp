// SPDX-License-Identifier: MIT
#include "zeltra/imaging/ImageFiles.h"

#include <algorithm>
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
#include "zeltra/uvx/AUVXTable.h"

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

// The lowest and the highest pixel.
void AddExtremes(FITSHeaderWriter& header, const AMatrix<float>& pixels) {
  const auto [lowest, highest] = std::minmax_element(pixels.Line(0), pixels.Line(pixels.Lines()));
  header.AddRoundedNumber("DATAMIN", *lowest);
  header.AddRoundedNumber("DATAMAX", *highest);
}

FITSHeaderWriter FITSHeader(const DirtyImage& image, const AMatrix<float>& pixels, const std::string& unit) {
  const int size = image.map.Lines();
  FITSHeaderWriter header;
  header.AddLogical("SIMPLE");
  header.AddInteger("BITPIX", -32);
  header.AddInteger("NAXIS", 4);
  header.AddInteger("NAXIS1", size);
  header.AddInteger("NAXIS2", size);
  header.AddInteger("NAXIS3", 1);
  header.AddInteger("NAXIS4", 1);
  header.AddLogical("EXTEND");
  header.AddKnownText("OBJECT", image.source);
  header.AddKnownText("TELESCOP", image.telescope);
  header.AddKnownText("OBSERVER", image.observer);
  header.AddDay("DATE-OBS", image.dateObs);
  header.AddKnownText("TIMESYS", image.timeScale);
  if (image.dateObs > 0) header.AddRoundedNumber("MJD-OBS", image.dateObs - kModifiedZero);
  header.AddKnownText("BUNIT", unit);
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
  AddExtremes(header, pixels);
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

// A header and its pixels, padded to whole blocks.
AResult WriteFITSImage(FITSHeaderWriter header, const AMatrix<float>& pixels, OutputFile& output) {
  BlockWriter writer(output.file());
  if (!header.Write(output.file())) return output.WriteError();
  const int size = pixels.LineLength();
  const int lineBytes = size * static_cast<int>(sizeof(float));
  for (int i = 0; i < pixels.Lines(); ++i) {
    char* room = writer.Reserve(lineBytes);
    if (room) Swap32(room, pixels.Line(i), static_cast<size_t>(size));
  }
  const bool isWritten = writer.Flush() && PadFITSData(output.file(), int64{lineBytes} * pixels.Lines());
  return isWritten ? AResult::Ok() : output.WriteError();
}

AResult WriteDirty(const DirtyImage& image, OutputFile& output) {
  FITSHeaderWriter header = FITSHeader(image, image.map, image.unit);
  header.AddHistory("zeltra: dirty image, " + WeightingText(image.weighting));
  header.AddHistory("zeltra: " + std::to_string(image.visibilities) + " visibilities, nothing deconvolved");
  return WriteFITSImage(header, image.map, output);
}

FITSHeaderWriter CleanHeader(const CleanImage& image, const AMatrix<float>& pixels, const std::string& content) {
  // Programs that read components expect the unit in capitals, as AIPS writes it.
  const std::string unit = IsSameWord(image.unit, "Jy/beam") ? "JY/BEAM" : image.unit;
  FITSHeaderWriter header = FITSHeader(image, pixels, unit);
  header.AddInteger("NITER", image.iterations);
  header.AddHistory("zeltra: " + content + ", " + WeightingText(image.weighting));
  header.AddHistory("zeltra: " + std::to_string(image.visibilities) + " visibilities, " +
                    std::to_string(image.components.components().size()) + " components of " +
                    RoundedNumber(image.components.Flux(), 6) + " Jy in " + std::to_string(image.iterations) +
                    " iterations and " + std::to_string(image.cycles) + " cycles" +
                    (image.ending.empty() ? "" : ", ended at " + image.ending));
  return header;
}

// Components as AIPS stores them: in degrees, x to the east.
AUVXTable ComponentTable(const ComponentModel& model) {
  AUVXTable table;
  table.Create(AUVXTable::toHash("CC", 0));
  table.AddColumn("FLUX", "JY", "1E");
  for (const char* name : {"DELTAX", "DELTAY", "MAJOR AX", "MINOR AX", "POSANGLE"}) {
    table.AddColumn(name, "DEGREES", "1E");
  }
  table.AddColumn("TYPE OBJ", "CODE", "1E");
  if (!table.SetRows(static_cast<int>(model.components().size()))) return table;
  int row = 0;
  for (const ModelComponent& c : model.components()) {
    const double major = c.isGaussian ? c.major * kDegreesPerRadian : 0;
    const double angle = c.isGaussian ? c.angle * kDegreesPerRadian : 0;
    int column = 0;
    for (const double number : {c.flux, c.x * kDegreesPerRadian, c.y * kDegreesPerRadian, major, major * c.ratio, angle,
                                c.isGaussian ? 1.0 : 0.0}) {
      table.SetNumber(row, column++, 0, number);
    }
    ++row;
  }
  return table;
}

AResult WriteClean(const CleanImage& image, OutputFile& output) {
  FITSHeaderWriter header = CleanHeader(image, image.map, "CLEAN image");
  if (AResult result = WriteFITSImage(header, image.map, output); !result) return result;
  return ComponentTable(image.components).ToFITS(output.file()) ? AResult::Ok() : output.WriteError();
}

AResult WriteText(const std::string& text, OutputFile& output) {
  return WriteWhole(output.file(), text.data(), static_cast<int64>(text.size())) ? AResult::Ok() : output.WriteError();
}

}  // namespace

struct ImageFiles::Outputs {
  Outputs(const std::string& input, const JobOptions& options) : files(input, options) {}

  OutputFiles files;
  OutputFile *map = nullptr, *beam = nullptr, *fits = nullptr, *picture = nullptr;
  OutputFile *residual = nullptr, *model = nullptr;
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
  create(names.residual, outputs_->residual);
  create(names.model, outputs_->model);
  if (!result) outputs_.reset();
  return result;
}

AResult ImageFiles::Store(const DirtyImage& image, const std::string& picture) {
  const std::unique_ptr<Outputs> outputs = std::move(outputs_);
  if (!outputs) return AResult::Fail(image.source + ": there are no files to store its image in");
  AResult result = AResult::Ok();
  if (outputs->map) result = WriteMap(image, image.map, *outputs->map);
  if (result && outputs->beam) result = WriteMap(image, image.beam, *outputs->beam);
  if (result && outputs->fits) result = WriteDirty(image, *outputs->fits);
  if (result && outputs->picture) result = WriteText(picture, *outputs->picture);
  return result ? outputs->files.Commit() : result;
}

AResult ImageFiles::Store(const CleanImage& image, const std::string& picture) {
  const std::unique_ptr<Outputs> outputs = std::move(outputs_);
  if (!outputs) return AResult::Fail(image.source + ": there are no files to store its image in");
  AResult result = AResult::Ok();
  if (outputs->fits) result = WriteClean(image, *outputs->fits);
  if (result && outputs->residual) {
    result =
        WriteFITSImage(CleanHeader(image, image.residual, "what CLEAN leaves"), image.residual, *outputs->residual);
  }
  if (result && outputs->model) result = WriteText(image.components.Text(), *outputs->model);
  if (result && outputs->picture) result = WriteText(picture, *outputs->picture);
  return result ? outputs->files.Commit() : result;
}

}  // namespace zeltra
