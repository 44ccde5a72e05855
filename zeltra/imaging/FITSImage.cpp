// SPDX-License-Identifier: MIT
#include "zeltra/imaging/FITSImage.h"

#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/Parse.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/fits/AFITSbase.h"
#include "zeltra/fits/FITSBytesInternal.h"

namespace zeltra {
namespace {

// 1 GiB of floats.
constexpr double kMostPixels = 1 << 28;
constexpr double kLeastPixel = 1e-15, kMostAngle = 60;  // degrees
constexpr double kSmallAngle = 1e-6;                    // degrees, of a rotation too small to see

class ImageReader {
 public:
  ImageReader(AInputFile& file, const std::string& path, FITSImage& image)
      : file_(file), path_(path), image_(image), header_(&file) {}

  AResult Run();

 private:
  AResult FindShape();
  AResult FindPlace();
  AResult FindBeam();
  AResult ReadScale();
  AResult ReadPixels();
  AResult Number(const std::string& key, std::optional<double> otherwise, double& value) const;
  std::string Word(const std::string& key) const;
  AResult Fail(const std::string& sentence) const { return AResult::Fail(path_ + ": " + sentence); }

  AInputFile& file_;
  const std::string& path_;
  FITSImage& image_;
  AFITSmain header_;
  int elements_ = 0, lines_ = 0;
  double scale_ = 1, zero_ = 0;
  std::optional<double> blank_;  // the integer that stands for no value
};

AResult ImageReader::Run() {
  if (AResult result = FindShape(); !result) return result;
  if (AResult result = FindPlace(); !result) return result;
  if (AResult result = FindBeam(); !result) return result;
  if (AResult result = ReadScale(); !result) return result;
  return ReadPixels();
}

AResult ImageReader::Number(const std::string& key, std::optional<double> otherwise, double& value) const {
  ParseFITSstr card;
  const bool isThere = header_.FindCard(key, card) && !card.strPar().empty();
  if (!isThere && !otherwise) return Fail("has no card " + key);
  value = otherwise.value_or(0);
  if (!isThere) return AResult::Ok();
  if (AResult result = strToVal(card.strPar(), value); !result) return Fail("card " + key + ": " + result.message());
  return AResult::Ok();
}

std::string ImageReader::Word(const std::string& key) const {
  ParseFITSstr card;
  return header_.FindCard(key, card) ? card.strPar() : std::string();
}

AResult ImageReader::FindShape() {
  // AFITSmain takes a header without GCOUNT for one without data, so only a header without an end is refused here.
  if (!header_.ReadHeader() && header_.headerEnd() == 0) return Fail("the file ends before its header does");
  if (Word("SIMPLE") != "T" || header_.naxis() < 2) return Fail("is no FITS image");
  double pixels = 1;
  for (int axis = 1; axis <= header_.naxis(); ++axis) {
    const int length = header_.AxisLength(axis);
    if (length < 1) return Fail("is no image, as axis " + std::to_string(axis) + " has no length");
    if (axis > 2 && length > 1)
      return Fail("is a cube, with " + std::to_string(length) + " planes along axis " + std::to_string(axis));
    pixels *= length;
  }
  if (pixels > kMostPixels) return Fail("is larger than 16384 x 16384 pixels");
  if (!WithFITSType(header_.valueBytes(), [](auto) {})) return Fail("card BITPIX: no type of FITS");
  const double bytes = pixels * std::abs(header_.valueBytes());
  if (!(static_cast<double>(header_.dataStart()) + bytes <= static_cast<double>(file_.GetFileSize())))
    return Fail("the file ends before its image does");
  elements_ = header_.AxisLength(1);
  lines_ = header_.AxisLength(2);
  return AResult::Ok();
}

AResult ImageReader::FindPlace() {
  const std::string first = Word("CTYPE1"), second = Word("CTYPE2");
  if (first != "RA---SIN" || second != "DEC--SIN") {
    return Fail("its axes are \"" + first + "\" and \"" + second + "\", not RA---SIN and DEC--SIN");
  }
  double east, north, rotation;
  if (AResult result = Number("CDELT1", {}, east); !result) return result;
  if (AResult result = Number("CDELT2", {}, north); !result) return result;
  if (AResult result = Number("CRPIX1", 0, image_.element); !result) return result;
  if (AResult result = Number("CRPIX2", 0, image_.line); !result) return result;
  for (const double size : {std::fabs(east), std::fabs(north)}) {
    if (!(size > kLeastPixel && size < kMostAngle))
      return Fail("its pixels have no size that can be meant, by CDELT1 and CDELT2");
  }
  for (const char* key : {"CROTA1", "CROTA2", "PC1_2", "PC2_1", "CD1_1", "CD1_2", "CD2_1", "CD2_2"}) {
    if (AResult result = Number(key, 0, rotation); !result) return result;
    if (std::fabs(rotation) > kSmallAngle) return Fail("is rotated or skewed, by card " + std::string(key));
  }
  image_.elementWidth = east * kRadiansPerDegree;
  image_.lineHeight = north * kRadiansPerDegree;
  --image_.element;
  --image_.line;
  return AResult::Ok();
}

AResult ImageReader::FindBeam() {
  constexpr std::string_view kPerBeam = "/BEAM";
  image_.unit = Word("BUNIT");
  // ParseFITSstr turns a slash in a value into a hyphen.
  std::string unit = image_.unit;
  for (char& c : unit) c = c == '-' ? '/' : c;
  image_.unit = unit;
  if (unit.size() < kPerBeam.size() ||
      !IsSameWord(std::string_view(unit).substr(unit.size() - kPerBeam.size()), kPerBeam))
    return Fail("its unit is \"" + unit + "\", not JY/BEAM");
  if (AResult result = Number("BMAJ", {}, image_.beam.major); !result) return result;
  if (AResult result = Number("BMIN", {}, image_.beam.minor); !result) return result;
  if (AResult result = Number("BPA", 0, image_.beam.angle); !result) return result;
  const ABeamShape& beam = image_.beam;
  if (!(beam.minor > kLeastPixel && beam.major >= beam.minor && beam.major < kMostAngle))
    return Fail("its beam, by BMAJ and BMIN, is no ellipse");
  image_.beam.major *= kRadiansPerDegree;
  image_.beam.minor *= kRadiansPerDegree;
  return AResult::Ok();
}

AResult ImageReader::ReadScale() {
  if (AResult result = Number("BSCALE", 1, scale_); !result) return result;
  if (AResult result = Number("BZERO", 0, zero_); !result) return result;
  constexpr double kNone = std::numeric_limits<double>::infinity();
  double blank;
  if (AResult result = Number("BLANK", kNone, blank); !result) return result;
  if (header_.valueBytes() > 0 && blank != kNone) blank_ = blank;
  return AResult::Ok();
}

AResult ImageReader::ReadPixels() {
  if (!image_.pixels.reSize(lines_, elements_)) return Fail("there is not enough memory for its pixels");
  const int valueBytes = std::abs(header_.valueBytes());
  const int64 lineBytes = int64{elements_} * valueBytes;
  std::vector<char> bytes(static_cast<size_t>(lineBytes));
  for (int i = 0; i < lines_; ++i) {
    if (file_.ReadAt(header_.dataStart() + i * lineBytes, bytes.data(), lineBytes) != lineBytes)
      return Fail("its pixels cannot be read");
    float* line = image_.pixels.Line(i);
    WithFITSType(header_.valueBytes(), [&](auto type) {
      for (int j = 0; j < elements_; ++j) {
        const double value = FITSNumber<decltype(type)>(bytes.data() + static_cast<std::ptrdiff_t>(j) * valueBytes);
        line[j] =
            value == blank_ ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(zero_ + scale_ * value);
      }
    });
  }
  return AResult::Ok();
}

}  // namespace

AResult FITSImage::Read(const std::string& path) {
  AInputFile file;
  if (AResult result = file.Open(path); !result) return result;
  return file.Settle(ImageReader(file, path, *this).Run());
}

}  // namespace zeltra
