// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <fstream>

#include "apps/zeltra/plot/Chart.h"
#include "apps/zeltra/plot/Contours.h"
#include "apps/zeltra/plot/SVG.h"
#include "apps/zeltra/plot/Ticks.h"
#include "tests/support/RunZeltra.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

using app::Tick;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> Labels(const std::vector<Tick>& ticks) {
  std::vector<std::string> labels;
  for (const Tick& tick : ticks) labels.push_back(tick.label);
  return labels;
}

TEST(Ticks, AreRoundNumbers) {
  EXPECT_THAT(Labels(app::RoundTicks(-0.05, 1.1, 7)), ElementsAre("0.0", "0.2", "0.4", "0.6", "0.8", "1.0"));
  EXPECT_THAT(Labels(app::RoundTicks(-2, 2, 5)), ElementsAre("-2", "-1", "0", "1", "2"));
  EXPECT_THAT(Labels(app::RoundTicks(0.0031, 0.0052, 5)), ElementsAre("0.0035", "0.0040", "0.0045", "0.0050"));
  EXPECT_THAT(Labels(app::RoundTicks(0, 3e12, 4)), ElementsAre("0", "1e+12", "2e+12", "3e+12"));
  EXPECT_THAT(Labels(app::RoundTicks(1, 1, 4)), ElementsAre());
  EXPECT_THAT(Labels(app::RoundTicks(0, INFINITY, 4)), ElementsAre());
  EXPECT_THAT(Labels(app::RoundTicks(0, NAN, 4)), ElementsAre());
}

TEST(Ticks, OfDecadesLeaveOutWhatHasNoRoom) {
  const auto logarithm = [](double x) { return std::log10(x); };
  EXPECT_THAT(Labels(app::DecadeTicks(0.03, 3, 0, 14, logarithm)), ElementsAre("1", "0.1", "2", "0.2", "0.5", "0.05"));
  EXPECT_THAT(Labels(app::DecadeTicks(3e-5, 3, 0, 7, logarithm)), ElementsAre("1", "0.1", "0.01", "0.001", "0.0001"));
  const auto asinh = [](double x) { return std::asinh(x); };
  EXPECT_THAT(Labels(app::DecadeTicks(-2, 20, 1, 8, asinh)), ElementsAre("0", "10", "1", "-1", "20", "5"));
}

TEST(Ticks, OfTimesAreRoundOnTheClock) {
  EXPECT_THAT(Labels(app::ClockTicks(25100, 26900, 4)), ElementsAre("07:00", "07:10", "07:20"));
  EXPECT_THAT(Labels(app::ClockTicks(79000, 95000, 3)), ElementsAre("22:00", "24:00", "26:00"));
  EXPECT_THAT(Labels(app::ClockTicks(3600, 3640, 5)),
              ElementsAre("01:00:00", "01:00:10", "01:00:20", "01:00:30", "01:00:40"));
}

// How many dots a chart's SVG draws.
size_t CountDots(const std::string& svg) {
  size_t dots = 0;
  for (size_t at = svg.find("h0"); at != std::string::npos; at = svg.find("h0", at + 1)) ++dots;
  return dots;
}

app::ChartAxis UnitAxis(const char* title) {
  return {title, 0, 1, app::RoundTicks(0, 1, 5)};
}

