// The job gains: what a gain file or a table of gains holds.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/GainsJob.h"

#include <cmath>

#include "zeltra/calibration/AGainMeanInfo.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

AResult DeliverInfo(const AGains& gains, AJobHost& host) {
  constexpr int kDigits = 5;
  AArray<AGainMeanInfo> list;
  GetGainMeanInfo(gains.list, list);
  ATableSink& table = host.BeginTable({{"antenna", "", "", AColumnKind::Integer},
                                       {"name", "", "", AColumnKind::Text},
                                       {"hand", "", "", AColumnKind::Text},
                                       {"if", "", "", AColumnKind::Integer},
                                       {"gains", "", "", AColumnKind::Integer},
                                       {"valid", "", "", AColumnKind::Integer},
                                       {"modulus", "", "", AColumnKind::Real},
                                       {"modulus_scatter", "", "", AColumnKind::Real},
                                       {"phase_drift", "deg/h", "", AColumnKind::Real},
                                       {"phase_scatter", "deg", "", AColumnKind::Real},
                                       {"snr", "", "", AColumnKind::Real}});
  for (int i = 0; i < list.count(); ++i) {
    const AGainMeanInfo info = list(i);
    table.Integer(info.antenna);
    table.Text(gains.AntennaName(info.antenna));
    table.Text(HandName(gains.header, info.hand));
    table.Integer(info.ifIndex + 1);
    table.Integer(info.items);
    table.Integer(info.valid);
    for (const double value : {info.meanModulus, info.modulusScatter, info.phaseDrift * kDegreesPerRadian * 3600,
                               info.phaseScatter * kDegreesPerRadian, info.meanSNR}) {
      table.Rounded(value, kDigits);
    }
    table.EndRow();
  }
  return table.Finish();
}

AResult DeliverItems(const AGains& gains, AJobHost& host) {
  ATableSink& table = host.BeginTable(GainsDescription().columns);
  for (int i = 0; i < gains.list.count() && table.good(); ++i) {
    const AGainArrayItem item = gains.list(i);
    table.Time(item.time);
    table.Real(float{item.interval});
    for (const int number : {int{item.source}, int{item.setup}, int{item.subarray}, int{item.antenna},
                             int{item.reference}, item.ifIndex + 1}) {
      table.Integer(number);
    }
    table.Text(HandName(gains.header, item.hand));
    table.Real(float{item.weight});
    for (const double value : {item.re, item.im, item.delay, item.rate}) table.Real(value);
    table.EndRow();
  }
  return table.Finish();
}

AResult AverageInto(const AJobFiles& files, const GainsOptions& options, AUVXInput* input, AGains& gains,
                    AJobHost& host) {
  const std::string& to = files.to();
  if (AResult result = NeedOutput(files); !result) return result;
  if (!(options.interval > 0)) return AResult::Misuse("--interval is required");
  const int before = gains.list.count();
  GainAverrage(AGainArray(gains.list), options.interval, gains.header.dateObs, gains.list);
  const bool isGainFile = to.ends_with(".gain");
  if (!isGainFile && !input) {
    return AResult::Fail(to + ": gains of a gain file go into another one, name it .gain");
  }
  AResult result = isGainFile ? StoreGains(to, gains, options)
                              : CopyWithGains(*input, to, gains, options, GainsDescription().Command(options));
  if (result) {
    host.Report(to + ": " + std::to_string(gains.list.count()) + " averages of " + std::to_string(before) + " gains" +
                (isGainFile ? "" : " in a new table SN"));
  }
  return result;
}

AResult Perform(const AJobFiles& files, const GainsOptions& options, AUVXInput* input, AGains& gains,
                const GainDrawer& draw, AJobHost& host) {
  switch (options.task) {
    case GainTask::Info:
      return DeliverInfo(gains, host);
    case GainTask::CSV:
      return DeliverItems(gains, host);
    case GainTask::Average:
      return AverageInto(files, options, input, gains, host);
    default:
      return draw ? draw(gains) : AResult::Misuse("plot: only the command draws pictures");
  }
}

