// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AStokesMix.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace zeltra {

template class AArray<AStokesMix>;

namespace {

enum Code { YX = -8, XY, YY, XX, LR, RL, LL, RR, NO, I, Q, U, V };

constexpr const char* kCodeNames[] = {"YX", "XY", "YY", "XX", "LR", "RL", "LL", "RR", "NO", "I", "Q", "U", "V"};

constexpr const char* kMixNames[] = {"LR (Q, U)",  "RL (Q, U)",  "LL (I, V)",  "RR (I, V)", "",
                                     "I (LL, RR)", "Q (LR, RL)", "U (LR, RL)", "V (LL, RR)"};

bool IsKnown(int id) {
  return id >= LR && id <= V;
}

AUVXComplex Weighted(const AUVXComplex& value) {
  const float weight = std::abs(value.weight);
  return AUVXComplex(value.re * weight, value.im * weight, value.weight);
}

AUVXComplex Input(const AUVXComplex* values, const AStokesItem& item, int weighted) {
  if (!item.IsPresent()) return AUVXComplex(0, 0, 0);
  const AUVXComplex& value = values[item.index];
  return weighted ? Weighted(value) : value;
}

std::complex<float> Combined(int id, std::complex<float> p, std::complex<float> q) {
  // i times the value, written out: the general product would turn an infinite part into NaNs.
  const auto timesI = [](std::complex<float> z) { return std::complex<float>(-z.imag(), z.real()); };
  switch (id) {
    case LR:
      return p - timesI(q);
    case RL:
      return p + timesI(q);
    case LL:
      return q - p;
    case RR:
      return p + q;
    case I:
    case Q:
      return (p + q) / 2.0f;
    case U:
      return timesI(p - q) / 2.0f;
    default:
      return (q - p) / 2.0f;
  }
}

bool IsOneOf(int code, std::initializer_list<int> codes) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

template <typename IsSelected>
void AddSingles(const AUVXStokes& list, IsSelected isSelected, AArray<AStokesMix>& out) {
  for (int k = 0; k < std::min<int>(list.count(), AUVXStokes::kLargestCount); ++k) {
    const int code = list(k);
    if (isSelected(code)) out.Add(AStokesMix(0, AStokesItem(k, code), AStokesItem()));
  }
}

void AddFormed(const AUVXStokes& list, int code1, int code2, std::initializer_list<int> ids, AArray<AStokesMix>& out) {
  int index1 = 0;
  int index2 = 0;
  if (!list.FindStokes(code1, index1) || !list.FindStokes(code2, index2)) return;
  for (const int id : ids) out.Add(AStokesMix(id, AStokesItem(index1, code1), AStokesItem(index2, code2)));
}

}  // namespace

std::string AStokesItem::asString() const {
  return asShortString() + "-POL";
}

std::string AStokesItem::asShortString() const {
  return code >= YX && code <= V ? kCodeNames[code - YX] : std::to_string(code);
}

std::string AStokesMix::asString() const {
  if (id == 0) return Single().asString();
  return IsKnown(id) ? kMixNames[id - LR] : "?\?-POL";
}

std::string AStokesMix::asShortString() const {
  if (id == 0) return Single().asShortString();
  return IsKnown(id) ? AStokesItem(0, id).asShortString() : "??";
}

AUVXComplex AStokesMix::GetVisible(const AUVXComplex* values, int weighted) const {
  AUVXComplex result;
  if (!IsKnown(id)) return result;
  if (id == 0) return Input(values, Single(), weighted);
  const AUVXComplex p = Input(values, item1, weighted);
  const AUVXComplex q = Input(values, item2, weighted);
  result = Combined(id, p.FC(), q.FC());
  const float weight = (std::abs(p.weight) + std::abs(q.weight)) * 0.5f;
  result.weight = p.weight > 0 && q.weight > 0 ? weight : -weight;
  return result;
}

int AStokesMix::store(ABFile& file) const {
  return WriteWhole(file, this, sizeof *this);
}

int AStokesMix::load(ABFile& file) {
  AStokesMix stored;
  if (!ReadWhole(file, &stored, sizeof stored)) return 0;
  *this = stored;
  return 1;
}

AArray<AStokesMix>* toListMix(const AUVXStokes& list) {
  auto* out = new AArray<AStokesMix>;
  AddSingles(
      list, [](int) { return true; }, *out);
  AddFormed(list, LL, RR, {I, V}, *out);
  AddFormed(list, RL, LR, {Q, U}, *out);
  AddFormed(list, V, I, {RR, LL}, *out);
  AddFormed(list, Q, U, {RL, LR}, *out);
  return out;
}

AArray<AStokesMix>* toListMixRL(const AUVXStokes& list) {
  auto* out = new AArray<AStokesMix>;
  toListMixRL(list, *out);
  return out;
}

int toListMixRL(const AUVXStokes& list, AArray<AStokesMix>& out) {
  out.Free();
  AddSingles(
      list,
      [](int code) {
        return IsOneOf(code, {YY, XX, LL, RR});
      },
      out);
  AddFormed(list, V, I, {RR, LL}, out);
  return out.count();
}

AArray<AStokesMix>* toListMixRL_LR(const AUVXStokes& list) {
  auto* out = new AArray<AStokesMix>;
  AddSingles(
      list,
      [](int code) {
        return IsOneOf(code, {LR, RL, XY});
      },
      *out);
  return out;
}

int toListMixRL_LR(const AUVXStokes& list, AArray<AStokesMix>& out) {
  out.Free();
  AddSingles(
      list,
      [](int code) {
        return IsOneOf(code, {YX, XY, LR, RL});
      },
      out);
  return out.count();
}

}  // namespace zeltra
