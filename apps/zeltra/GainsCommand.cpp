// zeltra gains: what a gain file or a table of gains holds.
// SPDX-License-Identifier: MIT
#include <cmath>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/IntervalArguments.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/GainPlot.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/calibration/AGainMeanInfo.h"
#include "zeltra/calibration/FindGains.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

enum class GainTask { Info, CSV, Average, Plot };

struct GainsOptions : JobOptions {
  GainTask task = GainTask::Info;
  std::string table;
  double interval = 0;  // s
  int ifNumber = 1;
  int hand = 1;
};

struct Arguments {
  std::string path, output;
  TableFormat format = TableFormat::Text;
  GainsOptions options;
};

const AJobDescription& GainsDescription();

AResult PrintInfo(const AGains& gains, TableFormat format) {
  AArray<AGainMeanInfo> list;
  GetGainMeanInfo(gains.list, list);
  StandardOutput out;
  TablePrinter printer(out, format,
                       {{"antenna"},
                        {"name", true},
                        {"hand", true},
                        {"if"},
                        {"gains"},
                        {"valid"},
                        {"modulus"},
                        {"modulus_scatter"},
                        {"phase_drift"},
                        {"phase_scatter"},
                        {"snr"}});
  for (int i = 0; i < list.count(); ++i) {
    const AGainMeanInfo info = list(i);
    printer.Integer(info.antenna);
    printer.Text(gains.AntennaName(info.antenna));
    printer.Text(HandName(gains.header, info.hand));
    printer.Integer(info.ifIndex + 1);
    printer.Integer(info.items);
    printer.Integer(info.valid);
    for (const double value : {info.meanModulus, info.modulusScatter, info.phaseDrift * kDegreesPerRadian * 3600,
                               info.phaseScatter * kDegreesPerRadian, info.meanSNR}) {
      format == TableFormat::Text ? printer.Text(RoundedNumber(value, 5)) : printer.Real(value);
    }
    printer.EndRow();
  }
  printer.Finish();
  return out.Flush();
}

AResult PrintItems(const AGains& gains, TableFormat format) {
  StandardOutput out;
  TablePrinter printer(out, format, PrintedColumns(GainsDescription(), format));
  for (int i = 0; i < gains.list.count() && out.good(); ++i) {
    const AGainArrayItem item = gains.list(i);
    PrintTime(printer, format, item.time);
    printer.Real(float{item.interval});
    for (const int number : {int{item.source}, int{item.setup}, int{item.subarray}, int{item.antenna},
                             int{item.reference}, item.ifIndex + 1}) {
      printer.Integer(number);
    }
    printer.Text(HandName(gains.header, item.hand));
    printer.Real(float{item.weight});
    for (const double value : {item.re, item.im, item.delay, item.rate}) printer.Real(value);
    printer.EndRow();
  }
  printer.Finish();
  return out.Flush();
}

AResult NeedOutput(const Arguments& arguments) {
  if (arguments.output.empty()) throw CLI::RequiredError("OUT");
  const bool isInput = IsSameFile(arguments.output, arguments.path);
  return isInput ? AResult::Fail(arguments.output + ": is the file that is read") : AResult::Ok();
}

AResult AverageInto(Arguments& arguments, AUVXInput* input, AGains& gains, Session& session) {
  if (AResult result = NeedOutput(arguments); !result) return result;
  const GainsOptions& options = arguments.options;
  if (!(options.interval > 0)) throw CLI::RequiredError("--interval");
  const int before = gains.list.count();
  GainAverrage(AGainArray(gains.list), options.interval, gains.header.dateObs, gains.list);
  const bool isGainFile = arguments.output.ends_with(".gain");
  if (!isGainFile && !input) {
    return AResult::Fail(arguments.output + ": gains of a gain file go into another one, name it .gain");
  }
  AResult result = isGainFile
                       ? StoreGains(arguments.output, gains, options)
                       : CopyWithGains(*input, arguments.output, gains, options, GainsDescription().Command(options));
  if (result) {
    session.Report(arguments.output + ": " + std::to_string(gains.list.count()) + " averages of " +
                   std::to_string(before) + " gains" + (isGainFile ? "" : " in a new table SN"));
  }
  return result;
}

AResult Draw(Arguments& arguments, const AGains& gains, Session& session) {
  if (AResult result = NeedOutput(arguments); !result) return result;
  const GainsOptions& options = arguments.options;
  const AJobFile picture = {"OUT", "", "", 0, kPictureEndings};
  if (AResult result = picture.Check(arguments.output); !result) return result;
  if (AResult result = CheckPicture(arguments.output); !result) return result;
  std::string drawing;
  AResult result = PlotGains(gains, options.ifNumber - 1, options.hand - 1, drawing);
  if (result) result = FinishPicture(arguments.output, drawing);
  if (result) result = WriteWholeFile(arguments.output, drawing, options.overwrite, options.sync);
  if (result) session.Report(arguments.output + ": drawn");
  return result;
}

AResult Perform(Arguments& arguments, AUVXInput* input, AGains& gains, Session& session) {
  switch (arguments.options.task) {
    case GainTask::Info:
      return PrintInfo(gains, arguments.format);
    case GainTask::CSV:
      return PrintItems(gains, arguments.format == TableFormat::Text ? TableFormat::CSV : arguments.format);
    case GainTask::Average:
      return AverageInto(arguments, input, gains, session);
    default:
      return Draw(arguments, gains, session);
  }
}

AResult LookIntoGains(Arguments& arguments, Session& session) {
  AGains gains;
  bool isGainFile = false;
  if (AResult result = FindGainFile(arguments.path, isGainFile); !result) return result;
  if (isGainFile) {
    if (!arguments.options.table.empty()) throw CLI::ValidationError("--table", "is for files of visibilities");
    if (AResult result = LoadGains(arguments.path, gains); !result) return result;
    return Perform(arguments, nullptr, gains, session);
  }
  UVXInput input;
  if (AResult result = input.Open(arguments.path, session); !result) return result;
  std::vector<std::string> remarks;
  AResult result = FindGains(input, arguments.options.table, gains, remarks);
  for (const std::string& remark : remarks) session.Note(remark);
  if (result) result = Perform(arguments, &input, gains, session);
  return input.Settle(result);
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
  job.Column("source", "", "number of the source; 0 for all");
  job.Column("setup", "", "number of the frequency setup; 0 for all");
  job.Column("subarray", "", "number of the subarray; 0 for all");
  job.Column("antenna", "", "number of the antenna");
  job.Column("reference", "", "number of the antenna whose phase is 0");
  job.Column("if", "", "number of the IF, from 1");
  job.Column("hand", "", "RR or LL, XX or YY");
  job.Column("snr", "", "signal-to-noise ratio; not above 0: there is no solution");
  job.Column("re", "", "real part of the gain g; V_pq = g_p M_pq conj(g_q) of a model M");
  job.Column("im", "", "imaginary part");
  job.Column("delay", "s", "delay: the phase grows by 2 pi x delay for each Hz above the first channel of the IF");
  job.Column("rate", "s/s", "rate: the phase grows by 2 pi x frequency x rate for each second");
  return job.Finish();
}

const AJobDescription& GainsDescription() {
  static const AJobDescription description = DescribeTasks();
  return description;
}

}  // namespace

void AddGainsCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, GainsDescription(),
             {arguments->options, {&arguments->path, &arguments->output}, &arguments->format},
             [arguments, &session] { return LookIntoGains(*arguments, session); });
}

}  // namespace zeltra::app
