// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ComponentFit.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <numbers>

#include "zeltra/calibration/ModelPrediction.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/PartRunnerInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/numeric/AFit.h"
#include "zeltra/numeric/AQRSums.h"

namespace zeltra {
namespace {

using Complex = std::complex<double>;

// Visibilities in a part, whose rows become one triangle, and in a block of it, which stays in the cache.
constexpr size_t kPart = 4096, kBlock = 128;
// Share of a derivative that has to be independent of all those before it for the data to determine the parameter.
constexpr double kLeastShare = 1e-8;
constexpr double kStrongCorrelation = 0.9;
constexpr size_t kMostNamed = 8;
// Takes the place of an axial ratio of 0, which would stay 0 in a fit, as chi^2 depends on its square.
constexpr double kFirstRatio = 0.1;

constexpr unsigned kShape = ModelComponent::FreeMajor | ModelComponent::FreeRatio | ModelComponent::FreeAngle;
constexpr unsigned kNumbers[] = {ModelComponent::FreeFlux,  ModelComponent::FreeX,     ModelComponent::FreeY,
                                 ModelComponent::FreeMajor, ModelComponent::FreeRatio, ModelComponent::FreeAngle};

// Of a component or of its errors.
template <typename Component>
double& NumberOf(Component& c, unsigned number) {
  constexpr double Component::*kMembers[] = {&Component::flux,  &Component::x,     &Component::y,
                                             &Component::major, &Component::ratio, &Component::angle};
  return c.*kMembers[std::countr_zero(number)];
}

std::string NameOf(unsigned number) {
  constexpr const char* kNames[] = {"flux", "x", "y", "major axis", "axial ratio", "angle"};
  return kNames[std::countr_zero(number)];
}

// The shape of a Gaussian, which for a flux of 1 and without its phase is exp(-kScale (uu u^2 + uv u v + vv v^2)); also
// the derivatives of uu, uv and vv.
struct Form {
  static constexpr double kScale = kPi * kPi / (4 * std::numbers::ln2);

  double operator()(double u, double v) const { return uu * u * u + uv * u * v + vv * v * v; }

  double uu = 0, uv = 0, vv = 0;
};

// The factors of a form (a u + b v)^2 + (c v)^2. Unlike axes and angle, they have different derivatives for a circle
// too, and each of their values has a meaning.
struct Factors {
  explicit Factors(const ModelComponent& c);
  Factors(double first, double second, double third) : a(first), b(second), c(third) {}
  void Shape(ModelComponent& component) const;

  double a, b, c;
};

Factors::Factors(const ModelComponent& component) {
  const double major = component.major, minor = major * component.ratio;
  const double sine = std::sin(component.angle), cosine = std::cos(component.angle);
  a = std::hypot(major * sine, minor * cosine);
  b = (major * major - minor * minor) * sine * cosine / a;
  c = major * minor / a;
}

void Factors::Shape(ModelComponent& component) const {
  const double uu = a * a, half = a * b, vv = b * b + c * c;
  const double square = (uu + vv + std::hypot(uu - vv, 2 * half)) / 2;
  component.major = std::sqrt(square);
  component.ratio = square > 0 ? std::fabs(a * c) / square : 1;
  component.angle = std::atan2(2 * half, vv - uu) / 2;
}

// A number that is fitted: one of a component or, where a whole shape is fitted by its factors, one of the factors.
struct Parameter {
  size_t component;
  unsigned number;
};

// The parameters of a model, and what they make of it.
class Parameters {
 public:
  /// @param withFactors  whether whole shapes are fitted by their factors
  Parameters(const std::vector<ModelComponent>& components, bool withFactors);

  int count() const { return static_cast<int>(list_.size()); }
  const Parameter& operator[](int i) const { return list_[static_cast<size_t>(i)]; }
  void Drop(const std::vector<bool>& dropped);
  std::vector<double> Start() const;
  std::vector<ModelComponent> Model(const double* p) const;
  /// The derivative of a Gaussian's form by a parameter of its shape.
  Form Slope(int parameter, const ModelComponent& component, const double* p) const;

