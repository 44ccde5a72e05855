// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ComponentModel.h"

#include <cmath>
#include <cstring>
#include <iterator>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/Parse.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {
namespace {

// Maximum size of a text file; 100,000 components take a tenth of it.
constexpr int64 kMostTextBytes = 100 << 20;
// The numbers of a line, in order.
enum Field { InFlux, InRadius, InTheta, InMajor, InRatio, InPhi, InType, InFrequency, InIndex, Fields };
constexpr unsigned kFreeOf[Fields] = {ModelComponent::FreeFlux,
                                      ModelComponent::FreeX | ModelComponent::FreeY,
                                      ModelComponent::FreeX | ModelComponent::FreeY,
                                      ModelComponent::FreeMajor,
                                      ModelComponent::FreeRatio,
                                      ModelComponent::FreeAngle};

// What is wrong with a component; empty if nothing.
std::string Fault(const ModelComponent& c) {
  for (const double number : {c.flux, c.x, c.y, c.major, c.ratio, c.angle, c.frequency, c.spectralIndex}) {
    if (!std::isfinite(number)) return "a number is not finite";
  }
  if (std::hypot(c.x, c.y) >= 1) return "a position beyond the horizon";
  if (c.major < 0 || c.ratio < 0) return "a negative width";
  if (c.frequency < 0 || (c.spectralIndex != 0 && c.frequency == 0)) return "a spectral index without a frequency";
  return {};
}

// Goes over the headers of an image itself, as AFITS takes an image without GCOUNT for a file without data.
AResult FindComponents(AInputFile& file, const std::string& path, AUVXTable& table) {
  AFITSmain main(&file);
  if (!main.ReadHeader() && main.headerEnd() == 0)
    return AResult::Fail(path + ": the file ends before its header does");
  double bytes = std::abs(main.valueBytes());
  for (int axis = 1; axis <= main.naxis(); ++axis) bytes *= main.AxisLength(axis);
  if (main.naxis() == 0) bytes = 0;
  if (!(static_cast<double>(main.dataStart()) + bytes <= static_cast<double>(file.GetFileSize())))
    return AResult::Fail(path + ": the file ends before its image does");
  for (int more = file.Seek(main.dataStart() + WholeBlocks(static_cast<int64>(bytes))); more;) {
    AFITSxtbl extension(&file);
    if (!extension.ReadHeader()) {
      if (file.Tell() < file.GetFileSize() || extension.headerEnd() != 0) break;
      return AResult::Fail(path + ": the file ends within a header");
    }
    if (extension.extname().find("AIPS CC") != std::string::npos) {
      if (extension.dataStart() + extension.groupBytes() > file.GetFileSize()) {
        return AResult::Fail(path + ": the file ends before its table AIPS CC does");
      }
      table = AUVXTable(extension);
      return AResult::Ok();
    }
    more = extension.SeekToNext();
  }
  return AResult::Fail(path + ": has no table AIPS CC");
}

// The columns of a table of components.
struct ComponentColumns {
  explicit ComponentColumns(const AUVXTable& table) {
    constexpr const char* kNames[] = {"FLUX", "DELTAX", "DELTAY", "MAJOR AX", "MINOR AX", "POSANGLE", "TYPE OBJ"};
    for (size_t i = 0; i < std::size(kNames); ++i) columns[i] = table.FindColumn(kNames[i]);
    parameters = table.FindColumn("PARMS");
  }
  // A number of the shape: the i-th of MAJOR AX, MINOR AX, POSANGLE and TYPE OBJ; 0 if there is no column.
  double Shape(const AUVXTable& table, int row, int i) const {
    if (columns[3 + i] >= 0) return table.Number(row, columns[3 + i]);
    return parameters >= 0 ? table.Number(row, parameters, i) : 0;
  }

  int columns[7];
  int parameters;  // holds the shape if that has no columns of its own
};

}  // namespace

double ComponentModel::Flux() const {
  double sum = 0;
  for (const ModelComponent& component : components_) sum += component.flux;
  return sum;
}

AResult ComponentModel::Open(const std::string& name) {
  constexpr std::string_view kPoint = "point=";
  components_.clear();
  if (name == "point" || name.compare(0, kPoint.size(), kPoint) == 0) {
    ModelComponent point;
    point.flux = 1;
    if (name.size() >= kPoint.size()) {
      if (AResult result = strToVal(name.substr(kPoint.size()), point.flux); !result) {
        return AResult::Fail("model " + name + ": " + result.message());
      }
    }
    components_.push_back(point);
    return AResult::Ok();
  }
  AInputFile file;
  if (AResult result = file.Open(name); !result) return result;
  char start[9] = {};
  const bool isFITS = ReadWhole(file, start, sizeof start) && std::memcmp(start, "SIMPLE  =", sizeof start) == 0;
  return isFITS ? ReadFITS(name) : ReadText(name);
}

AResult ComponentModel::ReadText(const std::string& path) {
  AInputFile file;
  if (AResult result = file.Open(path); !result) return result;
  const int64 size = file.GetFileSize();
  if (size > kMostTextBytes) return AResult::Fail(path + ": too large for a list of components");
  std::string text(static_cast<size_t>(size), ' ');
  if (size > 0 && !ReadWhole(file, text.data(), size)) return file.Settle(AResult::Fail(path + ": cannot be read"));
  components_.clear();
  int number = 0;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    const std::string_view line = std::string_view(text).substr(begin, end - begin);
    if (AResult result = AddLine(line.substr(0, line.find('!')), path + ": line " + std::to_string(++number)); !result)
      return result;
    begin = end + 1;
  }
  if (components_.empty()) return AResult::Fail(path + ": has no components");
  return file.Check();
}

