// Small UVX files, built byte by byte and damaged at will.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_SYNTHETICUVX_H_
#define ZELTRA_TESTS_SUPPORT_SYNTHETICUVX_H_

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zeltra::test {

/// Append the bytes of a number, of an array of numbers or of a text.
template <typename T>
void Append(std::string& bytes, const T& value) {
  if constexpr (std::is_same_v<T, std::string>) {
    bytes += value;
  } else {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
}

/// Append text, cut or padded with `fill`.
void AppendText(std::string& bytes, const std::string& text, size_t width, char fill = '\0');

struct SyntheticRecord {
  struct Value {
    float re, im, weight;
  };

  int index = 0;
  int flag = 0, frqsel = 1, source = 1;
  float u = 0, v = 0, w = 0;
  double date = 0;
  int ant1 = 0, ant2 = 0;
  std::vector<Value> values;  ///< [IF][channel][polarisation]
};

/// A table whose rows the caller appends.
struct SyntheticUVXTable {
  struct KeyWord {
    std::string key, value;
    bool numeric;
  };
  struct Column {
    std::string name, unit, format;
  };

  std::string code;  ///< two characters
  int rows = 0;
  int rowBytes = 0;  ///< 0: the size of the data divided by the rows
  std::vector<KeyWord> keywords = {};
  std::vector<Column> columns = {};
  std::string data = {};
  int kind = 0x200000;

  template <typename... Cells>
  SyntheticUVXTable& Row(const Cells&... cells) {
    return (Append(data, cells), ...), ++rows, *this;
  }
  int ID() const { return static_cast<uint8_t>(code[0]) | static_cast<uint8_t>(code[1]) << 8 | kind; }
  std::string Image() const;
};

/// A builder. Records are ordered by source, time and baseline (1-2, 1-3, ... 2-3, ...); record i holds
///   u, v, w = 1000 x antenna 2 - antenna 1, i, -i; date = kStart + kStep x (time + times x (source - 1));
///   value k: re = i + k / 1024, im = -re, weight = 1 + k mod 3.
class SyntheticUVX {
 public:
  static constexpr double kDateObs = 2457754.5;  ///< 2017 January 1, 0 h
  static constexpr double kStart = 2457754.75;
  static constexpr double kStep = 1.0 / 8640;  ///< 10 s
  static constexpr double kFreq0 = 1.4e9;      ///< Hz
  static constexpr int kDataOffset = 481;

  SyntheticUVX& Antennas(int n) { return antennas_ = n, *this; }
  /// Times at which each source is observed.
  SyntheticUVX& Times(int n) { return times_ = n, *this; }
  SyntheticUVX& Sources(int n) { return sources_ = n, *this; }
  SyntheticUVX& IFs(int n) { return ifs_ = n, *this; }
  SyntheticUVX& Channels(int n) { return channels_ = n, *this; }
  SyntheticUVX& Stokes(std::vector<int> codes) { return stokes_ = std::move(codes), *this; }
  /// Change each record before it is written.
  SyntheticUVX& Edit(std::function<void(SyntheticRecord&)> edit) { return edit_ = std::move(edit), *this; }
  /// Add a table.
  SyntheticUVX& Table(SyntheticUVXTable table) { return tables_.push_back(std::move(table)), *this; }
  /// Add what an import would: "FQ" (IFs 100 MHz apart, channels of 1 MHz, setup 1), "AN" (antenna i at (100 i, 10 i,
  /// i) m, named ANTi), "SU" (source i named SRCi at RA 10 i, DEC i degrees) and "NX" (a scan for each run of one
  /// source and setup).
  SyntheticUVX& Tables() { return standardTables_ = true, *this; }

  // Damage, done to the finished bytes in the order of the calls.
  /// Leave the magic number out, as an interrupted writer does.
  SyntheticUVX& Uncommitted() { return Put(0, int32_t{0}); }
  /// Write a number over whatever lies at `offset`.
  template <typename T>
  SyntheticUVX& Put(size_t offset, const T& value) {
    std::string bytes;
    Append(bytes, value);
    damage_.push_back([=](std::string& file) { file.replace(offset, bytes.size(), bytes); });
    return *this;
  }
  /// Keep the first `size` bytes.
  SyntheticUVX& Cut(size_t size) {
    damage_.push_back([=](std::string& file) { file.resize(size); });
    return *this;
  }

  std::vector<SyntheticRecord> Records() const;
  int RecordBytes() const;
  size_t DirectoryOffset() const { return kDataOffset + Records().size() * static_cast<size_t>(RecordBytes()); }
  std::string Bytes() const;

 private:
  int Points() const { return (ifs_ > 0 ? ifs_ : 1) * channels_; }
  std::string Header(const std::vector<SyntheticRecord>& records) const;
  std::vector<SyntheticUVXTable> AllTables(const std::vector<SyntheticRecord>& records) const;

  int antennas_ = 3, times_ = 2, sources_ = 1, ifs_ = 1, channels_ = 2;
  std::vector<int> stokes_ = {-1, -2};
  std::function<void(SyntheticRecord&)> edit_;
  std::vector<SyntheticUVXTable> tables_;
  bool standardTables_ = false;
  std::vector<std::function<void(std::string&)>> damage_;
};

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_SYNTHETICUVX_H_
