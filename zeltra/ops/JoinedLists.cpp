// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>

#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/ops/JoinedListsInternal.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXSources.h"

namespace zeltra {
namespace {

double Distance(const std::array<double, 4>& a, const std::array<double, 4>& b) {
  // Positions at different equinoxes are different.
  if (a[3] != b[3]) return HUGE_VAL;
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

std::array<double, 4> Direction(const SkyPosition& sky) {
  const double ra = sky.ra * kRadiansPerDegree, dec = sky.dec * kRadiansPerDegree;
  return {std::cos(dec) * std::cos(ra), std::cos(dec) * std::sin(ra), std::sin(dec), sky.equinox};
}

std::string HandOf(const AUVXTable& table) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    if (table.keywords()(i).Key() == "XYZHAND") return Trimmed(table.keywords()(i).Value());
  }
  return {};
}

bool AreClose(const std::vector<double>& a, const std::vector<double>& b, double tolerance) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [tolerance](double x, double y) { return std::fabs(x - y) <= tolerance; });
}

// Of the items of earlier inputs that are the same and that the current input has not matched yet: the one with the
// same number, or else the only one, unless items can be told apart by their numbers alone.
template <class Item, class IsSame>
Item* Match(std::vector<Item>& known, int input, int number, bool isByNumber, IsSame isSame) {
  Item* match = nullptr;
  int count = 0;
  for (Item& item : known) {
    if (item.input == input || item.matched == input || !isSame(item)) continue;
    ++count;
    if (!match || item.number == number) match = &item;
  }
  if (match && match->number != number && (isByNumber || count > 1)) return nullptr;
  if (match) match->matched = input;
  return match;
}

}  // namespace

AResult JoinedLists::Add(AUVXInput& input, JoinedNumbers& numbers) {
  paths_.push_back(input.path());
  AResult result = AddSources(input, numbers);
  if (result) result = AddAntennas(input, numbers);
  return result ? AddSetups(input, numbers) : result;
}

std::optional<int> JoinedLists::NumberOf(const JoinedNumbers& numbers, RowNumber kind, int number) const {
  const std::map<int, int>& list = numbers.Of(kind);
  if (const auto place = list.find(number); place != list.end()) return place->second;
  if (ListOf(kind).taken.contains(number)) return {};
  return number;
}

std::string JoinedLists::ReasonOf(const JoinedNumbers& numbers, RowNumber kind, int number) const {
  const List& list = ListOf(kind);
  const std::string table = kind == RowNumber::Source ? "SU" : kind == RowNumber::Setup ? "FQ" : "AN";
  const std::string named = list.what + " " + std::to_string(number);
  const std::string& other = paths_[static_cast<size_t>(list.taken.at(number))];
  return named +
         (numbers.Of(kind).empty() ? ", but the file has no table " + table
                                   : ", which the table " + table + " of the file does not list") +
         ", so that it cannot be told whether it is " + named + " of " + other;
}

AUVXTable* JoinedLists::Table(const std::string& code) {
  List& list = code == "SU" ? sources_ : code == "AN" ? antennas_ : setups_;
  return list.isThere ? &list.table : nullptr;
}

// The first table is taken as a whole.
AResult JoinedLists::Begin(List& list, AUVXInput& input, const AUVXTable& table) const {
  if (table.Code() != "FQ" && !RowNumbers::Of(table)) {
    return AResult::Fail(input.path() + ": the columns of its table " + table.Code() +
                         " are not understood, so that its numbers cannot be joined with others");
  }
  if (!list.isThere) list.table = table;
  return AResult::Ok();
}

bool JoinedLists::TakeNumber(List& list, int wanted, int& number) const {
  const int input = CurrentInput();
  number = wanted;
  if (const auto place = list.taken.find(wanted);
      place != list.taken.end() && (list.isThere || place->second != input)) {
    for (number = 1; list.taken.contains(number);) ++number;
  }
  list.taken.emplace(number, input);
  return number <= list.most;
}

