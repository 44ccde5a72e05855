// The options and results of imaging, as the user sees them.
// SPDX-License-Identifier: MIT
#include "zeltra/calibration/SolvingOptionsInternal.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/SplitAtCommasInternal.h"
#include "zeltra/core/Units.h"
#include "zeltra/imaging/CleanUVX.h"
#include "zeltra/imaging/ImageUVX.h"
#include "zeltra/imaging/SelfCalibrate.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

// Whether a text is a time, rather than a level to stop at.
bool IsTime(const std::string& text) {
  double number;
  if (text.empty() || text.front() < '0' || text.front() > '9') return text.find(':') != text.npos;
  return text.find(':') != text.npos || (strToVal(text, number) && number > 9999) ||
         (text.find('-') != text.npos && text.find_first_not_of("0123456789-") == text.npos);
}

AResult StopAt(const std::string& text, UVXSelection& selection) {
  ATime time;
  AResult result = strToTime(text, time);
  if (result) selection.stop = time;
  return result;
}

// Words separated by commas, which is also how they are shown.
AResult ReadStop(const std::string& text, CleanStop& stop, UVXSelection& selection) {
  for (const std::string& word : SplitAtCommas(text)) {
    if (AResult result = IsTime(word) ? StopAt(word, selection) : strToStop(word, stop); !result) return result;
  }
  return AResult::Ok();
}

// The name of a file, without its folder, for whoever reads the history of an image elsewhere.
std::string FileName(const std::string& path) {
  return path.substr(path.find_last_of("/\\") + 1);
}

// What is imaged, and on which grid.
template <typename Options>
void DescribeImaging(AJobDescriber<Options>& job, unsigned leftOut = 0) {
  DescribeSelection(job, {.leftOut = leftOut,
                          .sources = "the only one",
                          .stokes = "I, or the first one where there is no I",
                          .isSingle = true,
                          .isByVisibility = true});
  job.Option("size", &Options::size, "pixels in a line and number of lines, an even number")
      .Unit("pixels")
      .Range(16, 8192);
  job.Option("cell", &Options::cell, "size of a pixel; uas, mas, arcsec, arcmin or deg may follow")
      .Unit("mas")
      .Scale(kRadiansPerMas)
      .Suffixes(kAngleSuffixes)
      .Range(1e-9, 1e9)
      .Otherwise("a fifth of the narrowest fringe");
  job.Parsed(
         "weight", [](const std::string& text, Options& o) { return strToScheme(text, o.weighting); },
         [](const Options& o) { return schemeToStr(o.weighting); },
         "natural: least noise, uniform: narrowest beam, or between them, R from -5 to 5 on the scale of Briggs, not "
         "that of AIPS")
      .Form("natural|uniform|robust=R");
  job.Option(
         "weight-power", [](Options & o) -> auto& { return o.weighting.power; },
         "power of the weights in the file, as in 0.5 for their square root")
      .Form("A")
      .Range(0, 2);
  job.Parsed(
         "taper", [](const std::string& text, Options& o) { return strToTaper(text, o.weighting); },
         [](const Options& o) { return taperToStr(o.weighting); },
         "multiply weights by a Gaussian that falls to V at RADIUS wavelengths from the origin; k, M or G may follow, "
         "as in 0.5,100M")
      .Form("V,RADIUS")
      .Otherwise("none");
  job.Option("memory", &Options::memory, "the most memory to use; k, M or G may follow, as in 2G")
      .Unit("bytes")
      .Suffixes(kThousands)
      .From(1)
      .Otherwise("half of what is free");
}

AJobFile PictureFile() {
  AJobFile picture = {"PICTURE", "make a picture, .svg or .png", "png", 0, {".svg", ".png"}};
  picture.isPicture = true;
  return picture;
}