TEST(Chart, DrawsWhatFallsOnOneSpotOnce) {
  app::Chart chart(UnitAxis("across"), UnitAxis("up"), {"one", "two"});
  for (int i = 0; i < 1000; ++i) chart.Add(0, 0.5, 0.5);
  chart.Add(1, 0.5, 0.5);
  chart.Add(1, 0, 0);
  chart.Add(1, 1, 1);
  for (const double outside : {-0.1, 1.1, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
    chart.Add(0, outside, 0.5);
    chart.Add(0, 0.5, outside);
  }
  const std::string svg = chart.Draw("title <&>", "note");
  EXPECT_EQ(CountDots(svg), 4u);
  EXPECT_THAT(svg, HasSubstr("title &lt;&amp;&gt;"));
  for (const char* text : {">note<", ">across<", ">up<", ">one<", ">two<", ">0.4<"}) EXPECT_THAT(svg, HasSubstr(text));
  // The plot has 800 x 520 pixels. Places are in half pixels from its upper left corner, where y is 1.
  EXPECT_THAT(svg, HasSubstr("M800 520h0"));
  EXPECT_THAT(svg, HasSubstr("M1599 0h0"));
  EXPECT_THAT(svg, HasSubstr("M0 1039h0"));
}

TEST(Chart, KeepsOutliersOfACrowd) {
  app::Chart chart(UnitAxis("x"), UnitAxis("y"), {"all"});
  for (int i = 0; i < 700; ++i) {
    for (int j = 0; j < 700; ++j) chart.Add(0, i / 1400.0, j / 1400.0);
  }
  chart.Add(0, 0.75, 0.75);
  const std::string svg = chart.Draw("", "");
  EXPECT_LT(CountDots(svg), 60000u);
  EXPECT_GT(CountDots(svg), 20000u);
  EXPECT_NE(svg.find("M1200 260h0"), std::string::npos);
  EXPECT_EQ(svg.find("<circle"), std::string::npos) << "a single series needs no legend";
}

TEST(Chart, ShowsSeriesThatLieOnEachOther) {
  app::Chart chart(UnitAxis("x"), UnitAxis("y"), {"RR", "LL"});
  for (int i = 0; i < 200; ++i) chart.Add(0, i / 200.0, 0.5), chart.Add(1, i / 200.0, 0.5);
  const std::string svg = chart.Draw("", "");
  EXPECT_EQ(CountDots(svg), 400u);
  const size_t lastBlue = svg.rfind("stroke=\"#3f90da\""), lastOrange = svg.rfind("stroke=\"#ffa90e\"");
  EXPECT_LT(svg.find("stroke=\"#3f90da\""), lastOrange);
  EXPECT_LT(svg.find("stroke=\"#ffa90e\""), lastBlue);
  EXPECT_THAT(svg, AllOf(HasSubstr("translate(89.25 "), HasSubstr("translate(91.25 ")));
}

TEST(Contours, PassBetweenPixels) {
  std::vector<float> pixels(16);
  pixels[5] = 2;
  const auto loop = app::Contours(pixels, 4, 0.5);
  ASSERT_EQ(loop.size(), 1u);
  ASSERT_EQ(loop[0].size(), 5u);
  for (const app::ContourPoint& point : loop[0]) {
    EXPECT_DOUBLE_EQ(std::hypot(point.column - 1, point.line - 1), 0.75);
  }
  pixels[10] = 2;  // on the other side of a saddle
  EXPECT_EQ(app::Contours(pixels, 4, 0.9).size(), 1u);
  EXPECT_EQ(app::Contours(pixels, 4, 1.1).size(), 2u);
  for (size_t i = 0; i < 16; i += 4) pixels[i] = pixels[i + 1] = 4, pixels[i + 2] = pixels[i + 3] = 0;
  const auto line = app::Contours(pixels, 4, 1);
  ASSERT_EQ(line.size(), 1u);
  EXPECT_EQ(line[0].size(), 4u);
  for (const app::ContourPoint& point : line[0]) EXPECT_DOUBLE_EQ(point.column, 1.75);
}

// A simulated observation of a few minutes.
class Pictures : public testing::Test {
 protected:
  Pictures() {
    RunZeltra({"simulate", uvx_.path(), "--minutes", "12", "--integration", "20", "--antennas", "4", "--noise", "0"});
  }
  std::string Fails(std::vector<std::string> arguments, int code = 1) {
    const Finished run = RunZeltra(arguments);
    EXPECT_EQ(run.code, code);
    EXPECT_THAT(run.err, HasSubstr("zeltra: error: "));
    return run.err;
  }

  const TempFile uvx_{"uvx"};
};

TEST_F(Pictures, AreNotMadeOfNonsense) {
  const TempFile out("map"), kept("map");
  kept.Put("kept");
  EXPECT_THAT(Fails({"image", uvx_.path(), out.path()}), HasSubstr("1 (3C273), 2 (3C279)"));
  EXPECT_THAT(Fails({"image", uvx_.path(), out.path(), "--source", "1", "--size", "101"}), HasSubstr("even numbers"));
  EXPECT_THAT(Fails({"image", uvx_.path(), kept.path(), "--source", "1"}), HasSubstr("exists already"));
  EXPECT_THAT(Fails({"image", uvx_.path(), out.path(), "--fits", uvx_.path(), "--source", "1", "--force"}),
              HasSubstr("named twice"));
  const size_t name = uvx_.path().find_last_of("/\\") + 1;
  const std::string otherSpelling = uvx_.path().substr(0, name) + "./" + uvx_.path().substr(name);
  for (const char* command : {"export", "copy"}) {
    EXPECT_THAT(Fails({command, uvx_.path(), otherSpelling, "--force"}), HasSubstr("is the file that is read"));
  }
  EXPECT_THAT(Fails({"image", uvx_.path(), otherSpelling, "--source", "1", "--force"}), HasSubstr("named twice"));
  EXPECT_THAT(Fails({"image", uvx_.path(), kept.path(), "--source", "1", "--png", out.path() + "/none.svg", "--force"}),
              HasSubstr("none.svg: cannot be created"));
  EXPECT_THAT(
      Fails({"image", uvx_.path(), out.path(), "--source", "1", "--fits", std::string(out.path()).insert(name, "./")}),
      HasSubstr("named twice"));
  EXPECT_THAT(Fails({"plot", uvx_.path(), "uv", kept.path() + ".svg", "--source", "9"}),
              HasSubstr("no record of source 9"));
  EXPECT_THAT(Fails({"plot", uvx_.path(), "phase", out.path() + ".svg", "--source", "1", "--antenna", "XY"}),
              HasSubstr("no antenna XY"));
  Fails({"image", uvx_.path(), out.path(), "--cell", "-1"}, 2);
  Fails({"image", uvx_.path(), out.path(), "--weight", "robust"}, 2);
  Fails({"image", uvx_.path(), out.path(), "--source", "1", "--contours"}, 2);
  Fails({"image", uvx_.path(), "--source", "1", "--png", out.path() + ".svg", "--clip", "0.5,-0.1"}, 2);
  EXPECT_THAT(Fails({"plot", uvx_.path(), "uv", out.path()}, 2), HasSubstr(".svg"));
  Fails({"plot", uvx_.path(), "phase", out.path() + ".svg", "--source", "1", "--log"}, 2);
  Fails({"plot", uvx_.path(), "colour", out.path() + ".svg"}, 2);
  EXPECT_FALSE(out.exists());
  EXPECT_EQ(kept.Bytes(), "kept");
}

TEST_F(Pictures, OfVisibilitiesTellWhatTheyShow) {
  const auto plot = [&](std::vector<std::string> arguments) {
    const TempFile svg("svg");
    arguments.insert(arguments.begin(), {"plot", uvx_.path()});
    arguments.insert(arguments.begin() + 3, svg.path() + ".svg");
    arguments.insert(arguments.end(), {"--source", "3C273", "--quiet"});
    const Finished run = RunZeltra(arguments);
    EXPECT_EQ(run.code, 0) << run.err;
    const TempFile drawn("svg");
    MoveIntoPlace(svg.path() + ".svg", drawn.path(), true);
    return drawn.Bytes();
  };
  const std::string uv = plot({"uv"});
  EXPECT_THAT(uv, StartsWith("<?xml"));
  EXPECT_THAT(uv, HasSubstr("3C273 · RR, LL · 8.414 GHz · 2020-03-20"));
  EXPECT_THAT(uv, HasSubstr(">u (Mλ)<"));
  EXPECT_THAT(uv, HasSubstr(">v (Mλ)<"));
  EXPECT_EQ(CountDots(uv) % 2, 0u) << "every point has its conjugate";
  const std::string amplitude = plot({"amplitude"});
  const std::string means = plot({"amplitude", "--interval", "60", "--log"});
  EXPECT_THAT(means, HasSubstr(">576 averages over 60 s;"));
  for (const char* text : {">Amplitude (Jy)<", ">uv distance (Mλ)<", ">RR<", ">LL<"}) {
    EXPECT_THAT(amplitude, HasSubstr(text));
  }
  std::string bytes = uvx_.Bytes();
  uvx_.Put(bytes.replace(38, 10, 10, '\0'));  // BUNIT
  EXPECT_THAT(plot({"amplitude"}), HasSubstr(">Amplitude<"));
  const TempFile map("map"), fits("fits");
  const Finished run =
      RunZeltra({"image", uvx_.path(), map.path(), "--fits", fits.path(), "--source", "3C273", "--size", "32"});
  EXPECT_THAT(run.out + run.err, AllOf(HasSubstr(", peak "), Not(HasSubstr("/beam")), Not(HasSubstr("  "))));
  EXPECT_THAT(fits.Bytes(), Not(HasSubstr("BUNIT")));
  const std::string phase = plot({"phase", "--time", "--antenna", "hn", "--stokes", "I", "--if", "1"});
  for (const char* text : {">Phase (degrees)<", "Time on 2020-03-20", ">HN-BR<", ">HN-KP<", "· I · 8.4"}) {
    EXPECT_THAT(phase, HasSubstr(text));
  }
  EXPECT_THAT(phase, Not(HasSubstr("BR-KP")));
  const std::string closure = plot({"closure", "--antenna", "1", "--interval", "-1"});
  for (const char* text : {">Closure phase (degrees)<", ">BR-FD-HN<", ">BR-HN-KP<",
                           "3 triangles with BR, means of 2 IFs, 4 channels, 2 polarisations"}) {
    EXPECT_THAT(closure, HasSubstr(text));
  }
}

TEST_F(Pictures, OfSkiesTellWhatTheyShow) {
  const TempFile out("svg");
  const std::string svg = out.path() + ".svg";
  const Finished run = RunZeltra({"image", uvx_.path(), "--png", svg, "--source", "3C273", "--size", "64", "--contours",
                                  "--log", "--clip", "-0.1,0.5"});
  EXPECT_EQ(run.code, 0) << run.err;
  MoveIntoPlace(svg, out.path(), true);
  for (const char* text :
       {"3C273 · I · 8.414 GHz · 2020-03-20", "data:image/png;base64,iVBORw0KGgo", ">Relative declination (mas)<",
        ">Jy/beam<", "<ellipse ", " times the rms<", ">beam ", " pixels lie above the colours", ">contours at 1 times ",
        ">colours by asinh: linear below the rms of "}) {
    EXPECT_NE(out.Bytes().find(text), std::string::npos) << text;
  }
}

TEST_F(Pictures, BecomePNGWhereTheCommandWasBuiltWithIt) {
  const TempFile png("png"), drawn("png");
  const Finished run = RunZeltra({"plot", uvx_.path(), "uv", png.path() + ".png", "--source", "1"});
  MoveIntoPlace(png.path() + ".png", drawn.path(), true);
#ifdef ZELTRA_HAS_RSVG
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(drawn.Bytes(), StartsWith("\x89PNG\r\n"));
  // An empty file that is found first takes the place of the library, as if none were installed.
  const TempFile folder("libraries");
  std::filesystem::create_directory(folder.path());
  std::ofstream(folder.path() + "/librsvg-2.so.2");
  setenv("LD_LIBRARY_PATH", folder.path().c_str(), 1);
  EXPECT_THAT(RunZeltra({"plot", uvx_.path(), "uv", "none.png"}).err, HasSubstr("cannot load librsvg, which"));
  unsetenv("LD_LIBRARY_PATH");
  std::filesystem::remove_all(folder.path());
#else
  EXPECT_THAT(run.err, HasSubstr("name it .svg"));
  EXPECT_FALSE(drawn.exists());
#endif
}

}  // namespace
}  // namespace zeltra::test