std::string ComponentModel::Text() const {
  constexpr int kDigits = 12;
  std::string text =
      "! Flux (Jy), radius (mas), theta (deg), major axis (mas), axial ratio, phi (deg), type, "
      "frequency (Hz), spectral index\n";
  for (const ModelComponent& c : components_) {
    const auto add = [&](double number, unsigned free) {
      text += RoundedNumber(number, kDigits) + ((c.free & free) ? "v " : " ");
    };
    const unsigned position = ModelComponent::FreeX | ModelComponent::FreeY;
    add(c.flux, ModelComponent::FreeFlux);
    add(std::hypot(c.x, c.y) / kRadiansPerMas, position);
    add(c.x == 0 && c.y == 0 ? 0 : std::atan2(c.x, c.y) * kDegreesPerRadian, position);
    add(c.major / kRadiansPerMas, ModelComponent::FreeMajor);
    add(c.ratio, ModelComponent::FreeRatio);
    add(c.angle * kDegreesPerRadian, ModelComponent::FreeAngle);
    text += c.isGaussian ? "1 " : "0 ";
    text += RoundedNumber(c.frequency, kDigits) + " " + RoundedNumber(c.spectralIndex, kDigits) + "\n";
  }
  return text;
}

AResult ComponentModel::AddLine(std::string_view line, const std::string& place) {
  std::string blank(line);
  for (char& c : blank) c = c == '\t' || c == '\r' ? ' ' : c;
  std::vector<std::string> words;
  if (AResult result = ALineParse(blank, words); !result) return AResult::Fail(place + ": " + result.message());
  if (words.empty()) return AResult::Ok();
  if (words.size() > Fields) return AResult::Fail(place + ": more than " + std::to_string(Fields) + " numbers");
  ModelComponent component;
  double numbers[Fields] = {0, 0, 0, 0, 1};
  for (size_t i = 0; i < words.size(); ++i) {
    std::string word = words[i];
    if (word.back() == 'v' || word.back() == 'V') {
      word.pop_back();
      if (kFreeOf[i] == 0) return AResult::Fail(place + ": type, frequency and spectral index cannot be fitted");
      component.free |= kFreeOf[i];
    }
    if (AResult result = strToVal(word, numbers[i]); !result) return AResult::Fail(place + ": " + result.message());
  }
  if (numbers[InType] != 0 && numbers[InType] != 1) {
    return AResult::Fail(place + ": components of type " + words[InType] +
                         " are not supported: 0 is a point, 1 a Gaussian");
  }
  component.flux = numbers[InFlux];
  component.x = numbers[InRadius] * kRadiansPerMas * std::sin(numbers[InTheta] * kRadiansPerDegree);
  component.y = numbers[InRadius] * kRadiansPerMas * std::cos(numbers[InTheta] * kRadiansPerDegree);
  component.major = numbers[InMajor] * kRadiansPerMas;
  component.ratio = numbers[InRatio];
  component.angle = numbers[InPhi] * kRadiansPerDegree;
  component.isGaussian = numbers[InType] == 1 && component.major > 0;
  component.frequency = numbers[InFrequency];
  component.spectralIndex = numbers[InIndex];
  if (const std::string fault = Fault(component); !fault.empty()) return AResult::Fail(place + ": " + fault);
  components_.push_back(component);
  return AResult::Ok();
}

AResult ComponentModel::ReadFITS(const std::string& path) {
  AInputFile file;
  if (AResult result = file.Open(path); !result) return result;
  components_.clear();
  AUVXTable table;
  if (AResult result = FindComponents(file, path, table); !result) return file.Settle(result);
  const ComponentColumns in(table);
  for (int i = 0; i < 3; ++i) {
    if (in.columns[i] < 0) return AResult::Fail(path + ": table AIPS CC lacks FLUX, DELTAX or DELTAY");
  }
  for (int row = 0; row < table.rows(); ++row) {
    const std::string place = path + ": row " + std::to_string(row + 1) + " of AIPS CC";
    ModelComponent component;
    component.flux = table.Number(row, in.columns[0]);
    component.x = table.Number(row, in.columns[1]) * kRadiansPerDegree;
    component.y = table.Number(row, in.columns[2]) * kRadiansPerDegree;
    const double major = in.Shape(table, row, 0), minor = in.Shape(table, row, 1), type = in.Shape(table, row, 3);
    if (type != 0 && type != 1) return AResult::Fail(place + ": neither a point nor a Gaussian");
    if (type == 1 && !(major >= 0 && minor >= 0)) return AResult::Fail(place + ": a width is negative or no number");
    component.isGaussian = type == 1 && major > 0;
    if (component.isGaussian) {
      component.major = major * kRadiansPerDegree;
      component.ratio = minor / major;
      component.angle = in.Shape(table, row, 2) * kRadiansPerDegree;
    }
    if (const std::string fault = Fault(component); !fault.empty()) return AResult::Fail(place + ": " + fault);
    components_.push_back(component);
  }
  if (components_.empty()) return file.Settle(AResult::Fail(path + ": table AIPS CC has no components"));
  return file.Check();
}

}  // namespace zeltra
