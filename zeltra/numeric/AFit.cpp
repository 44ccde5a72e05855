// SPDX-License-Identifier: MIT
#include "zeltra/numeric/AFit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "zeltra/numeric/AQRSums.h"

namespace zeltra {
namespace {

constexpr double kTolerance = 1e-15;
// Radius of the first ellipsoid, in units of the length of the scaled parameters (More 1978, section 5).
constexpr double kFirstStep = 100;
// At a minimum chi^2 is flat: in double precision it stops falling once the parameters are known to half of their
// digits. The other half comes from further steps, taken although chi^2 no longer shows that they help, until a step
// would change the fit by less than 1e-10 of its errors.
constexpr int kLastSteps = 10;
constexpr double kPolished = 1e-20;
constexpr double kNoRise = 1e-12;

double Length(const std::vector<double>& scale, const std::vector<double>& x) {
  double sum = 0;
  for (size_t i = 0; i < x.size(); ++i) sum += scale[i] * x[i] * scale[i] * x[i];
  return std::sqrt(sum);
}

class Minimizer {
 public:
  Minimizer(AFitProblem& problem, const std::vector<double>& start)
      : problem_(problem), n_(static_cast<int>(start.size())), sums_(n_), scale_(n_), step_(n_) {
    result_.parameters = start;
  }

  AFitResult Run(int most);

 private:
  bool Linearize();
  void SetScale();
  bool Try();
  bool Polish();
  void Damp();
  bool SolveDamped(double damping, AQRSums& damped);
  double Gradient() const;
  double SquaredNewtonLength(const AQRSums& triangle, double length) const;
  double ChiSquare(const std::vector<double>& parameters);
  double Predicted(double& descent) const;
  AFitResult& End(AFitCode code);

