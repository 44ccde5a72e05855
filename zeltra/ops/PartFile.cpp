// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "zeltra/core/Parse.h"
#include "zeltra/ops/PartFileInternal.h"

namespace zeltra {
namespace {

constexpr const char* kColumns[] = {"PART", "SCAN", "SUBARRAY", "RECORDS"};

// As FNV-1a of 64 bits, but of eight bytes at a time, whose high bits are then brought down.
class Hash {
 public:
  void Take(const void* bytes, size_t count) {
    const char* from = static_cast<const char*>(bytes);
    for (std::uint64_t word = 0; count > 0; word = 0) {
      const size_t n = std::min(count, sizeof word);
      std::memcpy(&word, from, n);
      state_ = (state_ ^ word) * 0x100000001b3;
      state_ ^= state_ >> 29;
      from += n;
      count -= n;
    }
  }
  std::string Text() const {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(state_));
    return text;
  }

 private:
  std::uint64_t state_ = 0xcbf29ce484222325;
};

const AUVXTableKeyWord* Find(const AUVXTable& table, const char* key) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    if (table.keywords()(i).Key() == key) return &table.keywords()(i);
  }
  return nullptr;
}

bool ReadNumber(const AUVXTable& table, const char* key, int& number) {
  const AUVXTableKeyWord* word = Find(table, key);
  return word && strToVal(word->Value(), number) && number >= 0;
}

bool ReadText(const AUVXTable& table, const char* key, std::string& text) {
  const AUVXTableKeyWord* word = Find(table, key);
  if (word) text = word->Value();
  return word != nullptr;
}

}  // namespace

void PartList::Append(const PartRun& run) {
  if (!runs.empty()) {
    PartRun& last = runs.back();
    const bool isSame = last.part == run.part && last.scan == run.scan && last.subarray == run.subarray &&
                        std::memcmp(&last.seconds, &run.seconds, sizeof run.seconds) == 0;
    if (isSame) {
      last.records += run.records;
      return;
    }
  }
  runs.push_back(run);
}

bool PartList::Store(AUVXTable& table) const {
  table.Create(AUVXTable::toHash("PT", 1));
  for (const char* column : kColumns) table.AddColumn(column, "", "1J");
  table.AddColumn("INTTIM", "SECONDS", "1E");
  table.AddKeyWord("PARTS", std::to_string(parts), true);
  table.AddKeyWord("WORKER", std::to_string(share.number), true);
  table.AddKeyWord("WORKERS", std::to_string(share.count), true);
  table.AddKeyWord("INPUT", input, false);
  table.AddKeyWord("CARDS", cards, false);
  static_assert(sizeof(PartRun) == 20);
  if (std::ssize(runs) > std::numeric_limits<int>::max() / 20 || !table.SetRows(static_cast<int>(runs.size()))) {
    return false;
  }
  if (!runs.empty()) std::memcpy(table.data(), runs.data(), runs.size() * sizeof(PartRun));
  return true;
}

bool PartList::Load(const AUVXTable& table, int records) {
  PartList form;
  AUVXTable empty;
  form.Store(empty);
  const bool isOurs = table.ID() == empty.ID() && table.rowBytes() == empty.rowBytes() &&
                      table.columnCount() == empty.columnCount() && ReadNumber(table, "PARTS", parts) &&
                      ReadNumber(table, "WORKER", share.number) && ReadNumber(table, "WORKERS", share.count) &&
                      ReadText(table, "INPUT", input) && ReadText(table, "CARDS", cards);
  if (!isOurs || share.number < 1 || share.count < share.number) return false;
  runs.resize(static_cast<size_t>(table.rows()));
  if (!runs.empty()) std::memcpy(runs.data(), table.data(), runs.size() * sizeof(PartRun));
  int64 all = 0;
  int last = share.number;
  for (const PartRun& run : runs) {
    const bool isRight = run.part >= last && run.part <= parts && (run.part - share.number) % share.count == 0 &&
                         run.scan >= 0 && run.records > 0;
    if (!isRight) return false;
    last = run.part;
    all += run.records;
  }
  return all == records;
}

std::string HashOf(AUVXInput& input) {
  constexpr int64 kBlocks = 1024, kBlockBytes = 4096;
  const int64 size = input.file().GetFileSize();
  Hash hash;
  hash.Take(&size, sizeof size);
  std::vector<char> block(kBlockBytes);
  const int64 blocks = std::min(kBlocks, (size + kBlockBytes - 1) / kBlockBytes);
  for (int64 i = 0; i < blocks; ++i) {
    const int64 at = blocks == 1 ? 0 : (size - kBlockBytes) * i / (blocks - 1);
    const int64 read = input.file().ReadAt(at, block.data(), std::min(kBlockBytes, size));
    hash.Take(block.data(), static_cast<size_t>(std::max<int64>(read, 0)));
  }
  return hash.Text();
}

std::string HashOf(const AUVXHeaderCards& cards) {
  Hash hash;
  for (int i = 0; i < cards.count(); ++i) hash.Take(cards(i).data(), cards(i).size());
  return hash.Text();
}

}  // namespace zeltra
