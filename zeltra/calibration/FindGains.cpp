// SPDX-License-Identifier: MIT
#include "zeltra/calibration/FindGains.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "zeltra/calibration/GainTables.h"
#include "zeltra/core/Parse.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

constexpr double kSameFrequency = 1e3;  // Hz

int LastVersion(const AUVXContents& contents, const std::string& code) {
  int last = 0;
  for (const UVXTableSummary& table : contents.tables()) last += table.code == code;
  return last;
}

AResult FindTableGains(AUVXInput& input, const std::string& code, int version, AGains& gains,
                       std::vector<std::string>& remarks) {
  if (AResult result = DescribeGains(input, gains); !result) return result;
  if (version == 0) version = std::max(LastVersion(input.contents(), code), 1);
  gains.label = input.path() + ": table " + code + " " + std::to_string(version);
  std::unique_ptr<AUVXTable> table;
  if (AResult result = input.FindTable(code, version, table); !result) return result;
  return GainsOfTable(*table, gains, remarks);
}

// The name of a number in a list, empty if it has none.
template <typename Entry>
std::string NameOf(const std::vector<Entry>& list, int number) {
  for (const Entry& entry : list) {
    if (int{entry.number} == number) return FieldText(entry.name, sizeof entry.name);
  }
  return {};
}

// Numbers must have the same meaning if both sides have a name for them.
template <typename Entry>
AResult CheckNames(const AGains& gains, const std::vector<Entry>& theirs, const std::vector<Entry>& ours,
                   const std::string& what, const std::string& path) {
  for (const Entry& entry : theirs) {
    const int number = entry.number;
    const std::string name = FieldText(entry.name, sizeof entry.name), other = NameOf(ours, number);
    if (name.empty() || other.empty() || IsSameWord(name, other)) continue;
    return AResult::Fail(gains.label + ": " + what + " " + std::to_string(number) + " is " + name + " there and " +
                         other + " in " + path);
  }
  return AResult::Ok();
}

// Whether the gains of a file belong to these visibilities.
AResult CheckFit(const AGains& gains, const AGains& ours, const std::string& path) {
  const auto refuse = [&](const std::string& why) { return AResult::Fail(gains.label + ": " + why + " in " + path); };
  if (gains.header.IFs != ours.header.IFs) {
    return refuse("has gains of " + std::to_string(int{gains.header.IFs}) + " IFs, there are " +
                  std::to_string(int{ours.header.IFs}));
  }
  // Circular hands, linear hands or Stokes I: gains of one kind say nothing about another.
  const auto kindOf = [](const AGains& of) { return of.header.codes[0] > 0 ? 1 : of.header.codes[0] < -4 ? -5 : -1; };
  if (kindOf(gains) != kindOf(ours)) return refuse("its gains are for other polarisations than those");
  for (const AGainFrequency& entry : gains.frequencies) {
    const double frequency = ours.Frequency(entry.setup, entry.ifIndex);
    if (frequency == 0 || std::fabs(frequency - entry.start) <= kSameFrequency) continue;
    return refuse("IF " + std::to_string(entry.ifIndex + 1) + " of setup " + std::to_string(int{entry.setup}) +
                  " is at " + RoundedNumber(entry.start / 1e6, 9) + " MHz there and at " +
                  RoundedNumber(frequency / 1e6, 9) + " MHz");
  }
  if (AResult result = CheckNames(gains, gains.antennas, ours.antennas, "antenna", path); !result) return result;
  return CheckNames(gains, gains.sources, ours.sources, "source", path);
}

}  // namespace

AResult FindGains(AUVXInput& input, const std::string& name, AGains& gains, std::vector<std::string>& remarks) {
  const std::string text = name.empty() ? "SN" : name;
  for (const char* code : {"SN", "CL"}) {
    int version = 0;
    if (!IsSameWord(text.substr(0, 2), code)) continue;
    if (text.size() == 2) return FindTableGains(input, code, 0, gains, remarks);
    if (text[2] != ':') continue;
    if (!strToVal(text.substr(3), version) || version < 1) {
      return AResult::Fail(text + ": the version of a table is a number from 1 on, as in " + code + ":1");
    }
    return FindTableGains(input, code, version, gains, remarks);
  }
  AGains ours;
  if (AResult result = LoadGains(text, gains); !result) return result;
  if (AResult result = DescribeGains(input, ours); !result) return result;
  if (AResult result = CheckFit(gains, ours, input.path()); !result) return result;
  // A gain file need not repeat what the visibilities already say.
  if (gains.antennas.empty()) gains.antennas = ours.antennas;
  if (gains.sources.empty()) gains.sources = ours.sources;
  if (gains.frequencies.empty()) gains.frequencies = ours.frequencies;
  return AResult::Ok();
}

AResult CopyWithGains(AUVXInput& from, const std::string& to, const AGains& gains, const JobOptions& options,
                      const std::string& command) {
  AUVXTable table;
  AUVXWriter writer;
  if (AResult result = TableOfGains(gains, "SN", table); !result) return result;
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = writer.Create(to, AUVXHeader(from.uvx()), options, from.path()); !result) return result;
  KeptScans scans(from, writer, 0);
  AUVXIntegrationCursor integrations(from.contents().integrations());
  SendProgressText(options.progress, "Copying...");
  AResult copied = AResult::Ok();
  AResult result = WalkRecords(from, options, 0, from.uvx().count(), [&](const WalkedRecord& record) {
    writer.SetIntegration(integrations.Stored(record.index));
    scans.Enter(record.index);
    copied = writer.Append(record.group, record.values);
    return static_cast<bool>(copied);
  });
  if (!copied) return copied;
  if (result) result = CopyTables(from, writer, command);
  if (result) result = writer.AddTable(table);
  return from.Settle(result ? writer.Finish() : result);
}

}  // namespace zeltra
