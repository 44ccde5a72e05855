// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ApplyGains.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <set>

#include "zeltra/calibration/FindGains.h"
#include "zeltra/calibration/GainTimeline.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Moduli of phase-only solutions differ from 1 only by the rounding of a table of floats.
constexpr double kSameModulus = 1e-5;
// Gains outside these bounds are meaningless, and weights scaled by them would exceed the range of floats.
constexpr double kLeastNorm = 1e-16, kMostNorm = 1e16;

struct Scan {
  int end;  // record after the last one
  int subarray;
  double first, last;  // Julian dates
};

// The hands whose gains apply to a polarisation.
struct Hands {
  int p, q;
};

Hands HandsOf(int code) {
  switch (code < -4 ? code + 4 : code) {
    case -2:
      return {1, 1};
    case -3:
      return {0, 1};
    case -4:
      return {1, 0};
    default:
      return {0, 0};
  }
}

// The corrections of one antenna at one time, by IF and hand.
struct AntennaGains {
  int64 moment = -1;
  std::vector<GainValue> values;
};

class Applier {
 public:
  /// @param together  the outputs that it is finished with; null: it is finished by itself
  Applier(AUVXInput& from, const ApplyOptions& options, ApplySummary& summary, OutputFiles* together)
      : from_(from),
        options_(options),
        summary_(summary),
        together_(together),
        integrations_(from.contents().integrations()) {}

  AResult Run(const std::string& to);

 private:
  AResult Prepare();
  AResult TakeSource();
  AResult CheckPolarisations() const;
  AResult FindScans();
  AResult Copy();
  AResult CopyRecord(const WalkedRecord& record);
  AResult BeginMoment(const WalkedRecord& record);
  const AntennaGains& GainsOf(int antenna);
  void Correct(const WalkedRecord& record);
  void CorrectIF(const AntennaGains& p, const AntennaGains& q, int i, const AUVXComplex* in, AUVXComplex* out);
  AResult Finish();
  AResult NothingApplies() const;

  AUVXInput& from_;
  const ApplyOptions options_;
  ApplySummary& summary_;
  OutputFiles* const together_;
  AUVXIntegrationCursor integrations_;
  AGains gains_;
  std::optional<GainTimeline> timeline_;
  bool hasDelays_ = false;
  std::vector<Scan> scans_;
  size_t scan_ = 0;
  std::vector<Hands> polarisations_;
  int IFs_ = 1, channels_ = 0;
  AUVXWriter writer_;
  std::optional<KeptScans> kept_;
  std::vector<AUVXComplex> values_;
  // The moment of the last record, and what follows from it.
  GainMoment moment_;
  int64 number_ = -1;
  std::vector<AUVXFqTblItem> frequencies_;  // of its setup, by IF
  std::array<AntennaGains, 256> antennas_;
  std::array<bool, 256> isMissing_ = {};
  std::array<bool, 2> hasHand_ = {};  // whether visibilities need gains of it
};

AResult Applier::Run(const std::string& to) {
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = Prepare(); !result) return result;
  if (AResult result = writer_.Create(to, AUVXHeader(from_.uvx()), options_, from_.path()); !result) return result;
  kept_.emplace(from_, writer_, 0);
  SendProgressText(options_.progress, "Applying gains...");
  if (AResult result = Copy(); !result) return result;
  if (summary_.corrected == 0 && summary_.missing > 0) return NothingApplies();
  return Finish();
}

AResult Applier::Prepare() {
  if (options_.solution) {
    gains_ = *options_.solution;
  } else if (AResult result = FindGains(from_, options_.gains, gains_, summary_.remarks); !result) {
    return result;
  }
  if (AResult result = TakeSource(); !result) return result;
  if (AResult result = CheckPolarisations(); !result) return result;
  bool changesAmplitudes = false;
  for (int i = 0; i < gains_.list.count(); ++i) {
    AGainArrayItem& item = gains_.list(i);
    if (!item.isValid()) continue;
    const double norm = std::norm(item.gain());
    if (!(norm >= kLeastNorm && norm <= kMostNorm)) item.weight = 0;
    item.SetGain(PartOf(item.gain(), options_.part));
    if (options_.part == GainPart::Amplitude) item.delay = item.rate = 0;
    hasDelays_ |= item.delay != 0 || item.rate != 0;
    changesAmplitudes |= item.isValid() && std::fabs(std::abs(item.gain()) - 1) > kSameModulus;
  }
  summary_.areWeightsScaled = options_.scaleWeights == WeightScaling::Yes ||
                              (options_.scaleWeights == WeightScaling::Auto && changesAmplitudes);
  timeline_.emplace(gains_.list, options_.maxGap);
  IFs_ = std::max<int>(from_.uvx().IFs(), 1);
  channels_ = from_.uvx().channels();
  return FindScans();
}