  AFitProblem& problem_;
  const int n_;
  AQRSums sums_;               // of derivatives and residuals at the parameters
  std::vector<double> scale_;  // of each parameter: the largest norm of its derivatives
  std::vector<double> step_;
  double radius_ = 0;  // of the ellipsoid
  double damping_ = 0;
  bool hasEnded_ = false;
  AFitResult result_;
};

bool Minimizer::Linearize() {
  sums_.Clear();
  const bool exists = problem_.Evaluate(
      result_.parameters.data(), true,
      [this](double* derivatives, double* residuals, int rows) { sums_.Add(derivatives, residuals, rows); });
  double norms = sums_.rest();
  for (int j = 0; j < n_; ++j) {
    norms += sums_.QTb(j) * sums_.QTb(j);
    for (int i = 0; i <= j; ++i) norms += std::fabs(sums_.R(i, j));
  }
  return exists && std::isfinite(norms);
}

// Norms of the columns, never smaller than before.
void Minimizer::SetScale() {
  for (int j = 0; j < n_; ++j) {
    double sum = 0;
    for (int i = 0; i <= j; ++i) sum += sums_.R(i, j) * sums_.R(i, j);
    scale_[j] = std::max(scale_[j], std::sqrt(sum));
  }
}

double Minimizer::ChiSquare(const std::vector<double>& parameters) {
  double sum = 0;
  const bool exists = problem_.Evaluate(parameters.data(), false, [&sum](double*, double* residuals, int rows) {
    for (int i = 0; i < rows; ++i) sum += residuals[i] * residuals[i];
  });
  return exists && std::isfinite(sum) ? sum : std::numeric_limits<double>::infinity();
}

// The step that solves the equations with sqrt(damping) x scale appended below as a diagonal.
bool Minimizer::SolveDamped(double damping, AQRSums& damped) {
  const int rows = 2 * n_;
  std::vector<double> matrix(static_cast<size_t>(n_) * rows), right(rows);
  for (int j = 0; j < n_; ++j) {
    double* column = matrix.data() + static_cast<size_t>(j) * rows;
    for (int i = 0; i <= j; ++i) column[i] = sums_.R(i, j);
    column[n_ + j] = std::sqrt(damping) * (scale_[j] > 0 ? scale_[j] : 1);
    right[j] = sums_.QTb(j);
  }
  damped.Add(matrix.data(), right.data(), rows);
  return damped.Solve(step_);
}

// A divisor of Newton's correction of the damping, which is to bring the step to the length of the radius.
double Minimizer::SquaredNewtonLength(const AQRSums& triangle, double length) const {
  std::vector<double> v(n_);
  for (int j = 0; j < n_; ++j) v[j] = scale_[j] * scale_[j] * step_[j] / length;
  triangle.SolveTransposed(v);
  double sum = 0;
  for (const double x : v) sum += x * x;
  return sum;
}

// Norm of the gradient of chi^2 / 2 in scaled parameters.
double Minimizer::Gradient() const {
  double squares = 0;
  for (int j = 0; j < n_; ++j) {
    double sum = 0;
    for (int i = 0; i <= j; ++i) sum += sums_.R(i, j) * sums_.QTb(i);
    if (scale_[j] > 0) squares += sum * sum / (scale_[j] * scale_[j]);
  }
  return std::sqrt(squares);
}

// Find the damping at which the step is as long as the radius, to within a tenth.
void Minimizer::Damp() {
  double least = 0;
  if (sums_.Solve(step_)) {
    const double length = Length(scale_, step_), excess = length - radius_;
    if (excess <= 0.1 * radius_) {
      damping_ = 0;
      return;
    }
    least = excess / (radius_ * SquaredNewtonLength(sums_, length));
  }
  double most = std::max(least, Gradient() / radius_);
  damping_ = std::clamp(damping_, least, most);
  for (int i = 0; i < 10; ++i) {
    if (damping_ == 0) damping_ = std::max(std::numeric_limits<double>::min(), 0.001 * most);
    AQRSums damped(n_);
    if (!SolveDamped(damping_, damped)) {
      damping_ *= 10;
      continue;
    }
    const double length = Length(scale_, step_), excess = length - radius_;
    if (std::fabs(excess) <= 0.1 * radius_ || length == 0) return;
    (excess > 0 ? least : most) = damping_;
    damping_ = std::max(least, damping_ + excess / (radius_ * SquaredNewtonLength(damped, length)));
  }
}

// What the linear model expects of the step.
// @param descent  minus the slope of chi^2 / 2 along the step, at its start
// @return the decrease of chi^2
double Minimizer::Predicted(double& descent) const {
  double linear = 0;
  for (int i = 0; i < n_; ++i) {
    double sum = 0;
    for (int j = i; j < n_; ++j) sum += sums_.R(i, j) * step_[j];
    linear += sum * sum;
  }
  const double length = Length(scale_, step_);
  const double damping = damping_ * length * length;
  descent = linear + damping;
  return linear + 2 * damping;
}

// Try a step. @return whether it was taken; the radius is adjusted in either case
bool Minimizer::Try() {
  Damp();
  std::vector<double> next = result_.parameters;
  for (int j = 0; j < n_; ++j) next[j] += step_[j];
  const double length = Length(scale_, step_);
  if (result_.iterations == 0) radius_ = std::min(radius_, length);
  const double before = result_.chi2, chi2 = ChiSquare(next), actual = before - chi2;
  double descent;
  const double predicted = Predicted(descent);
  const double ratio = predicted > 0 ? actual / predicted : 0;
  if (!(ratio > 0.25)) {
    // The factor by which the parabola through the two values would shorten the step.
    double share = actual >= 0 ? 0.5 : descent / (2 * descent - actual);
    if (!(chi2 < 100 * before) || !(share >= 0.1)) share = 0.1;
    radius_ = share * std::min(radius_, length / 0.1);
    damping_ /= share;
  } else if (damping_ == 0 || ratio >= 0.75) {
    radius_ = 2 * length;
    damping_ /= 2;
  }
  hasEnded_ = (std::fabs(actual) <= kTolerance * before && predicted <= kTolerance * before && ratio <= 2) ||
              radius_ <= kTolerance * Length(scale_, next);
  if (!(ratio >= 1e-4)) return false;
  result_.parameters = next;
  result_.chi2 = chi2;
  ++result_.iterations;
  return true;
}

// Take a full Gauss-Newton step. @return whether another one may help
bool Minimizer::Polish() {
  if (!sums_.Solve(step_)) return false;
  damping_ = 0;
  double expected;
  Predicted(expected);
  if (expected <= kPolished * result_.chi2) return false;
  std::vector<double> next = result_.parameters;
  for (int j = 0; j < n_; ++j) next[j] += step_[j];
  const double chi2 = ChiSquare(next);
  if (!(chi2 <= result_.chi2 * (1 + kNoRise))) return false;
  result_.parameters = next;
  result_.chi2 = chi2;
  return Linearize();
}

AFitResult& Minimizer::End(AFitCode code) {
  result_.code = code;
  if (code == AFitCode::NotFinite || code == AFitCode::TooFewPoints) return result_;
  if (!Linearize()) {
    result_.code = AFitCode::NotFinite;
    return result_;
  }
  for (int i = 0; i < kLastSteps && code == AFitCode::Converged && Polish();) ++i;
  result_.covariance = sums_.Covariance();
  if (result_.covariance.empty() && code == AFitCode::Converged) result_.code = AFitCode::Undetermined;
  return result_;
}

AFitResult Minimizer::Run(int most) {
  result_.chi2 = ChiSquare(result_.parameters);
  if (!std::isfinite(result_.chi2) || !Linearize()) return End(AFitCode::NotFinite);
  result_.rows = sums_.rows();
  if (result_.rows < n_) return End(AFitCode::TooFewPoints);
  SetScale();
  radius_ = kFirstStep * Length(scale_, result_.parameters);
  if (radius_ == 0) radius_ = kFirstStep;
  for (int tried = 0; tried < most; ++tried) {
    const bool isTaken = Try();
    if (hasEnded_) return End(AFitCode::Converged);
    if (!isTaken) continue;
    if (!Linearize()) return End(AFitCode::NotFinite);
    SetScale();
  }
  return End(AFitCode::TooManySteps);
}

}  // namespace

double AFitResult::Error(int parameter) const {
  if (covariance.empty()) return std::numeric_limits<double>::infinity();
  return std::sqrt(covariance[parameter * (parameters.size() + 1)]);
}

double AFitResult::ScaledError(int parameter) const {
  const double freedom = static_cast<double>(rows) - static_cast<double>(parameters.size());
  return freedom > 0 ? Error(parameter) * std::sqrt(chi2 / freedom) : std::numeric_limits<double>::infinity();
}

double AFitResult::Correlation(int a, int b) const {
  if (covariance.empty()) return 0;
  return covariance[a * parameters.size() + b] / (Error(a) * Error(b));
}

AFitProblem::~AFitProblem() = default;

AFitResult Fit(AFitProblem& problem, const std::vector<double>& start, int most) {
  return Minimizer(problem, start).Run(most);
}

}  // namespace zeltra