 private:
  bool HasFactors(const ModelComponent& c) const { return withFactors_ && (c.free & kShape) == kShape; }
  static Form SlopeByAxis(const ModelComponent& c, unsigned number);

  std::vector<ModelComponent> components_;
  bool withFactors_;
  std::vector<Parameter> list_;
};

Parameters::Parameters(const std::vector<ModelComponent>& components, bool withFactors)
    : components_(components), withFactors_(withFactors) {
  for (size_t i = 0; i < components.size(); ++i) {
    for (const unsigned number : kNumbers) {
      if (components[i].free & number) list_.push_back({i, number});
    }
  }
}

void Parameters::Drop(const std::vector<bool>& dropped) {
  size_t i = 0;
  std::erase_if(list_, [&](const Parameter&) { return dropped[i++]; });
}

std::vector<double> Parameters::Start() const {
  std::vector<double> start;
  for (const Parameter& parameter : list_) {
    ModelComponent c = components_[parameter.component];
    if (HasFactors(c) && (parameter.number & kShape)) {
      const Factors factors(c);
      c.major = factors.a, c.ratio = factors.b, c.angle = factors.c;
    }
    start.push_back(NumberOf(c, parameter.number));
  }
  return start;
}

std::vector<ModelComponent> Parameters::Model(const double* p) const {
  std::vector<ModelComponent> model = components_;
  for (const Parameter& parameter : list_) NumberOf(model[parameter.component], parameter.number) = *p++;
  for (ModelComponent& c : model) {
    if (HasFactors(c)) Factors(c.major, c.ratio, c.angle).Shape(c);
  }
  return model;
}

Form Parameters::Slope(int parameter, const ModelComponent& component, const double* p) const {
  const unsigned number = (*this)[parameter].number;
  if (!(number & kShape)) return {};
  if (!HasFactors(component)) return SlopeByAxis(component, number);
  const double* first = p + parameter -
                        (number == ModelComponent::FreeMajor   ? 0
                         : number == ModelComponent::FreeRatio ? 1
                                                               : 2);
  const Factors f(first[0], first[1], first[2]);
  if (number == ModelComponent::FreeMajor) return {2 * f.a, 2 * f.b, 0};
  if (number == ModelComponent::FreeRatio) return {0, 2 * f.a, 2 * f.b};
  return {0, 0, 2 * f.c};
}

Form Parameters::SlopeByAxis(const ModelComponent& c, unsigned number) {
  const double sine = std::sin(c.angle), cosine = std::cos(c.angle);
  const double square = c.major * c.major, ratio = c.ratio * c.ratio;
  if (number == ModelComponent::FreeMajor) {
    const double twice = 2 * c.major;
    return {twice * (sine * sine + ratio * cosine * cosine), twice * 2 * (1 - ratio) * sine * cosine,
            twice * (cosine * cosine + ratio * sine * sine)};
  }
  if (number == ModelComponent::FreeRatio) {
    const double twice = 2 * square * c.ratio;
    return {twice * cosine * cosine, -2 * twice * sine * cosine, twice * sine * sine};
  }
  const double scale = square * (1 - ratio), twice = 2 * sine * cosine;
  return {scale * twice, scale * 2 * (cosine * cosine - sine * sine), -scale * twice};
}

// The model at one set of parameters, which threads share.
struct Point {
  Point(const Parameters& by, const double* p) : parameters(by), components(by.Model(p)) {
    for (const ModelComponent& c : components) {
      ComponentModel unit;
      unit.components() = {c};
      unit.components()[0].flux = 1;
      predictions.emplace_back(unit);
    }
    for (int i = 0; i < by.count(); ++i) slopes.push_back(by.Slope(i, components[by[i].component], p));
  }
  bool Exists() const {
    return std::all_of(components.begin(), components.end(), [](const ModelComponent& c) {
      return std::hypot(c.x, c.y) < 1 && std::isfinite(c.flux) && std::isfinite(c.major * c.ratio * c.angle);
    });
  }