// Use the solutions of one source for all sources.
AResult Applier::TakeSource() {
  if (options_.from.empty()) return AResult::Ok();
  int source = 0;
  if (AResult result = gains_.FindSource(options_.from, source); !result) return result;
  AGainArray taken;
  for (int i = 0; i < gains_.list.count(); ++i) {
    AGainArrayItem item = gains_.list(i);
    if (item.source != source) continue;
    item.source = 0;
    taken.Append(item);
  }
  if (taken.count() == 0) return AResult::Fail(gains_.label + ": has no solution of source " + options_.from);
  gains_.list = taken;
  return AResult::Ok();
}

AResult Applier::CheckPolarisations() const {
  const AUVXStokes& stokes = from_.contents().header().stokes;
  bool hasSecond = false;
  for (int i = 0; i < gains_.list.count(); ++i) hasSecond |= gains_.list(i).isValid() && gains_.list(i).hand != 0;
  for (int i = 0; i < stokes.count(); ++i) {
    if (stokes(i) < 0 || !hasSecond) continue;
    return AResult::Fail(from_.path() + ": holds Stokes parameters, which gains of two hands cannot be taken from");
  }
  return AResult::Ok();
}

// The times of scans in an index may be off by a minute; those of their records are right.
AResult Applier::FindScans() {
  const AUVXStokes& stokes = from_.contents().header().stokes;
  for (int i = 0; i < stokes.count(); ++i) {
    const Hands hands = HandsOf(stokes(i));
    polarisations_.push_back(hands);
    hasHand_[static_cast<size_t>(hands.p)] = hasHand_[static_cast<size_t>(hands.q)] = true;
  }
  values_.resize(static_cast<size_t>(IFs_) * static_cast<size_t>(channels_) * polarisations_.size());
  return from_.contents().CheckIndex(
      from_, [this](const AUVXPositionItem& scan, const AUVXGroup& first, const AUVXGroup& last) {
        const double a = first.date, b = last.date;
        // Import puts antennas of all subarrays into one list, and gives rows of tables the subarray 1.
        const int subarray = timeline_->HasSubarray(scan.subarray) ? scan.subarray : 1;
        scans_.push_back({scan.endVis, subarray, std::min(a, b), std::max(a, b)});
      });
}

AResult Applier::Copy() {
  AResult copied = AResult::Ok();
  AResult result = WalkRecords(from_, options_, 0, from_.uvx().count(), [this, &copied](const WalkedRecord& record) {
    copied = CopyRecord(record);
    return static_cast<bool>(copied);
  });
  return copied ? result : copied;
}

AResult Applier::CopyRecord(const WalkedRecord& record) {
  if (AResult result = BeginMoment(record); !result) return result;
  Correct(record);
  writer_.SetIntegration(integrations_.Stored(record.index));
  kept_->Enter(record.index);
  return writer_.Append(record.group, values_.data());
}

// Gains change only with time, source, setup and scan.
AResult Applier::BeginMoment(const WalkedRecord& record) {
  const AUVXGroup& group = record.group;
  const size_t before = scan_;
  while (record.index >= scans_[scan_].end) ++scan_;
  const bool isSameSetup = number_ >= 0 && group.freqSel() == moment_.setup;
  if (isSameSetup && scan_ == before && group.date == moment_.time && group.sourceNo() == moment_.source) {
    return AResult::Ok();
  }
  ++number_;
  const Scan& scan = scans_[scan_];
  moment_ = {group.date, group.sourceNo(), group.freqSel(), scan.subarray, scan.first, scan.last};
  if (isSameSetup) return AResult::Ok();
  const AUVXFqTbl& setups = from_.contents().setups();
  const int row = setups.GetFreqSelNum(group.freqSel());
  if (row < 0 && hasDelays_) {
    return AResult::Fail(from_.path() + ": the frequencies of setup " + std::to_string(group.freqSel()) +
                         ", which delays and rates are applied at, are not known");
  }
  frequencies_.resize(static_cast<size_t>(IFs_));
  for (int i = 0; i < IFs_; ++i) {
    frequencies_[static_cast<size_t>(i)] = {setups.GetStartIFFq(i, row), setups.GetDeltaIFFq(i, row)};
  }
  return AResult::Ok();
}