AJobDescription DescribeTasks() {
  AJobDescriber<GainsOptions> job("gains", "Look into gains of antennas, average and draw them",
                                  "info prints statistics of each antenna, hand and IF: the mean modulus and its "
                                  "standard deviation, the drift of the "
                                  "phase in degrees an hour and its scatter about it in degrees, and the mean "
                                  "signal-to-noise ratio. csv prints every "
                                  "gain. average makes a gain file of averages over --interval, or a copy of the "
                                  "visibilities with one more table SN: "
                                  "phases are those of mean vectors, moduli are averaged by themselves. plot draws "
                                  "amplitudes and phases over time.");
  job.Input({"FILE", "a gain file, or UVX or UV FITS with a table SN or CL", "", 0, {}});
  job.Output({"OUT", "the file to make: average .gain or .uvx, plot .svg or .png", "", 0, {}, true});
  job.Choice<GainTask GainsOptions::*, GainTask>(
         "task", &GainsOptions::task,
         {{"info", GainTask::Info}, {"csv", GainTask::CSV}, {"average", GainTask::Average}, {"plot", GainTask::Plot}},
         "what to do: info, csv, average or plot")
      .Form("TASK")
      .Word();
  job.Option("table", &GainsOptions::table,
             "which gains of a UVX file: a table, as in SN:2 or CL:1, or those of a gain file")
      .Form("SN:N|CL:N|FILE.gain")
      .Otherwise("the last table SN");
  job.Option("interval", &GainsOptions::interval,
             "average: length of the intervals, multiples of which count from 0 h of the observation date")
      .Form("SECONDS")
      .Unit("s")
      .Range(1e-3, 1e9)
      .Otherwise("none");
  job.Option("if", &GainsOptions::ifNumber, "plot: number of the IF").From(1);
  job.Option("hand", &GainsOptions::hand, "plot: 1 for RR or XX, 2 for LL or YY").Range(1, 2);
  job.Overwrite();
  job.Column("time", "JD", "Julian date of the middle of the interval");
  job.Column("interval", "s", "length of the interval that the gain was solved over");
  job.IntegerColumn("source", "number of the source; 0 for all");
  job.IntegerColumn("setup", "number of the frequency setup; 0 for all");
  job.IntegerColumn("subarray", "number of the subarray; 0 for all");
  job.IntegerColumn("antenna", "number of the antenna");
  job.IntegerColumn("reference", "number of the antenna whose phase is 0");
  job.IntegerColumn("if", "number of the IF, from 1");
  job.TextColumn("hand", "RR or LL, XX or YY");
  job.Column("snr", "", "signal-to-noise ratio; not above 0: there is no solution");
  job.Column("re", "", "real part of the gain g; V_pq = g_p M_pq conj(g_q) of a model M");
  job.Column("im", "", "imaginary part");
  job.Column("delay", "s", "delay: the phase grows by 2 pi x delay for each Hz above the first channel of the IF");
  job.Column("rate", "s/s", "rate: the phase grows by 2 pi x frequency x rate for each second");
  return job.Finish();
}

AResult RunGains(const AJobFiles& files, GainsOptions& options, AJobHost& host) {
  return LookIntoGains(files, options, {}, host);
}

}  // namespace

AResult NeedOutput(const AJobFiles& files) {
  if (files.to().empty()) return AResult::Misuse("OUT is required");
  const bool isInput = IsSameFile(files.to(), files.from());
  return isInput ? AResult::Fail(files.to() + ": is the file that is read") : AResult::Ok();
}

AResult LookIntoGains(const AJobFiles& files, const GainsOptions& options, const GainDrawer& draw, AJobHost& host) {
  AGains gains;
  bool isGainFile = false;
  if (AResult result = FindGainFile(files.from(), isGainFile); !result) return result;
  if (isGainFile) {
    if (!options.table.empty()) return AResult::Misuse("--table: is for files of visibilities");
    if (AResult result = LoadGains(files.from(), gains); !result) return result;
    return Perform(files, options, nullptr, gains, draw, host);
  }
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options, host); !result) return result;
  std::vector<std::string> remarks;
  AResult result = FindGains(input, options.table, gains, remarks);
  NoteAll(remarks, host);
  if (result) result = Perform(files, options, &input, gains, draw, host);
  return input.Settle(result);
}

const AJobDescription& GainsDescription() {
  static const AJobDescription description = DescribeTasks();
  return description;
}

AJob GainsJob() {
  return JobOf<GainsOptions, RunGains>(GainsDescription, true);
}

}  // namespace zeltra
