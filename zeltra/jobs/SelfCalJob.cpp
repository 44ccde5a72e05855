// The job selfcal: a source calibrated with its own image.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/SelfCalJob.h"

#include "zeltra/jobs/ImageText.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

void DeliverRound(const SelfCalRound& round, ATableSink& table) {
  constexpr int kDigits = 5;
  table.Integer(round.number);
  table.Text(round.step);
  table.Integer(round.solved);
  table.Integer(round.failed);
  const double count = 2 * static_cast<double>(round.visibilities);
  for (const double number :
       {round.chi2 / count, round.flux, round.peak, round.rms, round.dynamicRange, round.closures.Reduced()}) {
    table.Rounded(number, kDigits);
  }
  table.Integer(round.closures.closures);
  table.EndRow();
}

AResult RunSelfCal(const AJobFiles& files, SelfCalOptions& options, AJobHost& host) {
  return MakeSelfCalibrated(files, options, {}, host);
}

}  // namespace

AResult MakeSelfCalibrated(const AJobFiles& files, const SelfCalOptions& options, const PictureDrawer& draw,
                           AJobHost& host) {
  ImageNames names;
  names.fits = files.outputs[1];
  names.model = files.outputs[2];
  names.residual = files.outputs[3];
  names.picture = files.outputs[4];
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  ATableSink& table = host.BeginTable(SelfCalDescription().columns);
  const auto drawLast = [&](const CleanImage& image, std::string& picture) {
    return draw ? draw(image, &image.components, names.picture, picture) : AResult::Ok();
  };
  CleanImage image;
  AResult result = SelfCalibrate(
      input, files.to(), names, options, [&table](const SelfCalRound& round) { DeliverRound(round, table); }, drawLast,
      image);
  if (!result) return result;
  NoteAll(image.remarks, host);
  host.Report(files.to() + ": peak " + PeakText(image) + ", beam " + BeamText(image.shape) + ", thermal noise " +
              BrightnessText(image.noise, image) + ", rms of what is left " + BrightnessText(image.rms, image));
  return FinishSummary(table);
}

AJob SelfCalJob() {
  return JobOf<SelfCalOptions, RunSelfCal>(SelfCalDescription, true);
}

}  // namespace zeltra
