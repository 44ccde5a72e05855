// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXSources.h"

#include <cmath>
#include <memory>

#include "zeltra/fits/AFITS.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

template class AArray<AUVXSourceItem>;

namespace {

constexpr double kJulianDate1900 = 2415020.5;
constexpr double kJulianDate1950 = 2433282.5;
constexpr double kJulianDate2000 = 2451544.5;
constexpr double kCenturiesPerDay = 2.7379092558307884e-5;
constexpr double kYearsPerDay = 0.002737909255830788;

void ReadColumn(const AUVXTable& table, const ListColumn& column, AUVXSourceItem* items) {
  using Item = AUVXSourceItem;
  const bool isId = (column.Names("ID") && column.Names("NO")) || column.Names("SOURCE_ID");
  if (!isId && column.Names("SOURCE") && column.IsText()) ReadField(table, column, items, &Item::name);
  if (!column.IsNumeric()) return;
  if (isId) {
    ReadField(table, column, items, &Item::id);
  } else if (column.Names("EPOCH")) {
    ReadField(table, column, items, &Item::epoch);
  } else if (column.Names("RAEPO")) {
    ReadField(table, column, items, &Item::raEpoch);
  } else if (column.Names("DECEPO")) {
    ReadField(table, column, items, &Item::decEpoch);
  } else if (column.Names("RAAPP")) {
    ReadField(table, column, items, &Item::raApp);
  } else if (column.Names("DECAPP")) {
    ReadField(table, column, items, &Item::decApp);
  }
}

/// Value at pixel 1 of the first axis whose type contains `name`, 0 without such an axis.
double FirstPixel(AFITSmain& header, const char* name) {
  const int axis = header.FindAxis(name);
  if (axis < 1) return 0;
  const auto value = [&header, axis](int line) { return header.axes()(line, axis - 1); };
  const double reference = value(0);
  const double increment = value(1);
  const double referencePixel = value(2);
  return (1 - referencePixel) * increment + reference;
}

AUVXSourceItem SourceOfHeader(AFITSmain& header) {
  AUVXSourceItem item;
  item.id = 1;
  SetFieldText(item.name, sizeof item.name, header.object());
  item.epoch = -header.epoch();
  item.raApp = item.raEpoch = FirstPixel(header, "RA");
  item.decApp = item.decEpoch = FirstPixel(header, "DEC");
  return item;
}

double JulianDateOfEpoch(double epoch) {
  return epoch == 1950 ? kJulianDate1950 : epoch == 1900 ? kJulianDate1900 : kJulianDate2000;
}

}  // namespace

std::string AUVXSourceItem::Name() const {
  return FieldText(name, sizeof name);
}

AUVXSources::AUVXSources(AFITS& fits) {
  if (AFITSxtbl* table = fits.HasExtTable("SU")) {
    Init(AUVXTable(*table));
  } else if (fits.main()) {
    Add(SourceOfHeader(*fits.main()));
  }
}

void AUVXSources::Init(const AUVXTable& table) {
  Free();
  AUVXSourceItem* items = AppendItems(*this, table);
  for (const ListColumn& column : ListColumns(table)) ReadColumn(table, column, items);
}

int AUVXSources::IndexForID(int id) const {
  return FindId(*this, id);
}
AUVXSourceItem& AUVXSources::ForID(int id) {
  return ItemForId(*this, id);
}

AArray<int>* AUVXSources::GetDeleteRows(const AUVXBaseLines& baseLines) const {
  const std::unique_ptr<AArray<short>> map(baseLines.getSourceMap());
  return PlacesWithout(*this, *map, [](const AUVXSourceItem& item) { return static_cast<short>(item.id); });
}

AUVXTable* AUVXSources::ToUVXTable() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("SU", 0));
  table->AddColumn("ID. NO. ", "", "1J");
  table->AddColumn(PaddedToEight("SOURCE"), "", "16A");
  table->AddColumn(PaddedToEight("EPOCH"), PaddedToEight("YEARS"), "1D");
  table->AddColumn(PaddedToEight("RAAPP"), PaddedToEight("DEGREES"), "1D");
  table->AddColumn(PaddedToEight("DECAPP"), PaddedToEight("DEGREES"), "1D");
  table->SetRows(count());
  for (int row = 0; row < table->rows(); ++row) {
    const AUVXSourceItem& item = (*this)(row);
    table->SetNumber(row, 0, 0, item.id);
    table->SetText(row, 1, item.Name());
    table->SetNumber(row, 2, 0, item.epoch);
    table->SetNumber(row, 3, 0, item.raApp);
    table->SetNumber(row, 4, 0, item.decApp);
  }
  return table.release();
}

void AUVXSources::CorrectRADEC(double julianDate) {
  const double t = (julianDate - kJulianDate1900) * kCenturiesPerDay;
  const double n = 20.04685 - 0.0008533 * t - 0.00037 * t * t;
  const double m = 46.08506 + 0.027945 * t + 0.00012 * t * t;
  for (int i = 0; i < count(); ++i) {
    AUVXSourceItem& item = (*this)(i);
    if (item.epoch >= 0) continue;
    item.epoch = -item.epoch;
    const double years = (julianDate - JulianDateOfEpoch(item.epoch)) * kYearsPerDay;
    const double ra = item.raApp;
    const double dec = item.decApp;
    item.decApp = dec + n * std::cos(ra) * years / 3600;
    item.raApp = ra + (m + n * std::sin(ra) * std::tan(dec)) * years / 3600;
  }
}

}  // namespace zeltra
