// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <chrono>
#include <complex>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>

#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/imaging/CleanUVX.h"
#include "zeltra/imaging/ImageFiles.h"
#include "zeltra/imaging/ImageUVX.h"
#include "zeltra/imaging/ImageWorkers.h"

namespace zeltra::test {
namespace {

using std::numbers::pi;
using testing::HasSubstr;
using Complex = std::complex<double>;

constexpr double kMas = pi / 180 / 3600e3;

AResult Image(const std::string& path, const ImageOptions& options, DirtyImage& image) {
  AUVXInput input;
  if (AResult result = input.Open(path); !result) return result;
  return ImageUVX(input, options, image);
}

// A file whose visibilities are scattered over the u, v plane, among them every kind that has to be left out.
class Scattered : public TempFile {
 public:
  explicit Scattered(const std::vector<int>& stokes) : TempFile("uvx"), stokes_(stokes) { Put(Builder().Bytes()); }

  SyntheticUVX Builder() const {
    const auto edit = [](SyntheticRecord& record) {
      const int i = record.index;
      record.u = static_cast<float>(1e-6 * std::sin(1.7 * i + 0.3));
      record.v = static_cast<float>(0.8e-6 * std::cos(2.9 * i));
      if (i == 3) record.flag = 1;
      if (i == 4) record.ant2 = record.ant1;
      for (size_t k = 0; k < record.values.size(); ++k) {
        auto& value = record.values[k];
        const double phase = 5.0 * i + 3.0 * static_cast<double>(k);
        value = {static_cast<float>(std::sin(phase)), static_cast<float>(std::cos(2 * phase)), 1.0F + (i + k) % 3};
        if (i == 5 && k == 2) value.weight = -value.weight;
        if (i == 6) value.weight = 0;
        if (i == 7 && k == 0) value.re = std::numeric_limits<float>::quiet_NaN();
        if (i == 8 && k == 3) value.weight = std::numeric_limits<float>::infinity();
      }
    };
    return SyntheticUVX().Antennas(4).Times(4).IFs(2).Channels(2).Stokes(stokes_).Edit(edit).Tables();
  }

  struct Point {
    double u, v;  // wavelengths
    Complex value;
    double weight;
    double variance = 0;
  };
  // What an image is made of: the means of the two parallel hands where both are valid.
  std::vector<Point> Points() const {
    std::vector<Point> points;
    for (const SyntheticRecord& record : Builder().Records()) {
      if (record.flag || record.ant1 == record.ant2) continue;
      for (int f = 0; f < 4; ++f) {
        const auto &p = record.values[static_cast<size_t>(2 * f)], &q = record.values[static_cast<size_t>(2 * f) + 1];
        const double weight = 4.0 / (1.0 / p.weight + 1.0 / q.weight);
        if (!(p.weight > 0 && q.weight > 0) || !std::isfinite(p.weight + q.weight + p.re + q.re + p.im + q.im))
          continue;
        const double frequency = SyntheticUVX::kFreq0 + 1e8 * (f / 2) + 1e6 * (f % 2);
        points.push_back({record.u * frequency, record.v * frequency, {(p.re + q.re) / 2, (p.im + q.im) / 2}, weight});
      }
    }
    return points;
  }

