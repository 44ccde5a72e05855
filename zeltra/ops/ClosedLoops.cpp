// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosedLoops.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <set>

#include "zeltra/analysis/ABaseClosedSearch.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/BaseLineCollectorInternal.h"

namespace zeltra {
namespace {

constexpr double kMostChains = 1 << 20;

#if defined(__GNUC__)
#pragma GCC diagnostic push
// The base class has no virtual destructor, and none is needed here.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

class BaseLineSearch final : public ABaseClosedSearch {
 public:
  explicit BaseLineSearch(const ABaseLine& baselines) : baselines_(baselines) {}

  // The baseline of a signed number, in the direction that the sign gives.
  ABL Directed(int number) {
    const ABL base = GetBase(std::abs(number) - 1);
    return number > 0 ? base : ABL(base.tlsc2(), base.tlsc1());
  }

 protected:
  int GetBaseLines() override { return baselines_.count(); }
  ABL GetBase(int i) override { return ABL(baselines_(i).tlsc1(), baselines_(i).tlsc2()); }

 private:
  const ABaseLine& baselines_;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

AResult BaseLinesOf(AUVXInput& from, AUVXBaseLines& found) {
  if (const auto table = from.Table("BL")) {
    found = AUVXBaseLines(*table);
    return AResult::Ok();
  }
  BaseLineCollector collected;
  AResult result = WalkRecords(from, {}, 0, from.uvx().count(), [&](const WalkedRecord& record) {
    collected.Take(record.group);
    return true;
  });
  found = collected.list();
  return result;
}

// @param sources  those whose baselines count; empty: all
ABaseLine Unflagged(const AUVXBaseLines& table, const std::set<int>& sources) {
  ABaseLine baselines;
  for (int i = 0; i < table.count(); ++i) {
    const AUVXBaseLineItem& item = table(i);
    if (item.flag || (!sources.empty() && !sources.contains(item.source))) continue;
    ABaseLineItem base(item.tlsc1, item.tlsc2, false);
    baselines.checkBase(base);
  }
  return baselines;
}

std::string Partners(const ABaseLine& baselines, int antenna) {
  std::string list;
  for (int i = 0; i < baselines.count(); ++i) {
    const ABL base(baselines(i).tlsc1(), baselines(i).tlsc2());
    if (base.tlsc1() != antenna && base.tlsc2() != antenna) continue;
    list += (list.empty() ? "" : ", ") + base.Str();
  }
  return list.empty() ? "none" : list;
}

AResult FindLoops(AUVXInput& from, const LoopOptions& options, std::vector<AChain>& chains) {
  const AUVXContents& contents = from.contents();
  std::set<int> sources;
  for (const std::string& name : options.selection.sources) {
    int number = 0;
    if (AResult result = contents.FindSource(name, number); !result) return result;
    sources.insert(number);
  }
  int first = 0, second = 0;
  if (AResult result = contents.FindBaseline(options.baseline, first, second); !result) return result;
  ABL searched(first, second);

  AUVXBaseLines all;
  if (AResult result = BaseLinesOf(from, all); !result) return result;
  const ABaseLine baselines = Unflagged(all, sources);
  if (baselines.count() > std::numeric_limits<short>::max()) {
    return AResult::Fail(from.path() + ": " + std::to_string(baselines.count()) + " baselines are too many to search");
  }
  BaseLineSearch search(baselines);
  // No chain is longer than the number of baselines.
  const int longest = std::min(options.longest, baselines.count());
  search.SetMaxLink(longest);
  search.CaculateIndexes();
  if (std::pow(search.GetScopeMap().count() - 1, longest - 1) > kMostChains) {
    return AResult::Fail(from.path() + ": chains of " + std::to_string(longest) + " baselines of " +
                         std::to_string(search.GetScopeMap().count()) + " antennas can be more than a million");
  }
  if (!search.SearchBL(searched)) {
    return AResult::Fail(from.path() + ": no baseline " + searched.Str() + "; those of antenna " +
                         std::to_string(searched.tlsc1()) + " are " + Partners(baselines, searched.tlsc1()));
  }
  // The first chain is the searched baseline itself.
  for (int i = 1; i < search.loops().count(); ++i) {
    const AArray<int>& numbers = *search.loops()(i);
    AChain& chain = chains.emplace_back();
    for (int k = 0; k < numbers.count(); ++k) chain.push_back(search.Directed(numbers(k)));
  }
  return AResult::Ok();
}

}  // namespace

AResult FindClosedLoops(AUVXInput& from, const LoopOptions& options, std::vector<AChain>& chains) {
  return from.Settle(FindLoops(from, options, chains));
}

}  // namespace zeltra
