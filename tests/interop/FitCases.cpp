// Fits and splines for the data on standard input, to compare with other software. A line is a kind, then numbers:
// see fit_test.py.
// SPDX-License-Identifier: MIT
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "zeltra/numeric/AAproximation.h"
#include "zeltra/numeric/ACubicSlineFree.h"
#include "zeltra/numeric/AGaussFit.h"

namespace {

using namespace zeltra;
using Numbers = std::vector<double>;

void Print(const Numbers& numbers) {
  for (const double number : numbers) std::printf("%.17g ", number);
}

template <typename Spline, typename... Slopes>
void PrintSpline(const Numbers& x, const Numbers& y, const Numbers& at, Slopes... slopes) {
  Spline spline;
  if (!spline.Init(x.data(), y.data(), static_cast<int>(x.size()), slopes...)) return;
  for (const double t : at) Print({spline.Value(t), spline.Derivative(t), spline.SecondDerivative(t)});
}

void PrintGauss(const AGaussFit& fit) {
  for (const auto parameter : {AGaussFit::Peak, AGaussFit::X, AGaussFit::Y, AGaussFit::Major, AGaussFit::Minor,
                               AGaussFit::Angle, AGaussFit::Base}) {
    Print({fit.Value(parameter), fit.Error(parameter)});
  }
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line); std::puts("")) {
    std::istringstream words(line);
    std::string kind;
    int n, m;
    words >> kind >> n >> m;
    const auto read = [&words](int count) {
      Numbers numbers(count);
      for (double& number : numbers) words >> number;
      return numbers;
    };
    const Numbers x = read(n), y = read(n), more = read(m);
    AGaussFit gauss;
    if (kind == "natural") PrintSpline<ACubicSlineFree>(x, y, more);
    if (kind == "not-a-knot") PrintSpline<ACubicSlineNotAKnot>(x, y, more);
    if (kind == "clamped") PrintSpline<ACubicSlineClamped>(x, y, more, 1.5, -0.5);
    if (kind == "periodic") PrintSpline<ACubicSlinePeriodic>(x, y, more);
    if (kind == "monotone") PrintSpline<ACubicSlineMonotone>(x, y, more);
    if (kind == "polynomial") {
      AAproximation polynomial;
      if (!polynomial.Fit(x.data(), y.data(), more.data(), n, 5)) continue;
      for (const double t : x) Print({polynomial.Value(t), polynomial.Derivative(t), polynomial.Error(t)});
    }
    if (kind == "profile" && gauss.Fit(x.data(), y.data(), more.data(), n)) PrintGauss(gauss);
    if (kind == "ellipse" && gauss.Fit(x.data(), y.data(), more.data(), nullptr, n)) PrintGauss(gauss);
  }
}