  const Parameters& parameters;
  std::vector<ModelComponent> components;
  std::vector<ModelPrediction> predictions;  // of each component with a flux of 1
  std::vector<Form> slopes;                  // of each parameter, for those of shapes
};

// Makes one triangle of the rows of a part, so that threads do nearly all of the work and hand over little.
class RowWorker : public PartWorker {
 public:
  RowWorker(const VisibilityList& list, const Point& point, bool withDerivatives)
      : list_(list),
        point_(point),
        columns_(withDerivatives ? point.parameters.count() : 0),
        sums_(columns_),
        matrix_(2 * kBlock * static_cast<size_t>(columns_)),
        residuals_(2 * kBlock) {}

  AResult Run(int part, PartOutput& output) override {
    const size_t first = static_cast<size_t>(part) * kPart, end = std::min(first + kPart, list_.size());
    sums_.Clear();
    for (size_t i = first; i < end; i += kBlock) AddBlock(i, std::min(kBlock, end - i));
    output.Put(Rows());
    return AResult::Ok();
  }

 private:
  void AddBlock(size_t first, size_t count);
  void FillColumn(int column, size_t first, size_t count);
  std::vector<char> Rows() const;

  const VisibilityList& list_;
  const Point& point_;
  const int columns_;
  AQRSums sums_;
  std::vector<double> matrix_;     // [parameter][row], real parts before imaginary ones
  std::vector<double> residuals_;  // [row]
  Complex unit_[kBlock] = {};      // of the present component with a flux of 1
};

void RowWorker::AddBlock(size_t first, size_t count) {
  std::vector<Complex> rest(list_.value.begin() + static_cast<std::ptrdiff_t>(first),
                            list_.value.begin() + static_cast<std::ptrdiff_t>(first + count));
  int column = 0;
  for (size_t k = 0; k < point_.components.size(); ++k) {
    point_.predictions[k].Predict(&list_.u[first], &list_.v[first], &list_.frequency[first], static_cast<int>(count),
                                  unit_);
    for (size_t i = 0; i < count; ++i) rest[i] -= point_.components[k].flux * unit_[i];
    for (; column < columns_ && point_.parameters[column].component == k; ++column) FillColumn(column, first, count);
  }
  for (size_t i = 0; i < count; ++i) {
    const double factor = std::sqrt(list_.weight[first + i]);
    residuals_[i] = factor * rest[i].real();
    residuals_[count + i] = factor * rest[i].imag();
  }
  sums_.Add(matrix_.data(), residuals_.data(), static_cast<int>(2 * count));
}

void RowWorker::FillColumn(int column, size_t first, size_t count) {
  const Parameter& parameter = point_.parameters[column];
  const double flux = point_.components[parameter.component].flux;
  const Form& slope = point_.slopes[static_cast<size_t>(column)];
  double* rows = matrix_.data() + static_cast<size_t>(column) * 2 * count;
  for (size_t i = 0; i < count; ++i) {
    const double u = list_.u[first + i], v = list_.v[first + i];
    Complex derivative = unit_[i];
    if (parameter.number == ModelComponent::FreeX) derivative *= Complex(0, kTwoPi * u * flux);
    if (parameter.number == ModelComponent::FreeY) derivative *= Complex(0, kTwoPi * v * flux);
    if (parameter.number & kShape) derivative *= -Form::kScale * slope(u, v) * flux;
    const double factor = std::sqrt(list_.weight[first + i]);
    rows[i] = factor * derivative.real();
    rows[count + i] = factor * derivative.imag();
  }
}

// The triangle, and a row for the rest of the residuals: the equations of the part, apart from a rotation.
std::vector<char> RowWorker::Rows() const {
  const auto rows = static_cast<size_t>(columns_) + 1;
  std::vector<double> numbers(rows * rows);
  for (int column = 0; column < columns_; ++column) {
    for (int row = 0; row <= column; ++row)
      numbers[static_cast<size_t>(column) * rows + static_cast<size_t>(row)] = sums_.R(row, column);
  }
  double* right = numbers.data() + static_cast<size_t>(columns_) * rows;
  for (int row = 0; row < columns_; ++row) right[row] = sums_.QTb(row);
  right[columns_] = std::sqrt(sums_.rest());
  std::vector<char> bytes(numbers.size() * sizeof(double));
  std::memcpy(bytes.data(), numbers.data(), bytes.size());
  return bytes;
}

class ComponentProblem : public AFitProblem {
 public:
  ComponentProblem(const VisibilityList& list, const Parameters& parameters, const JobOptions& options)
      : list_(list), parameters_(parameters), options_(options) {
    options_.progress = nullptr;  // nobody knows how many rounds there will be
  }