const AntennaGains& Applier::GainsOf(int antenna) {
  AntennaGains& gains = antennas_[static_cast<size_t>(antenna)];
  if (gains.moment == number_) return gains;
  gains.moment = number_;
  gains.values.resize(2 * static_cast<size_t>(IFs_));
  for (int i = 0; i < IFs_; ++i) {
    for (int hand = 0; hand < 2; ++hand) {
      gains.values[2 * static_cast<size_t>(i) + static_cast<size_t>(hand)] =
          timeline_->At({antenna, i, hand}, moment_, frequencies_[static_cast<size_t>(i)].start);
    }
  }
  return gains;
}

void Applier::Correct(const WalkedRecord& record) {
  const int first = static_cast<uint8_t>(record.group.ant1), second = static_cast<uint8_t>(record.group.ant2);
  const AntennaGains &p = GainsOf(first), &q = GainsOf(second);
  const size_t step = static_cast<size_t>(channels_) * polarisations_.size();
  const int64 missing = summary_.missing;
  for (int i = 0; i < IFs_; ++i) {
    CorrectIF(p, q, i, record.values + static_cast<size_t>(i) * step, values_.data() + static_cast<size_t>(i) * step);
  }
  if (summary_.missing == missing) return;
  for (const int antenna : {first, second}) {
    const std::vector<GainValue>& values = GainsOf(antenna).values;
    for (size_t i = 0; i < values.size(); ++i)
      isMissing_[static_cast<size_t>(antenna)] |= hasHand_[i % 2] && !values[i].isThere;
  }
}

void Applier::CorrectIF(const AntennaGains& p, const AntennaGains& q, int i, const AUVXComplex* in, AUVXComplex* out) {
  const size_t stride = polarisations_.size(), at = 2 * static_cast<size_t>(i);
  const auto channels = static_cast<size_t>(channels_);
  for (size_t k = 0; k < stride; ++k) {
    const GainValue& a = p.values[at + static_cast<size_t>(polarisations_[k].p)];
    const GainValue& b = q.values[at + static_cast<size_t>(polarisations_[k].q)];
    if (!a.isThere || !b.isThere) {
      for (size_t c = 0; c < channels; ++c) {
        AUVXComplex value = in[c * stride + k];
        summary_.missing += value.weight > 0;
        if (value.weight > 0 && !options_.passMissing) value.weight = -value.weight;
        out[c * stride + k] = value;
      }
      continue;
    }
    std::complex<double> factor = CorrectionOf(a.gain, b.gain);
    const double weightFactor = summary_.areWeightsScaled ? 1 / std::norm(factor) : 1;
    const double turn = (b.delay - a.delay) * frequencies_[static_cast<size_t>(i)].delta;
    const std::complex<double> step = std::polar(1.0, kTwoPi * std::remainder(turn, 1.0));
    int64 corrected = 0;
    for (size_t c = 0; c < channels; ++c) {
      const AUVXComplex& value = in[c * stride + k];
      corrected += value.weight > 0;
      out[c * stride + k] = Corrected(value, factor, weightFactor);
      if (turn != 0) factor *= step;
    }
    summary_.corrected += corrected;
  }
}

AResult Applier::NothingApplies() const {
  const AGainArrayItem *begin = gains_.list.lpArray(), *end = begin + gains_.list.count();
  if (std::none_of(begin, end, [](const AGainArrayItem& item) { return item.isValid(); })) {
    return AResult::Fail(gains_.label + ": has no valid solution");
  }
  std::string hint;
  if (!options_.from.empty() && options_.maxGap < 0) {
    hint = "; --max-gap joins the solutions of scans that are further apart";
  } else if (options_.from.empty()) {
    hint = "; --from SOURCE applies those of one source to all";
  }
  return AResult::Fail(gains_.label + ": has no solution for any valid visibility of " + from_.path() + hint);
}