AResult JoinedLists::Place(List& list, Thing thing, const AUVXTable& table, int row, std::map<int, int>& numbers) {
  // The first row with a number counts.
  if (numbers.contains(thing.number)) return AResult::Ok();
  thing.input = CurrentInput();
  const auto isNamesake = [&thing](const Thing& known) {
    return known.name == thing.name && known.qualifier == thing.qualifier;
  };
  const auto isSame = [&](const Thing& known) {
    return isNamesake(known) && Distance(known.place, thing.place) <= list.tolerance;
  };
  // What has no name may have no position either.
  if (const Thing* known = Match(list.things, thing.input, thing.number, thing.name.empty(), isSame)) {
    numbers.emplace(thing.number, known->number);
    return AResult::Ok();
  }
  const std::string& path = paths_.back();
  for (const Thing& known : list.things) {
    if (thing.name.empty() || known.input == thing.input || !isNamesake(known) || isSame(known)) continue;
    const double apart = Distance(known.place, thing.place) / list.scale;
    return AResult::Fail(path + ": its " + list.what + " " + thing.name +
                         (std::isfinite(apart) ? " lies " + RoundedNumber(apart, 4) + " " + list.unit + " from that of "
                                               : " has another position or equinox than that of ") +
                         paths_[static_cast<size_t>(known.input)]);
  }
  int number = 0;
  if (!TakeNumber(list, thing.number, number)) {
    return AResult::Fail(path + ": the inputs have more than the " + std::to_string(list.most) + " " + list.what +
                         "s of a UVX file together");
  }
  numbers.emplace(thing.number, number);
  thing.number = number;
  list.things.push_back(thing);
  return list.isThere ? Append(list, table, row, number) : AResult::Ok();
}

AResult JoinedLists::Append(List& list, const AUVXTable& table, int row, int number) const {
  if (!RowCopy(table, list.table).Append(table, row, list.table)) {
    return AResult::Fail(paths_.back() + ": the joined table " + table.Code() + " would reach 2 GiB");
  }
  const std::optional<RowNumbers> columns = RowNumbers::Of(list.table);
  for (const RowNumbers::Column& column : columns->columns()) {
    list.table.SetNumber(list.table.rows() - 1, column.place, 0, number);
  }
  return AResult::Ok();
}

AResult JoinedLists::AddSources(AUVXInput& input, JoinedNumbers& numbers) {
  const std::unique_ptr<AUVXTable> table = input.Table("SU");
  if (!table) return AResult::Ok();
  if (AResult result = Begin(sources_, input, *table); !result) return result;
  const AUVXSources list(*table);
  const int qualifier = table->FindColumn("QUAL");
  for (int row = 0; row < list.count(); ++row) {
    const AUVXSourceItem& item = list(row);
    if (item.id < 1 || item.id > sources_.most) continue;
    Thing source = {item.Name(), 0, Direction(input.contents().PositionOf(item)), item.id, 0};
    const double stated = table->Number(row, qualifier);
    if (std::fabs(stated) < 1e9) source.qualifier = static_cast<int>(stated);
    if (AResult result = Place(sources_, source, *table, row, numbers.sources); !result) return result;
  }
  sources_.isThere = true;
  return AResult::Ok();
}

AResult JoinedLists::AddAntennas(AUVXInput& input, JoinedNumbers& numbers) {
  const std::unique_ptr<AUVXTable> table = input.Table("AN");
  if (!table) return AResult::Ok();
  if (AResult result = Begin(antennas_, input, *table); !result) return result;
  const AUVXAntenns list(*table);
  const std::array<double, 3> center = {list.ArrayX(), list.ArrayY(), list.ArrayZ()};
  const std::string hand = HandOf(*table);
  if (!antennas_.isThere) {
    center_ = center;
    hand_ = hand;
  } else if (hand != hand_ && !hand.empty() && !hand_.empty()) {
    return AResult::Fail(input.path() + ": its antennas are " + hand + "-handed, and those of the inputs before are " +
                         hand_ + "-handed");
  }
  const int positions = antennas_.table.FindColumn("STABXYZ");
  for (int row = 0; row < list.count(); ++row) {
    const AUVXTlscItem& item = list(row);
    if (item.id < 1 || item.id > antennas_.most) continue;
    // Relative to the centre of the first array.
    const std::array<double, 4> place = {item.x + (center[0] - center_[0]), item.y + (center[1] - center_[1]),
                                         item.z + (center[2] - center_[2]), 0};
    const int before = antennas_.table.rows();
    AResult result = Place(antennas_, {item.Name(), 0, place, item.id}, *table, row, numbers.antennas);
    if (!result) return result;
    for (int i = 0; i < 3 && antennas_.table.rows() > before; ++i) {
      antennas_.table.SetNumber(before, positions, i, place[static_cast<size_t>(i)]);
    }
  }
  antennas_.isThere = true;
  return AResult::Ok();
}

