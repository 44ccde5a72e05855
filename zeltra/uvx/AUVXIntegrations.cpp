// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXIntegrations.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

AUVXIntegrations::AUVXIntegrations(const AUVXTable& table, int records) {
  const int first = table.FindColumn("FIRST VIS"), seconds = table.FindColumn("INTTIM");
  double stated = -1;
  for (int i = 0; i < table.keywords().count(); ++i) {
    if (table.keywords()(i).Key() == "RECORDS") stated = table.keywords()(i).Number();
  }
  if (stated != records || table.rows() < 1 || table.rows() > kMostRuns || table.Number(0, first) != 1) return;
  runs_.reserve(static_cast<size_t>(table.rows()));
  for (int row = 0; row < table.rows(); ++row) {
    const double number = table.Number(row, first);
    const bool follows = number <= records && (row == 0 || number - 1 > runs_.back().first);
    if (!follows) {
      runs_.clear();
      return;
    }
    runs_.push_back({static_cast<std::int32_t>(number) - 1, static_cast<float>(table.Number(row, seconds))});
  }
  records_ = records;
}

// Compares the bits, so that a NaN equals itself.
bool AUVXIntegrations::IsSame(float seconds) const {
  return isGivenUp_ || std::bit_cast<std::uint32_t>(seconds) == std::bit_cast<std::uint32_t>(runs_.back().seconds);
}

void AUVXIntegrations::AppendRun(float seconds) {
  if (runs_.size() == kMostRuns) {
    isGivenUp_ = true;
    runs_ = {};
    return;
  }
  runs_.push_back({records_, seconds});
}

AUVXTable* AUVXIntegrations::ToUVXTable() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("IT", 1));
  table->AddColumn(PaddedToEight("FIRST VIS"), "", "1J");
  table->AddColumn(PaddedToEight("INTTIM"), PaddedToEight("SECONDS"), "1E");
  table->AddKeyWord("RECORDS", std::to_string(records_), true);
  table->SetRows(static_cast<int>(runs_.size()));
  char* row = table->data();
  for (const Run& run : runs_) {
    const Run image = {run.first + 1, run.seconds};
    static_assert(sizeof image == 8);
    std::memcpy(row, &image, sizeof image);
    row += sizeof image;
  }
  return table.release();
}

void AUVXIntegrationCursor::Find(int record) {
  const auto& runs = list_->runs_;
  const auto isBefore = [](int number, const AUVXIntegrations::Run& run) { return number < run.first; };
  auto next = std::upper_bound(runs.begin(), runs.end(), record, isBefore);
  first_ = next == runs.begin() ? 0 : std::prev(next)->first;
  end_ = next == runs.end() ? std::numeric_limits<int>::max() : next->first;
  seconds_ = next == runs.begin() ? 0 : std::prev(next)->seconds;
}

}  // namespace zeltra