 private:
  std::vector<int> stokes_;
};

// Compares an image with the plain sum over all visibilities.
void ExpectIsSumOf(std::vector<Scattered::Point> points, const DirtyImage& image, double tolerance) {
  const int size = image.map.Lines();
  double weights = 0;
  for (const auto& point : points) weights += point.weight;
  for (int i = 0; i < size; ++i) {
    for (int j = 0; j < size; ++j) {
      const double east = (size / 2 - j) * image.cell, north = (i - size / 2) * image.cell;
      Complex map = 0, beam = 0;
      for (const auto& point : points) {
        const Complex turn = std::polar(point.weight / weights, -2 * pi * (point.u * east + point.v * north));
        map += turn * point.value;
        beam += turn;
      }
      ASSERT_NEAR(image.map(i, j), map.real(), tolerance) << i << ", " << j;
      ASSERT_NEAR(image.beam(i, j), beam.real(), tolerance) << i << ", " << j;
    }
  }
}

// The peak of the beam is 1, and the table of the convolution function is exact to 1e-5.
constexpr double kGridError = 1e-5;

TEST(ImageUVX, IsTheSumOfTheValidVisibilities) {
  // One size is not a power of two, and the other is one that MT_FFT_Matr_D leaves untransformed.
  for (const auto& [size, stokes] : {std::pair(22, std::vector<int>{-1, -2}), {64, {-5, -6}}}) {
    const Scattered file(stokes);
    ImageOptions options;
    options.size = size;
    options.cell = 1 / 4000.0;
    DirtyImage image;
    AResult result = Image(file.path(), options, image);
    ASSERT_TRUE(result) << result.message();
    EXPECT_EQ(image.visibilities, static_cast<int64>(file.Points().size()));
    EXPECT_EQ(image.beyond, 0);
    EXPECT_EQ(image.stokes.asShortString(), "I");
    EXPECT_NEAR(image.frequency, SyntheticUVX::kFreq0 + 50.5e6, 1);
    EXPECT_NEAR(image.bandwidth, 102e6, 1) << "channels of 1 MHz at 0, 1, 100, 101 MHz";
    ExpectIsSumOf(file.Points(), image, kGridError);
  }
}

void TestWeighting(const WeightingOptions& weighting) {
  const Scattered file({-1, -2});
  ImageOptions options;
  options.size = 28;
  options.cell = 1 / 8000.0;
  options.weighting = weighting;
  std::vector<Scattered::Point> points = file.Points();
  double noise = 0, weights = 0, sum = 0, ofSquares = 0;
  for (auto& point : points) {
    point.variance = 1 / point.weight;
    point.weight = std::pow(point.weight, weighting.power);
    if (weighting.taper > 0) {
      point.weight *= std::pow(weighting.taper, std::pow(std::hypot(point.u, point.v) / weighting.taperRadius, 2));
    }
    sum += 2 * point.weight;
  }
  std::map<std::pair<long, long>, double> squares;
  const auto square = [&](double u, double v) {
    return std::pair(std::lround(u * 28 * options.cell), std::lround(v * 28 * options.cell));
  };
  for (const auto& point : points) {
    squares[square(point.u, point.v)] += point.weight;
    squares[square(-point.u, -point.v)] += point.weight;
  }
  for (const auto& [place, weight] : squares) ofSquares += weight * weight;
  const double f = 5 * std::pow(10, -weighting.robustness);
  for (auto& point : points) {
    const double density = squares[square(point.u, point.v)];
    const bool isUniform = weighting.scheme == WeightingOptions::Uniform;
    point.weight /= isUniform ? density : 1 + density * f * f * sum / ofSquares;
    weights += point.weight;
    noise += point.weight * point.weight * point.variance;
  }
  DirtyImage image;
  ASSERT_TRUE(Image(file.path(), options, image));
  ExpectIsSumOf(points, image, kGridError);
  EXPECT_NEAR(image.noise, std::sqrt(noise) / weights, 1e-8) << "weights are floats";
}

TEST(ImageUVX, WeighsByTheSquaresOfTheGrid) {
  WeightingOptions weighting;
  ASSERT_TRUE(strToScheme("uniform", weighting));
  TestWeighting(weighting);
  ASSERT_TRUE(strToScheme("robust=-0.5", weighting) && strToTaper("0.3,4k", weighting));
  weighting.power = 0.5;
  TestWeighting(weighting);
  for (const char* text : {"best", "robust", "robust=x", "robust=6"}) EXPECT_FALSE(strToScheme(text, weighting));
  for (const char* text : {"0.5", "0,1k", "1,1k", "0.5,0", "0.5,1T"}) EXPECT_FALSE(strToTaper(text, weighting));
}

TEST(ImageUVX, ChoosesTheCellByTheLongestBaseline) {
  const Scattered file({-1, -2});
  double longest = 0;
  for (const auto& point : file.Points()) longest = std::max(longest, std::hypot(point.u, point.v));
  ImageOptions options;
  options.size = 16;
  DirtyImage image;
  ASSERT_TRUE(Image(file.path(), options, image));
  EXPECT_LE(image.cell, 1 / (5 * longest));
  EXPECT_GT(image.cell, 0.9 / (5 * longest));
  const double digits = image.cell / kMas / std::pow(10.0, std::floor(std::log10(image.cell / kMas)) - 1);
  EXPECT_NEAR(digits, std::round(digits), 1e-6);

  // With twice the largest cell that holds all baselines, some of them are left out.
  options.cell = 1 / longest;
  ASSERT_TRUE(Image(file.path(), options, image));
  EXPECT_GT(image.beyond, 0);
  EXPECT_EQ(image.beyond + image.visibilities, static_cast<int64>(file.Points().size()));
}

TEST(ImageUVX, StopsAtTheHorizonAndTellsWhereWMatters) {
  TempFile file("uvx");
  const auto edit = [](SyntheticRecord& record) {
    record.u = static_cast<float>(1e-9 * record.index), record.v = 0, record.w = 2e-9F;
  };
  file.Put(SyntheticUVX().Edit(edit).Tables().Bytes());
  ImageOptions options;
  options.selection.stokes = {"RR"};
  DirtyImage image;
  AResult result = Image(file.path(), options, image);
  ASSERT_TRUE(result) << result.message();
  EXPECT_NEAR(image.cell, 13 * pi / 180 / 60, 1e-9) << "256 of them are 55.5 degrees, a radian is 57.3";
  EXPECT_EQ(image.shape.major, 0) << "v is 0 everywhere";
  // w is 2e-9 freq0 wavelengths; the edge lies at l = 0.968.
  EXPECT_THAT(image.remarks, testing::ElementsAre(HasSubstr("no beam"), HasSubstr("up to 13 radians, within 6.1 deg")));
}

TEST(ImageUVX, TellsWhatCannotBeImaged) {
  const Scattered file({-1, -2});
  TempFile two("uvx"), flagged("uvx"), bare("uvx");
  two.Put(SyntheticUVX().Sources(2).Tables().Bytes());
  flagged.Put(SyntheticUVX().Edit([](SyntheticRecord& record) { record.flag = 1; }).Tables().Bytes());
  bare.Put(SyntheticUVX().Bytes());
  DirtyImage image;
  const auto refusal = [&](const TempFile& from, const ImageOptions& options) {
    const AResult result = Image(from.path(), options, image);
    EXPECT_EQ(result.code(), AResult::Failed);
    EXPECT_THAT(result.message(), HasSubstr(from.path()));
    return result.message();
  };
  ImageOptions options;
  for (const int size : {0, 33, 8194}) {
    options.size = size;
    EXPECT_THAT(refusal(file, options), HasSubstr("even numbers from 16 to 8192"));
  }
  options.size = 512;
  options.memory = 10e6;
  EXPECT_THAT(refusal(file, options), HasSubstr("takes 19 MB of memory, and 10 MB may be taken"));
  options.memory = 0;
  options.size = 16;
  EXPECT_THAT(refusal(two, options), HasSubstr("1 (SRC1), 2 (SRC2)"));
  EXPECT_THAT(refusal(flagged, options), HasSubstr("all weights in I are 0 or negative"));
  EXPECT_THAT(refusal(bare, options), HasSubstr("NX"));
  options.cell = 0.125;
  EXPECT_THAT(refusal(file, options), HasSubstr("7.162 degrees goes beyond the horizon; cells of at most 7.1 degrees"));
  options.cell = 0.12;
  EXPECT_THAT(refusal(file, options), HasSubstr("at most"));
  options.cell = -1;
  EXPECT_THAT(refusal(file, options), HasSubstr("cell"));
  options.cell = 0;
  options.selection.stokes = {"LR"};
  EXPECT_THAT(refusal(file, options), HasSubstr("RR, LL, I, V"));
  options.selection = {};
  options.selection.IFs = {2};
  EXPECT_THAT(refusal(file, options), HasSubstr("no IF 3; there are 2"));

  options = {};
  options.size = 16;
  ACancelFlag cancel = 1;
  options.cancel = &cancel;
  EXPECT_EQ(Image(file.path(), options, image).code(), AResult::Cancelled);
}

// Does parts in this process, the last one first.
class Workers : public AImageWorkers {
 public:
  explicit Workers(const std::function<void(const std::string& task, int parts)>& before = {}) : before_(before) {
    std::filesystem::create_directory(folder_);
  }
  ~Workers() override { std::filesystem::remove_all(folder_); }

