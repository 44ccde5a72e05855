// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXSkanList.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>

#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {
namespace {

constexpr int kRowBytes = sizeof(AUVXSkanListItem);

// The integer at the start of a text.
int ParseInteger(const std::string& text) {
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  return static_cast<int>(
      std::clamp<long long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace

template class AArray<AUVXSkanListItem>;

AUVXSkanList& AUVXSkanList::operator=(AUVXSkanList&& other) noexcept {
  if (this == &other) return *this;
  AArray::operator=(std::move(other));
  startMJD_ = std::exchange(other.startMJD_, 0);
  solutionInterval_ = std::exchange(other.solutionInterval_, 0);
  return *this;
}

bool AUVXSkanList::Create(const AUVXTable& table) {
  // Rows without bytes take no space in a file, so their number is not believed.
  GrowBy(table.rowBytes() > 0 ? table.rows() : 0);
  if (table.rowBytes() != kRowBytes) return false;
  std::copy_n(table.data(), Bytes(count()), reinterpret_cast<char*>(lpArray()));
  for (int i = 0; i < table.keywords().count(); ++i) {
    const AUVXTableKeyWord& keyword = table.keywords()(i);
    if (keyword.Key().rfind("MJD0", 0) == 0) startMJD_ = ParseInteger(keyword.Value());
    if (keyword.Key().rfind("SOL_INT", 0) == 0) solutionInterval_ = ParseInteger(keyword.Value());
  }
  return true;
}

AUVXTable* AUVXSkanList::ToUVXTable() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("SL", 0));
  table->AddColumn("TSTART", "DAYS", "1D");
  table->AddColumn("TSTOP", "DAYS", "1D");
  table->AddColumn("SOURCE_ID", "", "1J");
  table->AddColumn("FREQID", "", "1J");
  char interval[32];
  std::snprintf(interval, sizeof interval, "%20.10E", solutionInterval_);
  table->AddKeyWord("MJD0", std::to_string(startMJD_), true);
  table->AddKeyWord("SOL_INT", interval, true);
  if (table->SetRows(count())) std::copy_n(reinterpret_cast<const char*>(lpArray()), Bytes(count()), table->data());
  return table.release();
}

}  // namespace zeltra
