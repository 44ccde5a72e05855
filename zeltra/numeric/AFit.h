// Fits of models to data: least squares by the method of Levenberg and Marquardt.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_NUMERIC_AFIT_H_
#define ZELTRA_NUMERIC_AFIT_H_

#include <functional>
#include <vector>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// How a fit ended.
enum class AFitCode {
  Converged,
  Undetermined,  ///< at a minimum that does not determine all parameters; no covariance
  TooManySteps,  ///< the parameters are the best so far
  NotFinite,     ///< data, model or start are not numbers, or the model does not exist there
  TooFewPoints,  ///< fewer than parameters
};

/// What a fit gives.
struct ZELTRA_API AFitResult {
  AFitCode code = AFitCode::NotFinite;
  int iterations = 0;  ///< steps that lowered chi^2
  int64 rows = 0;      ///< residuals
  double chi2 = 0;     ///< sum of squares of the residuals
  std::vector<double> parameters;
  /// Shape [parameter][parameter], provided that the residuals were divided by the errors of the data; empty if it is
  /// not known.
  std::vector<double> covariance;

  /// Whether parameters and errors may be believed.
  bool HasConverged() const { return code == AFitCode::Converged; }
  /// Standard deviation of a parameter, as implied by the errors of the data; infinite if it is not known.
  double Error(int parameter) const;
  /// The same if only the ratios of these errors are known: Error() times sqrt(chi^2 / (rows - parameters)).
  double ScaledError(int parameter) const;
  /// From -1 to 1; 0 if it is not known.
  double Correlation(int a, int b) const;
};

/// A model with its data.
class ZELTRA_API AFitProblem {
 public:
  /// Takes a block of rows: the model's derivatives, shape [parameter][row], and data minus model, [row], both divided
  /// by the error of the data. Without derivatives the first pointer is null. Both arrays are undefined afterwards.
  using Sink = std::function<void(double* derivatives, double* residuals, int rows)>;

  virtual ~AFitProblem();
  virtual int parameters() const = 0;
  /// Hand all rows over, in the same order every time.
  /// @return false if the model does not exist for these parameters, which rejects a step
  virtual bool Evaluate(const double* parameters, bool withDerivatives, const Sink& take) = 0;
};

/// Find the parameters near `start` that minimise the sum of squares.
///
/// The method of J. J. More (1978, in Numerical Analysis, Lecture Notes in Mathematics 630, 105): steps within an
/// ellipsoid whose axes follow the largest derivatives so far. A fit ends once a step changes chi^2 by less than 1e-15
/// of it, or the scaled parameters by less than that fraction of their length.
/// @param most  number of steps that are tried
ZELTRA_API AFitResult Fit(AFitProblem& problem, const std::vector<double>& start, int most = 1000);

}  // namespace zeltra

#endif  // ZELTRA_NUMERIC_AFIT_H_
