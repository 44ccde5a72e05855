// zeltra selfcal: a source calibrated with its own image.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/ImageText.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/PictureArguments.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/core/Text.h"
#include "zeltra/imaging/SelfCalibrate.h"

namespace zeltra::app {
namespace {

struct Options : SelfCalOptions {
  PictureOptions picture;
};

struct Arguments {
  std::string from;
  std::string to;
  ImageNames names;
  TableFormat format = TableFormat::Text;
  Options options;
};

void PrintRound(const SelfCalRound& round, TableFormat format, TablePrinter& printer) {
  constexpr int kDigits = 5;  // for people
  printer.Integer(round.number);
  printer.Text(round.step);
  printer.Integer(round.solved);
  printer.Integer(round.failed);
  const double count = 2 * static_cast<double>(round.visibilities);
  for (const double number :
       {round.chi2 / count, round.flux, round.peak, round.rms, round.dynamicRange, round.closures.Reduced()}) {
    printer.Real(format == TableFormat::Text ? ParseNumber(RoundedNumber(number, kDigits)) : number);
  }
  printer.Integer(round.closures.closures);
  printer.EndRow();
}

AResult Calibrate(Arguments& arguments, Session& session) {
  const std::string& name = arguments.names.picture;
  if (AResult result = CheckPicture(name); !result) return result;
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  StandardOutput out;
  std::vector<PrintedColumn> columns = PrintedColumns(SelfCalDescription(), arguments.format);
  columns[1].isText = true;
  TablePrinter printer(out, arguments.format, columns);
  const auto draw = [&](const CleanImage& image, std::string& picture) {
    picture = ImagePicture(image, arguments.options.picture, &image.components);
    if (picture.empty()) return AResult::Fail(name + ": there is no memory for the picture");
    return FinishPicture(name, picture);
  };
  CleanImage image;
  if (AResult result = SelfCalibrate(
          input, arguments.to, arguments.names, arguments.options,
          [&](const SelfCalRound& round) { PrintRound(round, arguments.format, printer); }, draw, image);
      !result) {
    return result;
  }
  for (const std::string& remark : image.remarks) session.Note(remark);
  session.Report(arguments.to + ": peak " + PeakText(image) + ", beam " + BeamText(image.shape) + ", thermal noise " +
                 BrightnessText(image.noise, image) + ", rms of what is left " + BrightnessText(image.rms, image));
  printer.Finish();
  return out.Flush();
}

// The library's job with the options of its picture.
AJobDescription Description() {
  AJobDescriber<Options> pictures("", "");
  DescribePicture(pictures);
  const AJobDescription more = pictures.Finish();
  AJobDescription description = SelfCalDescription();
  description.options.insert(description.options.end(), more.options.begin(), more.options.end());
  description.makeOptions = more.makeOptions;
  return description;
}

}  // namespace

void AddSelfCalCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  arguments->options.picture.contours = true;
  ImageNames& names = arguments->names;
  static const AJobDescription description = Description();
  AddCommand(app, session, description,
             {arguments->options,
              {&arguments->from, &arguments->to, &names.fits, &names.model, &names.residual, &names.picture},
              &arguments->format},
             [arguments, &session] { return Calibrate(*arguments, session); });
  CLI::App& command = *app.get_subcommand(description.name);
  for (const char* option : {"--contours", "--log", "--clip"}) command.get_option(option)->needs("--png");
}

}  // namespace zeltra::app