  const std::string& folder() const override { return folder_; }
  AResult Run(const std::string& task, int parts) override {
    ++tasks;
    if (before_) before_(task, parts);
    for (int part = parts; part > 0; --part) {
      if (AResult result = RunImagePart(task, part, {}); !result) return result;
    }
    return AResult::Ok();
  }
  bool isEmpty() const { return std::filesystem::is_empty(folder_); }

  int tasks = 0;

 private:
  TempFile name_{"parts"};
  std::string folder_ = name_.path();
  std::function<void(const std::string& task, int parts)> before_;
};

// Three parts of 16 MiB for each of two sources; nearly all of their records are flagged.
class ThreeParts : public TempFile {
 public:
  ThreeParts() : TempFile("uvx") { Put(Builder().Bytes()); }

  SyntheticUVX Builder() const {
    const auto edit = [](SyntheticRecord& record) {
      const double phase = 0.37 * record.index;
      record.flag = record.index % 10 != 0;
      record.u = static_cast<float>(1e-6 * std::sin(phase));
      record.v = static_cast<float>(1e-6 * std::cos(1.7 * phase));
      for (size_t k = 0; k < record.values.size(); ++k) {
        record.values[k] = {static_cast<float>(1 + 0.3 * std::sin(phase)), 0.1F, k < 8 ? 1.0F : 0.0F};
      }
    };
    return SyntheticUVX().Antennas(5).Times(54).Sources(2).Channels(4096).Edit(edit).Tables();
  }

