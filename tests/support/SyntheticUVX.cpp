// SPDX-License-Identifier: MIT
#include "tests/support/SyntheticUVX.h"

#include <algorithm>
#include <array>

namespace zeltra::test {
namespace {

SyntheticUVXTable FrequencyTable(int ifs, int channels) {
  SyntheticUVXTable table{"FQ"};
  const std::string n = std::to_string(ifs);
  table.keywords = {{"NO_IF", n, true}};
  table.columns = {{"FRQSEL", "", "1J"},
                   {"IF FREQ", "HZ", n + "D"},
                   {"CH WIDTH", "HZ", n + "E"},
                   {"TOTAL BANDWIDTH", "HZ", n + "E"},
                   {"SIDEBAND", "", n + "J"}};
  table.Row(int32_t{1});
  for (int i = 0; i < ifs; ++i) Append(table.data, 1e8 * i);
  for (int i = 0; i < ifs; ++i) Append(table.data, 1e6f);
  for (int i = 0; i < ifs; ++i) Append(table.data, 1e6f * static_cast<float>(channels));
  for (int i = 0; i < ifs; ++i) Append(table.data, int32_t{1});
  return table;
}

SyntheticUVXTable AntennaTable(int antennas) {
  SyntheticUVXTable table{"AN"};
  table.keywords = {
      {"ARRAYX", "1000", true}, {"ARRAYY", "2000", true}, {"ARRAYZ", "3000", true}, {"XYZHAND", "RIGHT", false}};
  table.columns = {{"ANNAME", "", "8A"}, {"STABXYZ", "METERS", "3D"}, {"NOSTA", "", "1J"}, {"MNTSTA", "", "1J"}};
  for (int i = 1; i <= antennas; ++i) {
    AppendText(table.data, "ANT" + std::to_string(i), 8, ' ');
    table.Row(100.0 * i, 10.0 * i, 1.0 * i, i, 0);
  }
  return table;
}

SyntheticUVXTable SourceTable(int sources) {
  SyntheticUVXTable table{"SU"};
  table.columns = {{"ID. NO.", "", "1J"},      {"SOURCE", "", "16A"},       {"EPOCH", "YEARS", "1D"},
                   {"RAEPO", "DEGREES", "1D"}, {"DECEPO", "DEGREES", "1D"}, {"RAAPP", "DEGREES", "1D"},
                   {"DECAPP", "DEGREES", "1D"}};
  for (int i = 1; i <= sources; ++i) {
    Append(table.data, i);
    AppendText(table.data, "SRC" + std::to_string(i), 16, ' ');
    table.Row(2000.0, 10.0 * i, 1.0 * i, 10.0 * i, 1.0 * i);
  }
  return table;
}

SyntheticUVXTable IndexTable(const std::vector<SyntheticRecord>& records) {
  SyntheticUVXTable table{"NX"};
  table.columns = {{"TIME", "DAYS", "1D"}, {"TIME INTERVAL", "DAYS", "1D"}, {"SOURCE ID", "", "1J"},
                   {"SUBARRAY", "", "1J"}, {"START VIS", "", "1J"},         {"END VIS", "", "1J"},
                   {"FREQ ID", "", "1J"}};
  for (size_t first = 0; first < records.size();) {
    size_t end = first;
    while (end < records.size() && records[end].source == records[first].source &&
           records[end].frqsel == records[first].frqsel) {
      ++end;
    }
    const double start = records[first].date - SyntheticUVX::kDateObs;
    const double stop = records[end - 1].date - SyntheticUVX::kDateObs;
    table.Row((start + stop) / 2, stop - start, records[first].source, 1, static_cast<int>(first + 1),
              static_cast<int>(end), records[first].frqsel);
    first = end;
  }
  return table;
}

void AppendRecord(std::string& bytes, const SyntheticRecord& record) {
  Append(bytes, static_cast<int8_t>(record.flag));
  Append(bytes, static_cast<int8_t>(record.frqsel));
  Append(bytes, static_cast<int16_t>(record.source));
  for (float x : {record.u, record.v, record.w}) Append(bytes, x);
  Append(bytes, record.date);
  Append(bytes, static_cast<int8_t>(record.ant1));
  Append(bytes, static_cast<int8_t>(record.ant2));
  for (const auto& value : record.values) {
    for (float x : {value.re, value.im, value.weight}) Append(bytes, x);
  }
}

}  // namespace

void AppendText(std::string& bytes, const std::string& text, size_t width, char fill) {
  std::string field = text;
  field.resize(width, fill);
  bytes += field;
}

std::string SyntheticUVXTable::Image() const {
  std::string bytes;
  Append(bytes, ID());
  Append(bytes, static_cast<int16_t>(keywords.size()));
  for (const auto& keyword : keywords) {
    AppendText(bytes, keyword.key, 10);
    AppendText(bytes, keyword.value, 32);
    Append(bytes, int32_t{keyword.numeric});
  }
  Append(bytes, rows);
  Append(bytes, static_cast<int32_t>(columns.size()));
  Append(bytes, rows > 0 && rowBytes == 0 ? static_cast<int32_t>(data.size()) / rows : rowBytes);
  for (const auto& column : columns) {
    AppendText(bytes, column.name, 18);
    AppendText(bytes, column.unit, 10);
    AppendText(bytes, column.format, 8);
  }
  return bytes + data;
}

std::vector<SyntheticRecord> SyntheticUVX::Records() const {
  std::vector<SyntheticRecord> records;
  const size_t values = static_cast<size_t>(Points()) * stokes_.size();
  for (int source = 1; source <= sources_; ++source) {
    for (int time = 0; time < times_; ++time) {
      for (int ant1 = 1; ant1 <= antennas_; ++ant1) {
        for (int ant2 = ant1 + 1; ant2 <= antennas_; ++ant2) {
          SyntheticRecord record;
          record.index = static_cast<int>(records.size());
          record.source = source;
          record.u = static_cast<float>(1000 * ant2 - ant1);
          record.v = static_cast<float>(record.index);
          record.w = -record.v;
          record.date = kStart + kStep * (time + times_ * (source - 1));
          record.ant1 = ant1;
          record.ant2 = ant2;
          for (size_t k = 0; k < values; ++k) {
            const float re = record.v + static_cast<float>(k) / 1024;
            record.values.push_back({re, -re, static_cast<float>(1 + k % 3)});
          }
          if (edit_) edit_(record);
          records.push_back(std::move(record));
        }
      }
    }
  }
  return records;
}

int SyntheticUVX::RecordBytes() const {
  return 26 + 12 * Points() * static_cast<int>(stokes_.size());
}

std::string SyntheticUVX::Header(const std::vector<SyntheticRecord>& records) const {
  std::string bytes;
  Append(bytes, static_cast<int32_t>(records.size()));
  Append(bytes, 2000.0);
  Append(bytes, kDateObs);
  Append(bytes, int16_t{0});
  AppendText(bytes, "JY", 10);
  AppendText(bytes, "OBSERVER", 16);
  AppendText(bytes, "ARRAY", 16);

  std::array<std::array<double, 2>, 7> ranges;
  ranges.fill({1e38, -1e38});
  const auto widen = [&](size_t i, double x) { ranges[i] = {std::min(ranges[i][0], x), std::max(ranges[i][1], x)}; };
  for (const auto& record : records) {
    widen(0, record.u), widen(1, record.v), widen(2, record.w), widen(3, record.date);
    for (const auto& value : record.values) widen(4, value.re), widen(5, value.im), widen(6, value.weight);
  }
  Append(bytes, ranges);

  Append(bytes, static_cast<int16_t>(stokes_.size()));
  for (size_t i = 0; i < 8; ++i) Append(bytes, static_cast<int16_t>(i < stokes_.size() ? stokes_[i] : 0));
  Append(bytes, ifs_);
  Append(bytes, channels_);
  Append(bytes, kFreq0);
  bytes.resize(465, '\0');
  return bytes;
}

std::vector<SyntheticUVXTable> SyntheticUVX::AllTables(const std::vector<SyntheticRecord>& records) const {
  std::vector<SyntheticUVXTable> tables;
  if (standardTables_) {
    tables = {FrequencyTable(ifs_ > 0 ? ifs_ : 1, channels_), AntennaTable(antennas_), SourceTable(sources_),
              IndexTable(records)};
  }
  tables.insert(tables.end(), tables_.begin(), tables_.end());
  return tables;
}

std::string SyntheticUVX::Bytes() const {
  const std::vector<SyntheticRecord> records = Records();
  const std::vector<SyntheticUVXTable> tables = AllTables(records);
  const size_t directory = kDataOffset + records.size() * static_cast<size_t>(RecordBytes());
  std::string bytes;
  Append(bytes, int32_t{1003});
  Append(bytes, int32_t{kDataOffset});
  Append(bytes, static_cast<int64_t>(tables.empty() ? 0 : directory));
  bytes += Header(records);
  for (const auto& record : records) AppendRecord(bytes, record);

  if (!tables.empty()) {
    std::string images;
    Append(bytes, static_cast<int16_t>(tables.size()));
    for (const auto& table : tables) {
      const std::string image = table.Image();
      Append(bytes, table.ID());
      Append(bytes, static_cast<int64_t>(directory + 2050 + images.size()));
      Append(bytes, static_cast<int32_t>(image.size()));
      images += image;
    }
    bytes.resize(directory + 2050, '\0');
    bytes += images;
  }
  for (const auto& damage : damage_) damage(bytes);
  return bytes;
}

}  // namespace zeltra::test