AJobDescription DescribeImage() {
  AJobDescriber<ImageOptions> job(
      "image", "Make the dirty image of a source",
      "Images have north up and east to the left; pixel (size / 2, size / 2) is the phase centre. They are divided by "
      "the sum of weights, so that a point source of 1 Jy is 1 Jy/beam. The beam is the Gaussian that curves as the "
      "dirty beam does at its centre. Two noise figures are reported: the thermal noise, as expected from the weights, "
      "and the rms of all pixels. The curvature of the sky (w) is not corrected for; a note says where that matters. "
      "At least one output has to be named.\n\n"
      "W is the weight that a visibility is gridded with, w its weight in the file after power and taper, and W_k the "
      "sum of w over the square of 1 / (size x cell) wavelengths that it lies in, both halves of the u, v plane added "
      "up. natural: W = w, the least noise. uniform: W = w / W_k, the narrowest beam. robust=R: W = w / (1 + W_k f^2), "
      "f^2 = (5 x 10^-R)^2 / (sum of W_k^2 / sum of w), which is natural for R = 5 and uniform for R = -5: the scale "
      "of Briggs (1995). The ROBUST of AIPS is on another scale, 2 R - 0.7 for the same mean density.\n\n"
      "Memory: 64 bytes for each of n x n cells, n being the smallest power of two not below the size, and 8 for each "
      "pixel: 76 MB for 1024, 1.2 GB for 4096, 4.8 GB for 8192 pixels. Records of more than 32 MiB, and of eight times "
      "as much as the cells, are added up in parts, by several threads: with P parts the cells are held 2 + log2 P "
      "times, and for each thread beyond the first once more, as far as they fit.");
  job.Input(UVXInputFile());
  job.Output({"OUT.map", "the map file to make", "", 0, {}, true});
  job.Output({"OUT.fits", "make a FITS image", "fits", 0, {}});
  job.Output(PictureFile());
  job.Output({"BEAM.map", "make a map file of the dirty beam", "beam", 0, {}});
  DescribeImaging(job);
  job.Threads();
  job.Overwrite();
  return job.Finish();
}

template <typename Options>
void DescribeCleaning(AJobDescriber<Options>& job) {
  job.Option("niter", &Options::iterations, "the most components to find; 0 restores a model").Range(0, 100000000);
  job.Option("gain", &Options::gain, "share of the largest pixel that becomes a component").Range(1e-6, 1);
  // The time at which a selection stops has the same name, but looks different: no level is above 9999 Jy.
  job.Parsed(
         "stop", [](const std::string& text, Options& o) { return ReadStop(text, o.stop, o.selection); },
         [](const Options& o) {
           std::string text = o.selection.stop ? timeToStr(*o.selection.stop).append(",") : std::string();
           return text.append(stopToStr(o.stop));
         },
         "end where no pixel searched exceeds this: a multiple of sigma, which is 1.4826 times the median absolute "
         "deviation of what is left, or a brightness, which uJy, mJy or Jy may follow; flux=JY ends where the "
         "components add up to this flux, negative where the largest pixel is negative; several are separated by "
         "commas. A time, with a colon or above 9999, given beside that: no records after it")
      .Form("3sigma|JY|flux=JY|negative[,...]|TIME")
      .Repeated();
  job.Parsed(
         "window", [](const std::string& text, Options& o) { return o.windows = text, AResult::Ok(); },
         [](const Options& o) { return FileName(o.windows); },
         "file of windows to search: lines of xmin, xmax, ymin, ymax in mas, x to the east")
      .Form("F.win")
      .Otherwise("the inner quarter of the image");
  job.Parsed(
         "box", [](const std::string& text, Options& o) { return strToBox(text, o.boxes); },
         [](const Options& o) { return boxesToStr(o.boxes); },
         "window to search: east offsets of two edges, then north offsets of two, in mas unless a unit follows; may be "
         "given several times")
      .Form("X0,X1,Y0,Y1")
      .Repeated();
  job.Option("auto", &Options::automatic,
             "search windows that grow around pixels above this many sigma, by half a beam, and above the sidelobes")
      .Form("SIGMA")
      .Range(1, 1e6)
      .Or(0);
  job.Option("no-negative", &Options::isPositive, "find positive components only");
  job.Parsed(
         "model", [](const std::string& text, Options& o) { return o.model = text, AResult::Ok(); },
         [](const Options& o) { return FileName(o.model); },
         "components to begin with: a text file of components, or a FITS image with AIPS CC")
      .Form("START.mod");
  job.Parsed(
         "beam", [](const std::string& text, Options& o) { return strToBeam(text, o.beam); },
         [](const Options& o) { return beamToStr(o.beam); },
         "widths of the beam to restore with, in mas unless a unit follows, and its angle in degrees from north "
         "through east; what is left of the image keeps its own beam")
      .Form("auto|MAJ,MIN,PA")
      .Otherwise("auto: from the weights");
}