  int parameters() const override { return parameters_.count(); }
  bool Evaluate(const double* p, bool withDerivatives, const Sink& take) override;
  /// A failure if the job was cancelled or is out of memory.
  const AResult& result() const { return result_; }

 private:
  const VisibilityList& list_;
  const Parameters& parameters_;
  JobOptions options_;
  AResult result_ = AResult::Ok();
};

bool ComponentProblem::Evaluate(const double* p, bool withDerivatives, const Sink& take) {
  const Point point(parameters_, p);
  if (!result_ || !point.Exists()) return false;
  const size_t columns = withDerivatives ? static_cast<size_t>(parameters_.count()) : 0;
  std::vector<double> rows((columns + 1) * (columns + 1));
  PartJob job;
  job.name = "the fit";
  job.parts = static_cast<int>((list_.size() + kPart - 1) / kPart);
  job.worker = [&] { return std::make_unique<RowWorker>(list_, point, withDerivatives); };
  job.take = [&](const std::vector<char>& bytes) {
    std::memcpy(rows.data(), bytes.data(), bytes.size());
    take(columns ? rows.data() : nullptr, rows.data() + columns * (columns + 1), static_cast<int>(columns) + 1);
    return AResult::Ok();
  };
  result_ = RunParts(job, options_);
  return static_cast<bool>(result_);
}

std::string List(const std::vector<std::string>& names) {
  std::string list;
  for (size_t i = 0; i < std::min(names.size(), kMostNamed); ++i) list += (i ? ", " : "") + names[i];
  return list + (names.size() > kMostNamed ? " and " + std::to_string(names.size() - kMostNamed) + " more" : "");
}

class ComponentFitter {
 public:
  ComponentFitter(VisibilityList& list, const JobOptions& options, ComponentFit& fit)
      : list_(list), options_(options), fit_(fit) {}

  AResult Run();

 private:
  AResult Divide();
  AResult Minimize();
  AResult FindErrors();
  AResult Linearize(const Parameters& parameters, AQRSums& sums) const;
  void DropUndetermined(Parameters& parameters, const AQRSums& sums);
  void SetErrors(const Parameters& parameters, const std::vector<double>& covariance);
  void RemarkOnCorrelations(const Parameters& parameters, const std::vector<double>& covariance);
  std::string NameOf(const Parameter& parameter) const;