  std::vector<Scattered::Point> PointsOf(int source) const {
    std::vector<Scattered::Point> points;
    for (const SyntheticRecord& record : Builder().Records()) {
      for (int channel = 0; channel < 4 && !record.flag && record.source == source; ++channel) {
        const auto& value = record.values[static_cast<size_t>(2 * channel)];
        const double frequency = SyntheticUVX::kFreq0 + 1e6 * channel;
        points.push_back({record.u * frequency, record.v * frequency, {value.re, value.im}, 2});
      }
    }
    return points;
  }
};

class ImageParts : public testing::Test {
 protected:
  static void SetUpTestSuite() { file_ = std::make_unique<ThreeParts>(); }
  static void TearDownTestSuite() { file_.reset(); }

  static inline std::unique_ptr<ThreeParts> file_;
  const ThreeParts& file = *file_;
};

TEST_F(ImageParts, MakeTheSameBitsWhoeverDoesThem) {
  CleanOptions options;
  options.selection.sources = {"2"};
  options.size = 32;
  options.weighting.scheme = WeightingOptions::Robust;
  options.iterations = 5;
  options.stop.sigmas = 0;
  options.boxes = {{-1, 1, -1, 1}};  // which needs a wider beam
  CleanImage byThreads, byWorkers;
  Workers workers;
  for (CleanImage* image : {&byThreads, &byWorkers}) {
    options.threads = 3;
    options.workers = image == &byWorkers ? &workers : nullptr;
    AUVXInput input;
    ASSERT_TRUE(input.Open(file.path()));
    AResult result = CleanUVX(input, options, *image);
    ASSERT_TRUE(result) << result.message();
  }
  EXPECT_GE(workers.tasks, 6) << "baselines, weights, sky, beam, components of a cycle, sky";
  EXPECT_TRUE(workers.isEmpty());
  EXPECT_EQ(byWorkers.iterations, 5);
  EXPECT_EQ(byWorkers.chi2, byThreads.chi2);
  EXPECT_EQ(std::memcmp(byWorkers.map.Line(0), byThreads.map.Line(0), 32 * 32 * sizeof(float)), 0);
  options.weighting = {};
  DirtyImage image;
  ASSERT_TRUE(Image(file.path(), options, image));
  EXPECT_EQ(image.visibilities, 54 * 4);
  ExpectIsSumOf(file.PointsOf(2), image, 2 * kGridError);
}

TEST_F(ImageParts, TellWhatIsWrongWithATask) {
  const auto sentence = [&](const std::function<void(const std::string& task, int parts)>& before) {
    Workers workers(before);
    ImageOptions options;
    options.selection.sources = {"1"};
    options.workers = &workers;
    DirtyImage image;
    AResult result = Image(file.path(), options, image);
    EXPECT_TRUE(workers.isEmpty());
    return result.message();
  };
  EXPECT_THAT(sentence([](const std::string& task, int) { std::filesystem::resize_file(task, 60); }),
              HasSubstr("is not a task for workers"));
  EXPECT_THAT(sentence([](const std::string& task, int parts) {
                EXPECT_EQ(parts, 3);
                for (const int part : {0, 4}) {
                  EXPECT_THAT(RunImagePart(task, part, {}).message(), HasSubstr("has parts 1 to 3, not"));
                }
                std::fstream(task, std::ios::in | std::ios::out).seekp(8 + 17 + 8).write("9", 1);
              }),
              HasSubstr("was made by version 9."));
  EXPECT_THAT(sentence([&](const std::string&, int) {
                std::filesystem::last_write_time(
                    file.path(), std::filesystem::file_time_type::clock::now() + std::chrono::seconds(9));
              }),
              HasSubstr("was changed while it was read"));
}

TEST(ImageFiles, AppearTogether) {
  const TempFile map("map"), beam("map"), picture("png");
  beam.Put("old");
  JobOptions options;
  const auto create = [&](ImageFiles& files, const std::string& third) {
    return files.Create({map.path(), beam.path(), "", third, "", ""}, "input", options);
  };
  ImageFiles files;
  EXPECT_THAT(create(files, picture.path()).message(), HasSubstr(beam.path() + ": exists"));
  options.overwrite = true;
  EXPECT_THAT(create(files, map.path()).message(), HasSubstr("named twice"));
  ASSERT_TRUE(create(files, picture.path()));
  EXPECT_FALSE(map.exists() || picture.exists());
  ASSERT_TRUE(files.Store(DirtyImage(), "pixels"));
  EXPECT_EQ(picture.Bytes(), "pixels");
  EXPECT_EQ(beam.Bytes(), map.Bytes());
  EXPECT_EQ(beam.Bytes().size(), 168u);
}

TEST(ImageUVX, TakesWhatIsSelected) {
  const Scattered file({-1, -2});
  ImageOptions options;
  options.size = 16;
  options.selection.stokes = {"ll"};
  options.selection.IFs = {1};
  options.selection.channels = {0};
  DirtyImage image;
  ASSERT_TRUE(Image(file.path(), options, image));
  EXPECT_EQ(image.stokes.GetStokesID(), -2);
  EXPECT_EQ(image.frequency, SyntheticUVX::kFreq0 + 1e8);
  EXPECT_EQ(image.bandwidth, 1e6) << "that of the channel";
  // 24 records less a flagged one, an autocorrelation and one of weight 0.
  EXPECT_EQ(image.visibilities, 21);
  // A file from which I cannot be formed gives its first polarisation.
  TempFile single("uvx");
  single.Put(SyntheticUVX().Stokes({-2}).Tables().Bytes());
  ASSERT_TRUE(Image(single.path(), {}, image));
  EXPECT_EQ(image.stokes.GetStokesID(), -2);
}

// A component of a deconvolved image.
struct Component {
  double flux, east, north;  // milliarcseconds
};

// CLEAN (Högbom 1974) within the inner quarter of an image, where the beam reaches everywhere.
std::vector<Component> Clean(DirtyImage& image, int iterations) {
  const int size = image.map.Lines();
  std::vector<Component> components;
  for (int n = 0; n < iterations; ++n) {
    int line = size / 2, element = size / 2;
    for (int i = size / 4; i < 3 * size / 4; ++i) {
      for (int j = size / 4; j < 3 * size / 4; ++j) {
        if (image.map(i, j) > image.map(line, element)) line = i, element = j;
      }
    }
    const float flux = 0.1F * image.map(line, element);
    for (int i = size / 4; i < 3 * size / 4; ++i) {
      for (int j = size / 4; j < 3 * size / 4; ++j) {
        image.map(i, j) -= flux * image.beam(size / 2 + i - line, size / 2 + j - element);
      }
    }
    components.push_back({flux, (size / 2 - element) * image.cell / kMas, (line - size / 2) * image.cell / kMas});
  }
  return components;
}

// The jet of M 87 points to position angle -70 degrees or so on this scale (Walker et al. 2018, ApJ 855, 128).
TEST(ImageUVX, ShowsTheJetOfM87OnItsSide) {
  const std::string path = ZELTRA_SHARED_DATA "/mojave.uvfits";
  if (!PathExists(path)) GTEST_SKIP() << "no real files";
  ImageOptions options;
  options.size = 256;
  options.cell = 0.15 * kMas;
  DirtyImage image;
  ASSERT_TRUE(Image(path, options, image));
  const float* pixels = image.map.Line(0);
  EXPECT_EQ(std::max_element(pixels, pixels + 256 * 256) - pixels, 128 * 256 + 128) << "the core";
  Component jet = {};
  for (const Component& c : Clean(image, 400)) {
    if (const double distance = std::hypot(c.east, c.north); distance < 1.5 || distance > 8) continue;
    jet.flux += c.flux;
    jet.east += c.flux * c.east;
    jet.north += c.flux * c.north;
  }
  EXPECT_GT(jet.flux, 0.2);
  EXPECT_NEAR(std::atan2(jet.east, jet.north) * 180 / pi, -70, 15);
}

}  // namespace
}  // namespace zeltra::test