AResult JoinedLists::AddSetups(AUVXInput& input, JoinedNumbers& numbers) {
  const double freq0 = input.contents().header().freq0;
  if (paths_.size() == 1) freq0_ = freq0;
  const std::unique_ptr<AUVXTable> table = input.Table("FQ");
  if (!table) {
    if (std::fabs(freq0 - freq0_) <= setups_.tolerance) return AResult::Ok();
    return AResult::Fail(input.path() + ": has no table FQ, and another frequency than " + paths_.front());
  }
  const SetupFrequencies frequencies(*table);
  if (table->ColumnOffset(frequencies.idColumn) < 0 || table->ColumnOffset(frequencies.startColumn) < 0 ||
      table->ColumnOffset(frequencies.widthColumn) < 0) {
    return AResult::Fail(input.path() + ": the columns of its table FQ are not understood, so that its setups cannot " +
                         "be joined with others");
  }
  if (AResult result = Begin(setups_, input, *table); !result) return result;
  const int IFs = std::max<int>(input.uvx().IFs(), 1);
  for (int row = 0; row < table->rows(); ++row) {
    Setup setup;
    setup.input = CurrentInput();
    // The frequency of the first channel, and of the one after the last.
    for (int i = 0; i < IFs; ++i) {
      const double first = freq0 + frequencies.Start(row, i);
      setup.frequencies.insert(setup.frequencies.end(),
                               {first, first + frequencies.Width(row, i) * input.uvx().channels()});
    }
    const int id = frequencies.Id(row);
    if (numbers.setups.contains(id)) continue;
    const Setup* known = Match(knownSetups_, setup.input, id, false, [&](const Setup& other) {
      return AreClose(other.frequencies, setup.frequencies, setups_.tolerance);
    });
    if (known) {
      numbers.setups.emplace(id, known->number);
      continue;
    }
    if (!TakeNumber(setups_, id, setup.number)) {
      return AResult::Fail(input.path() + ": the inputs have more than the 127 setups of a UVX file together");
    }
    numbers.setups.emplace(id, setup.number);
    knownSetups_.push_back(setup);
    if (!setups_.isThere) continue;
    AUVXTable& joined = setups_.table;
    if (!RowCopy(*table, joined).Append(*table, row, joined)) {
      return AResult::Fail(input.path() + ": the joined table FQ would reach 2 GiB");
    }
    const SetupFrequencies places(joined);
    const int added = joined.rows() - 1;
    joined.SetNumber(added, places.idColumn, 0, setup.number);
    for (int i = 0; i < IFs; ++i) {
      joined.SetNumber(added, places.startColumn, i, frequencies.Start(row, i) + (freq0 - freq0_));
      joined.SetNumber(added, places.widthColumn, i, frequencies.Width(row, i));
    }
  }
  // Earlier inputs have no such table; the joined one counts from the header frequency of the first input.
  const int moved = setups_.isThere || freq0 == freq0_ ? 0 : table->rows();
  for (int row = 0; row < moved; ++row) {
    for (int i = 0; i < IFs; ++i) {
      setups_.table.SetNumber(row, frequencies.startColumn, i, frequencies.Start(row, i) + (freq0 - freq0_));
    }
  }
  setups_.isThere = true;
  return AResult::Ok();
}

}  // namespace zeltra
