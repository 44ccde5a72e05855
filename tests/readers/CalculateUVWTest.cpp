// SPDX-License-Identifier: MIT
#include "zeltra/readers/CalculateUVW.h"

#include "tests/support/Test.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra::test {
namespace {

constexpr double kLightSecond = 299792500;  // metres, with the library's speed of light
constexpr double kTolerance = 2e-6;         // sidereal time differs from the literature's by a few 1e-7 radians

// Greenwich mean sidereal time of two dates, degrees (Meeus, Astronomical Algorithms, examples 12.a and 12.b).
constexpr double kMidnight = 2446895.5, kMidnightST = 197.693195;
constexpr double kEvening = 2446896.30625, kEveningST = 128.7378734;

// Antennas at the centre and one light second along x, y and z.
AUVXAntenns Antennas(const std::string& centreX, const std::string& centreY) {
  AUVXTable table;
  table.Create(AUVXTable::toHash("AN", 0));
  table.AddColumn("STABXYZ", "METERS", "3D");
  table.AddKeyWord("ARRAYX", centreX, true);
  table.AddKeyWord("ARRAYY", centreY, true);
  table.SetRows(4);
  for (int axis = 0; axis < 3; ++axis) table.SetNumber(axis + 1, 0, axis, kLightSecond);
  AUVXAntenns antennas;
  antennas.Init(table);
  return antennas;
}

void ExpectUVW(AUVXAntenns& antennas, int index1, int index2, double date, double ra, double dec, int rotate, double u,
               double v, double w) {
  AUVXGroup group;
  group.date = date;
  AUVXSourceItem source;
  source.raApp = ra;
  source.decApp = dec;
  CalculateUVW(group, antennas, index1, index2, source, rotate);
  EXPECT_NEAR(group.u(), u, kTolerance);
  EXPECT_NEAR(group.v(), v, kTolerance);
  EXPECT_NEAR(group.w(), w, kTolerance);
}

TEST(CalculateUVW, ProjectsTheBaselineOnTheSource) {
  AUVXAntenns antennas = Antennas("0", "0");
  const double sin30 = 0.5, cos30 = 0.8660254037844386;
  for (const auto& [date, st] : {std::pair{kMidnight, kMidnightST}, {kEvening, kEveningST}}) {
    // On the Greenwich meridian.
    ExpectUVW(antennas, 1, 0, date, st, 30, 0, 0, -sin30, cos30);
    ExpectUVW(antennas, 2, 0, date, st, 30, 0, -1, 0, 0);
    ExpectUVW(antennas, 3, 0, date, st, 30, 0, 0, cos30, sin30);
    // Six hours west of it.
    ExpectUVW(antennas, 1, 0, date, st - 90, 30, 0, 1, 0, 0);
    ExpectUVW(antennas, 2, 0, date, st - 90, 30, 0, 0, -sin30, cos30);
    ExpectUVW(antennas, 0, 2, date, st - 90, 30, 0, 0, sin30, -cos30);
    ExpectUVW(antennas, 2, 2, date, st - 90, 30, 0, 0, 0, 0);
  }
}

TEST(CalculateUVW, TurnsAntennasByTheLongitudeOfTheCentre) {
  AUVXAntenns antennas = Antennas("0", "6000000");
  // x becomes -y, and y becomes -x.
  ExpectUVW(antennas, 1, 0, kMidnight, kMidnightST, 0, 1, 1, 0, 0);
  ExpectUVW(antennas, 2, 0, kMidnight, kMidnightST, 0, 1, 0, 0, -1);
  ExpectUVW(antennas, 3, 0, kMidnight, kMidnightST, 0, 1, 0, 1, 0);
}

TEST(CalculateUVW, LeavesAGroupOfUnknownAntennasAlone) {
  AUVXAntenns antennas = Antennas("0", "0");
  for (const int index : {-1, 4}) {
    AUVXGroup group;
    group.uu = 7;
    AUVXSourceItem source;
    CalculateUVW(group, antennas, index, 0, source, 0);
    CalculateUVW(group, antennas, 0, index, source, 0);
    EXPECT_EQ(group.u(), 7);
  }
}

}  // namespace
}  // namespace zeltra::test