  VisibilityList& list_;
  const JobOptions& options_;
  ComponentFit& fit_;
  std::vector<ModelComponent> free_;  // the components with free numbers
  std::vector<size_t> places_;        // of these in the model
};

AResult ComponentFitter::Run() {
  if (AResult result = Divide(); !result) return result;
  if (AResult result = Minimize(); !result) return result;
  return FindErrors();
}

// Subtract the components that the fit does not change from the visibilities.
AResult ComponentFitter::Divide() {
  ComponentModel fixed;
  std::vector<ModelComponent>& all = fit_.model.components();
  for (size_t i = 0; i < all.size(); ++i) {
    ModelComponent c = all[i];
    Fold(c);
    c.free = FreeNumbers(c);
    if (c.ratio == 0 && (c.free & ModelComponent::FreeRatio)) c.ratio = kFirstRatio;
    if (c.free == 0) {
      fixed.components().push_back(c);
      continue;
    }
    free_.push_back(c);
    places_.push_back(i);
    fit_.parameters += std::popcount(c.free);
    if (fit_.parameters > kMostFreeNumbers) {
      return AResult::Fail("more than " + std::to_string(kMostFreeNumbers) +
                           " numbers are free, which is more than a fit can take");
    }
  }
  if (fit_.parameters == 0) return AResult::Fail("no number is free, so there is nothing to fit");
  if (2 * list_.size() <= static_cast<size_t>(fit_.parameters)) {
    return AResult::Fail(std::to_string(list_.size()) + " visibilities are too few for " +
                         std::to_string(fit_.parameters) + " free numbers");
  }
  fit_.visibilities = static_cast<int64>(list_.size());
  return list_.Subtract(fixed, options_);
}

AResult ComponentFitter::Minimize() {
  SendProgressText(options_.progress, "Fitting components...");
  const Parameters parameters(free_, true);
  ComponentProblem problem(list_, parameters, options_);
  const std::vector<double> start = parameters.Start();
  problem.Evaluate(start.data(), false,
                   [this](double*, double* residual, int) { fit_.chi2Before += *residual * *residual; });
  if (!problem.result()) return problem.result();
  const AFitResult found = Fit(problem, start);
  if (!problem.result()) return problem.result();
  if (found.code == AFitCode::NotFinite) return AResult::Fail("the model or its derivatives are not finite numbers");
  if (found.code == AFitCode::TooManySteps) {
    fit_.remarks.push_back("the fit has not converged after 1000 steps; this is the best that it came to");
  }
  fit_.iterations = found.iterations;
  fit_.chi2After = found.chi2;
  free_ = parameters.Model(found.parameters.data());
  for (size_t i = 0; i < free_.size(); ++i) {
    Fold(free_[i]);
    const unsigned marks = fit_.model.components()[places_[i]].free;
    fit_.model.components()[places_[i]] = free_[i];
    fit_.model.components()[places_[i]].free = marks;
  }
  return AResult::Ok();
}

AResult ComponentFitter::Linearize(const Parameters& parameters, AQRSums& sums) const {
  ComponentProblem problem(list_, parameters, options_);
  const std::vector<double> at = parameters.Start();
  problem.Evaluate(at.data(), true, [&sums](double* derivatives, double* residuals, int rows) {
    sums.Add(derivatives, residuals, rows);
  });
  return problem.result();
}

// The covariance of the numbers as they are written, without those that the data do not determine.
AResult ComponentFitter::FindErrors() {
  fit_.errors.resize(fit_.model.components().size());
  Parameters parameters(free_, false);
  AQRSums sums(parameters.count());
  if (AResult result = Linearize(parameters, sums); !result) return result;
  DropUndetermined(parameters, sums);
  if (parameters.count() == sums.unknowns()) {
    SetErrors(parameters, sums.Covariance());
    return AResult::Ok();
  }
  AQRSums rest(parameters.count());
  AResult result = Linearize(parameters, rest);
  if (result) SetErrors(parameters, rest.Covariance());
  return result;
}

void ComponentFitter::DropUndetermined(Parameters& parameters, const AQRSums& sums) {
  std::vector<bool> dropped;
  std::vector<std::string> names;
  for (int j = 0; j < sums.unknowns(); ++j) {
    double square = 0;
    for (int i = 0; i <= j; ++i) square += sums.R(i, j) * sums.R(i, j);
    dropped.push_back(!(std::fabs(sums.R(j, j)) > kLeastShare * std::sqrt(square)));
    if (!dropped.back()) continue;
    const Parameter& parameter = parameters[j];
    names.push_back(NameOf(parameter));
    NumberOf(fit_.errors[places_[parameter.component]], parameter.number) = std::numeric_limits<double>::infinity();
  }
  parameters.Drop(dropped);
  if (!names.empty()) fit_.remarks.push_back("the data do not determine " + List(names));
}

void ComponentFitter::SetErrors(const Parameters& parameters, const std::vector<double>& covariance) {
  if (covariance.empty()) return;
  std::vector<std::string> small;
  const double freedom = 2 * static_cast<double>(fit_.visibilities) - parameters.count();
  const auto stride = static_cast<size_t>(parameters.count()) + 1;
  for (int i = 0; i < parameters.count(); ++i) {
    const Parameter& parameter = parameters[i];
    double error = std::sqrt(covariance[static_cast<size_t>(i) * stride] * fit_.chi2After / freedom);
    const bool isWidth = parameter.number == ModelComponent::FreeMajor || parameter.number == ModelComponent::FreeRatio;
    const double value = NumberOf(free_[parameter.component], parameter.number);
    if (isWidth && error > value) {
      // Near 0, chi^2 is a parabola in the square only.
      const double bound = std::sqrt(value * (value + 2 * error));
      error = bound - value;
      const bool isAngle = parameter.number == ModelComponent::FreeMajor;
      small.push_back(NameOf(parameter) + " below " + (isAngle ? AngleText(bound, 3) : RoundedNumber(bound, 3)));
    }
    NumberOf(fit_.errors[places_[parameter.component]], parameter.number) = error;
  }
  if (!small.empty()) fit_.remarks.push_back("not resolved: " + List(small));
  RemarkOnCorrelations(parameters, covariance);
}

void ComponentFitter::RemarkOnCorrelations(const Parameters& parameters, const std::vector<double>& covariance) {
  struct Pair {
    int i, j;
    double correlation;
  };
  const auto n = static_cast<size_t>(parameters.count());
  std::vector<Pair> pairs;
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = i + 1; j < n; ++j) {
      const double correlation = covariance[i * n + j] / std::sqrt(covariance[i * n + i] * covariance[j * n + j]);
      if (std::fabs(correlation) > kStrongCorrelation)
        pairs.push_back({static_cast<int>(i), static_cast<int>(j), correlation});
    }
  }
  std::stable_sort(pairs.begin(), pairs.end(),
                   [](const Pair& a, const Pair& b) { return std::fabs(a.correlation) > std::fabs(b.correlation); });
  std::vector<std::string> names;
  for (const Pair& pair : pairs) {
    names.push_back(NameOf(parameters[pair.i]) + " with " + NameOf(parameters[pair.j]) + " (" +
                    RoundedNumber(pair.correlation, 3) + ")");
  }
  if (!names.empty()) fit_.remarks.push_back("strong correlations: " + List(names));
}

std::string ComponentFitter::NameOf(const Parameter& parameter) const {
  return zeltra::NameOf(parameter.number) + " of component " + std::to_string(places_[parameter.component] + 1);
}

}  // namespace

unsigned FreeNumbers(const ModelComponent& c) {
  if (!c.isGaussian) return c.free & ~kShape;
  const bool staysCircle = c.ratio == 1 && !(c.free & ModelComponent::FreeRatio);
  return staysCircle ? c.free & ~unsigned{ModelComponent::FreeAngle} : c.free;
}

void Fold(ModelComponent& c) {
  if (!c.isGaussian) return;
  c.major = std::fabs(c.major);
  c.ratio = std::fabs(c.ratio);
  const bool isExchanged = c.ratio > 1;
  if (isExchanged) {
    c.major *= c.ratio;
    c.ratio = 1 / c.ratio;
    c.angle += kPi / 2;
  }
  if (isExchanged || (c.free & ModelComponent::FreeAngle)) c.angle = std::remainder(c.angle, kPi);
}

AResult FitComponents(VisibilityList& list, const ComponentModel& start, const JobOptions& options, ComponentFit& fit) {
  fit = {};
  fit.model = start;
  return ComponentFitter(list, options, fit).Run();
}

}  // namespace zeltra
