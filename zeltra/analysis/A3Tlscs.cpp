// SPDX-License-Identifier: MIT
#include "zeltra/analysis/A3Tlscs.h"

#include "zeltra/analysis/ABaseLine.h"
#include "zeltra/analysis/AntennaFlagsInternal.h"
#include "zeltra/analysis/SearchInternal.h"
#include "zeltra/analysis/TriangleWalkInternal.h"

namespace zeltra {

template class AArray<A3TlscsItem>;

std::string A3TlscsItem::asString() const {
  return std::to_string(tlsc1()) + "-" + std::to_string(tlsc2()) + "-" + std::to_string(tlsc3());
}

int CompareTriangles(const A3TlscsItem& key, const A3TlscsItem& item) {
  if (key.tlsc1() != item.tlsc1()) return CompareValues(key.tlsc1(), item.tlsc1());
  if (key.tlsc2() != item.tlsc2()) return CompareValues(key.tlsc2(), item.tlsc2());
  return CompareValues(key.tlsc3(), item.tlsc3());
}

int A3Tlscs::Create(const ABaseLine& baselines, int tlsc) {
  Free();
  WalkTriangles(
      baselines.count(), [&](int i) { return baselines(i); }, SignedAntenna(tlsc),
      [&](int a, int, bool, int, int c) {
        const ABaseLineItem& first = baselines(a);
        Add(A3TlscsItem(static_cast<char>(first.tlsc1()), static_cast<char>(first.tlsc2()), static_cast<char>(c), 0));
      });
  return count();
}

int A3Tlscs::HasItem(const A3TlscsItem& item, int& index) const {
  index = -1;
  if (count() < 1) return 0;
  return BinarySearch(
      count(), [&](int i) { return CompareTriangles(item, (*this)(i)); }, index);
}

int A3Tlscs::DeleteUnflagItem() {
  const int before = count();
  for (int i = before - 1; i >= 0; --i) {
    if ((*this)(i).flag() != 0) DeleteItems(i, 1);
  }
  return before - count();
}

int A3Tlscs::GetTlscMap(char* antennas, char* flags) const {
  AntennaFlags found;
  for (int i = 0; i < count(); ++i) {
    const A3TlscsItem& item = (*this)(i);
    for (const int antenna : {item.tlsc1(), item.tlsc2(), item.tlsc3()}) {
      found.Add(antenna, static_cast<uint8_t>(item.flag()));
    }
  }
  return found.Write(antennas, flags, AntennaFlags::kNumbers);
}

}  // namespace zeltra