AResult Applier::Finish() {
  if (summary_.missing > 0) {
    std::string names;
    for (int antenna = 0; antenna < 256; ++antenna) {
      if (!isMissing_[static_cast<size_t>(antenna)]) continue;
      names += (names.empty() ? "" : ", ") + from_.contents().AntennaName(antenna);
    }
    const double all = static_cast<double>(summary_.missing + summary_.corrected);
    summary_.remarks.push_back(
        std::to_string(summary_.missing) + " valid visibilities (" +
        RoundedNumber(100 * static_cast<double>(summary_.missing) / all, 3) + " %) have no solution and are " +
        (options_.passMissing ? "passed as they are" : "flagged") + "; there are no solutions for " + names);
  }
  ApplyOptions told = options_;
  told.gains = told.gains.substr(told.gains.find_last_of("/\\") + 1);
  std::set<std::string> left;
  AResult result = CopyTables(from_, writer_, ApplyDescription().Command(told), [&](AUVXTable& table) {
    const std::string code = table.Code();
    const bool isOfGains = code == "SN" || code == "CL";
    if (isOfGains) left.insert(code);
    return !isOfGains;
  });
  for (const std::string& code : left) {
    summary_.remarks.push_back("tables " + code + " are left out, which are of the visibilities before");
  }
  if (const std::string remark = kept_->Remark(); !remark.empty()) summary_.remarks.push_back(remark);
  summary_.records = writer_.records();
  if (!result) return result;
  return together_ ? writer_.Finish(*together_) : writer_.Finish();
}

AJobDescription DescribeApply() {
  AJobDescriber<ApplyOptions> job(
      "apply", "Apply gains of antennas to visibilities",
      "Each visibility is divided by g_p conj(g_q). Between two solutions of a scan phases are those of the complex "
      "values "
      "interpolated linearly, and moduli are interpolated by themselves; where solutions have other reference antennas "
      "the nearer one counts. Before the first and after the last a solution holds for half of its interval. Tables SN "
      "and CL are left out of the output.");
  job.Input(UVXInputFile());
  job.Output(UVXOutputFile());
  job.Option("gains", &ApplyOptions::gains, "a table of the file by its version, as in SN:1 or CL:2, or a gain file")
      .Form("SN:N|CL:N|FILE.gain")
      .Otherwise("the last table SN");
  job.Option("from", &ApplyOptions::from, "apply the solutions of this source to all, by number or name")
      .Form("N|NAME")
      .Otherwise("each source's own");
  job.Option("max-gap", &ApplyOptions::maxGap,
             "join solutions that are no further apart than this, within and between scans")
      .Form("SECONDS")
      .Unit("s")
      .From(0)
      .Otherwise("those of one scan are joined");
  job.Choice<GainPart ApplyOptions::*, GainPart>(
      "correct", &ApplyOptions::part,
      {{"both", GainPart::Whole}, {"amplitude", GainPart::Amplitude}, {"phase", GainPart::Phase}},
      "correct amplitudes and phases, or one of them");
  job.Choice<WeightScaling ApplyOptions::*, WeightScaling>(
      "scale-weights", &ApplyOptions::scaleWeights,
      {{"auto", WeightScaling::Auto}, {"yes", WeightScaling::Yes}, {"no", WeightScaling::No}},
      "multiply weights by |g_p g_q|^2: auto does where gains change amplitudes");
  job.Choice<bool ApplyOptions::*, bool>("missing", &ApplyOptions::passMissing, {{"flag", false}, {"pass", true}},
                                         "what becomes of visibilities without a solution");
  job.Overwrite();
  return job.Finish();
}

}  // namespace

const AJobDescription& ApplyDescription() {
  static const AJobDescription description = DescribeApply();
  return description;
}

AResult ApplyGains(AUVXInput& from, const std::string& to, const ApplyOptions& options, ApplySummary* summary) {
  ApplySummary unseen;
  AResult result = Applier(from, options, summary ? *summary : unseen, nullptr).Run(to);
  return result ? result : from.Settle(result);
}

AResult ApplyGains(AUVXInput& from, const std::string& to, const ApplyOptions& options, ApplySummary* summary,
                   OutputFiles& together) {
  ApplySummary unseen;
  AResult result = Applier(from, options, summary ? *summary : unseen, &together).Run(to);
  return result ? result : from.Settle(result);
}

}  // namespace zeltra