AJobDescription DescribeClean() {
  AJobDescriber<CleanOptions> job(
      "clean", "Make the image of a source without the sidelobes of its beam",
      "CLEAN by cycles. Components are found where the image is largest, one after another, and the dirty beam is "
      "subtracted there, until the largest pixel is below the beam's largest sidelobe times the peak that the cycle "
      "began with, or 0.8 of that peak. Then their visibilities are subtracted from the data, summed up directly for "
      "all IFs and channels "
      "at "
      "their own u, v, and the image is made anew. At the end the components are convolved with the Gaussian that "
      "curves as the dirty beam does at its centre, and added to what is left. If what is left grows in three cycles "
      "in "
      "a row, the result is that of the best cycle, and a note says so.\n\n"
      "The FITS image holds the components as a table AIPS CC, one for each pixel where some were found. Two noise "
      "figures are reported: the thermal noise, as expected from the weights, and the rms of what is left.\n\n"
      "Memory: what image takes, 64 bytes more for each cell and 16 for each pixel; four times as many cells for "
      "windows "
      "that are wider or higher than half of the image, for --auto too.");
  job.Input(UVXInputFile());
  job.Output({"OUT.fits", "the FITS image to make", "", 0, {}});
  job.Output({"OUT.mod", "write the components as text", "save-model", 0, {}});
  job.Output({"R.fits", "make a FITS image of what is left", "residual", 0, {}});
  job.Output(PictureFile());
  DescribeImaging(job, kStopTime);
  DescribeCleaning(job);
  job.Threads();
  job.Overwrite();
  return job.Finish();
}

AJobDescription DescribeSelfCal() {
  AJobDescriber<SelfCalOptions> job(
      "selfcal", "Calibrate a source with its own image",
      "An image is made by CLEAN, gains are solved for with its components as the model and applied, and so on for all "
      "steps; then an image is made of the result. Each step corrects what those before have left, and begins with the "
      "image that they lead to. The output holds the records that are selected, corrected; what has no solution is "
      "flagged.\n\n"
      "A row is printed for the data at the start and after each step. chi2 is sum w |V - model|^2 over twice the "
      "number "
      "of visibilities of the image. closure_chi2 compares closure phases with those of the model, for each time "
      "stamp, "
      "IF and hand, for an independent set with its full covariance, divided by their number: no phase of an antenna "
      "changes it, so that where a step makes it grow the model is in error, and a note says so. Baselines below three "
      "times their noise do not count in it.\n\n"
      "Disk: each step writes the selected records once more, beside the output, and removes those of the step "
      "before.");
  job.Input(UVXInputFile());
  job.Output(UVXOutputFile());
  job.Output({"OUT.fits", "the FITS image to make of the result", "image", 0, {}});
  job.Output({"OUT.mod", "write its components as text", "save-model", 0, {}});
  job.Output({"R.fits", "make a FITS image of what is left of it", "residual", 0, {}});
  job.Output({"PICTURE", "make a picture of it, .svg or .png", "png", 0, {".svg", ".png"}});
  job.Parsed(
         "loop", [](const std::string& text, SelfCalOptions& o) { return strToSteps(text, o.steps); },
         [](const SelfCalOptions& o) {
           std::string text;
           for (const SelfCalStep& step : o.steps) text.append(text.empty() ? "" : ",").append(stepToStr(step));
           return text;
         },
         "the steps: phases (p), amplitudes and phases (ap) or amplitudes (a), with the interval in seconds after a "
         "colon, without it each time stamp")
      .Form("p|ap|a[:SECONDS][,...]");
  DescribeImaging(job, kStopTime);
  DescribeCleaning(job);
  DescribeSolving(job, [](SelfCalOptions& o) -> SolveOptions& { return o.solving; });
  job.Threads();
  job.Overwrite();
  job.Column("round", "", "number of steps before");
  job.Column("step", "", "the last of them");
  job.Column("solved", "", "gains that it found, one for each antenna, interval, IF and hand");
  job.Column("failed", "", "gains that it could not find");
  job.Column("chi2", "", "chi^2 of the visibilities over twice their number");
  job.Column("flux", "Jy", "sum of all components");
  job.Column("peak", "Jy/beam", "brightest pixel of the image");
  job.Column("rms", "Jy/beam", "of what CLEAN leaves");
  job.Column("dynamic_range", "", "peak / rms");
  job.Column("closure_chi2", "", "chi^2 of closure phases for each of them");
  job.Column("closures", "", "their number");
  return job.Finish();
}

}  // namespace

const AJobDescription& ImageDescription() {
  static const AJobDescription description = DescribeImage();
  return description;
}

const AJobDescription& CleanDescription() {
  static const AJobDescription description = DescribeClean();
  return description;
}

const AJobDescription& SelfCalDescription() {
  static const AJobDescription description = DescribeSelfCal();
  return description;
}

}  // namespace zeltra
