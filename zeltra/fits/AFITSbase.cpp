// SPDX-License-Identifier: MIT
#include "zeltra/fits/AFITSbase.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <utility>

#include "zeltra/fits/FITSCardReaderInternal.h"
#include "zeltra/fits/FITSCards.h"

namespace zeltra {
namespace {

constexpr auto Hash = ParseFITSstr::Hash;

}  // namespace

AFITSbase::AFITSbase(AFile* file) : AFITSbase(file, false) {}

AFITSbase::AFITSbase(AFile* file, bool isExtension) : file_(file), isExtension_(isExtension) {}

AFITSbase::~AFITSbase() = default;

int AFITSbase::Dispatch(int hash) {
  switch (hash) {
    case Hash("BITPIX"):
      return BITPIX();
    case Hash("NAXIS"):
      return NAXIS();
    case Hash("PCOUNT"):
      return PCOUNT();
    case Hash("GCOUNT"):
      return GCOUNT();
    case Hash("PSCAL"):
      return PSCALE();
    case Hash("PZERO"):
      return PZERO();
    case Hash("PTYPE"):
      return PTYPE();
    case Hash("HISTORY"):
      return HISTORY();
    case Hash(""):
      return NULLKEY();
    case Hash("END"):
      return END();
    default:
      return 1;
  }
}

int AFITSbase::BITPIX() {
  if (isReading_) valueBytes_ = card_.iPar() / 8;
  return 1;
}

int AFITSbase::NAXIS() {
  if (!isReading_) return 1;
  if (card_.GetNumber() == -1) {
    naxis_ = ArraySize();
    axisLength_.assign(static_cast<size_t>(naxis_), 0);
  } else if (IndexWithin(axisLength_.size())) {
    axisLength_[static_cast<size_t>(card_.GetNumber()) - 1] = card_.iPar();
  }
  return 1;
}

int AFITSbase::PCOUNT() {
  if (!isReading_) return 1;
  pcount_ = card_.iPar();
  const auto parameters = static_cast<size_t>(std::clamp(pcount_, 0, kFITSMaxIndex));
  pscal_.assign(parameters, 1);
  pzero_.assign(parameters, 0);
  ptype_.assign(parameters, std::string());
  return 1;
}

void AFITSbase::FreeParameters() {
  pscal_ = {};
  pzero_ = {};
  ptype_ = {};
}

int AFITSbase::GCOUNT() {
  return Take(gcount_);
}

int AFITSbase::PSCALE() {
  return IndexWithin(pscal_.size()) ? Take(pscal(card_.GetNumber() - 1)) : 1;
}

int AFITSbase::PZERO() {
  return IndexWithin(pzero_.size()) ? Take(pzero(card_.GetNumber() - 1)) : 1;
}

int AFITSbase::PTYPE() {
  return IndexWithin(ptype_.size()) ? Take(ptype(card_.GetNumber() - 1)) : 1;
}

int AFITSbase::HISTORY() {
  return 1;
}

int AFITSbase::NULLKEY() {
  return 1;
}

int AFITSbase::END() {
  return 1;
}

int AFITSbase::ReadHeader() {
  nextHeader_ = -1;
  isRefused_ = false;
  largestCount_ = 0;
  cards_ = {};
  isReading_ = true;
  const bool isRead = file_ && ReadCards();
  isReading_ = false;
  if (!isRead) return 0;
  // Every axis and every field of a table has a card of its own, so larger counts are not to be believed.
  const int64 room = WholeBlocks(headerEnd_ - headerStart_) / kFITSCard;
  return largestCount_ <= room && file_->Seek(headerEnd_) && LocateData();
}

bool AFITSbase::ReadCards() {
  FITSCardReader reader(*file_);
  headerStart_ = reader.Position();
  std::string text, cards;
  do {
    if (!reader.Next(text)) return false;
    if (reader.Position() - headerStart_ <= kFITSMostHeaderBytes) {
      cards += text;
    } else {
      cards.clear();
    }
    card_.Parse(text);
    Dispatch(card_.GetHash());
  } while (card_.GetHash() != Hash("END"));
  cards.shrink_to_fit();
  cards_ = std::move(cards);
  headerEnd_ = reader.Position();
  return true;
}

std::string_view AFITSbase::CardText(int i) const {
  return std::string_view(cards_).substr(static_cast<size_t>(i) * kFITSCard, kFITSCard);
}

bool AFITSbase::FindCard(const std::string& key, ParseFITSstr& card) const {
  if (key.size() > static_cast<size_t>(kFITSKeyword)) return false;
  std::string field = key;
  field.resize(kFITSKeyword, ' ');
  for (int i = CardCount() - 1; i >= 0; --i) {
    if (CardText(i).substr(0, kFITSKeyword) != field) continue;
    card.Parse(std::string(CardText(i)));
    return true;
  }
  return false;
}

int AFITSbase::SeekToNext() {
  return file_ && file_->Seek(nextHeader_) && nextHeader_ < file_->GetFileSize();
}

int AFITSbase::AxisLength(int axis) const {
  return axis >= 1 && axis <= naxis_ ? axisLength_[static_cast<size_t>(axis) - 1] : 0;
}

int AFITSbase::Take(int& field) const {
  if (isReading_) field = card_.iPar();
  return 1;
}

int AFITSbase::Take(double& field) const {
  if (isReading_) field = card_.dPar();
  return 1;
}

int AFITSbase::Take(std::string& field) const {
  if (isReading_) field = card_.strPar();
  return 1;
}

bool AFITSbase::IndexWithin(size_t size) const {
  return isReading_ && card_.GetNumber() >= 1 && static_cast<size_t>(card_.GetNumber()) <= size;
}

int AFITSbase::ArraySize() {
  const int size = card_.iPar();
  largestCount_ = std::max(largestCount_, size);
  if (size >= 0 && size <= kFITSMaxIndex) return size;
  isRefused_ = true;
  return 0;
}

int AFITSbase::LocateData() {
  if (isRefused_ || pcount_ < 0 || gcount_ < 0) return 0;
  int64 elements = isExtension_ && naxis_ == 0 ? 0 : 1;
  for (int axis = 1; axis <= naxis_; ++axis) {
    const int length = AxisLength(axis);
    if (length < 0) return 0;
    // Random groups have NAXIS1 = 0. More elements than an int counts are refused below, unless a zero follows.
    if (isExtension_ || axis > 1 || length != 0) elements = std::min(elements * length, int64{INT_MAX} + 1);
  }
  const int64 bytes = std::abs(int64{valueBytes_}) * (pcount_ + elements);
  if (bytes > INT_MAX) return 0;
  groupBytes_ = static_cast<int>(bytes);

  // Without a GCOUNT card a primary image counts as having no data; programs rely on it.
  const int64 dataBytes = WholeBlocks(int64{gcount_} * groupBytes_);
  if (headerEnd_ > INT64_MAX - kFITSBlock - dataBytes) return 0;
  dataStart_ = WholeBlocks(headerEnd_);
  nextHeader_ = dataStart_ + dataBytes;
  return 1;
}

AFITSmain::AFITSmain(AFile* file) : AFITSbase(file) {}

AFITSmain::~AFITSmain() = default;

int AFITSmain::Dispatch(int hash) {
  switch (hash) {
    case Hash("BZERO"):
      return BZERO();
    case Hash("BSCALE"):
      return BSCALE();
    case Hash("CTYPE"):
      return CTYPE();
    case Hash("CRVAL"):
      return CRVAL();
    case Hash("CDELT"):
      return CDELT();
    case Hash("CRPIX"):
      return CRPIX();
    case Hash("CROTA"):
      return CROTA();
    case Hash("SIMPLE"):
      return SIMPLE();
    case Hash("EXTEND"):
      return EXTEND();
    case Hash("OBJECT"):
      return OBJECT();
    case Hash("BUNIT"):
      return BUNIT();
    case Hash("EPOCH"):
      return EPOCH();
    case Hash("VELREF"):
      return VELREF();
    case Hash("OBSRA"):
      return OBSRA();
    case Hash("OBSDEC"):
      return OBSDEC();
    case Hash("GROUPS"):
      return GROUP();
    case Hash("BLOCKED"):
      return BLOCKED();
    case Hash("TELESCOP"):
      return TELESCOP();
    case Hash("INSTRUME"):
      return INSTRUME();
    case Hash("OBSERVER"):
      return OBSERVER();
    case Hash("DATE-OBS"):
      return DATE_OBS();
    case Hash("DATE-MAP"):
      return DATE_MAP();
    case Hash("ORIGIN"):
      return ORIGIN();
    default:
      return AFITSbase::Dispatch(hash);
  }
}

int AFITSmain::NAXIS() {
  AFITSbase::NAXIS();
  if (isReading() && card().GetNumber() == -1) {
    axes_.reSize(4, naxis());
    ctype_.assign(static_cast<size_t>(naxis()), std::string());
  }
  return 1;
}

int AFITSmain::BZERO() {
  return Take(bzero_);
}

int AFITSmain::BSCALE() {
  return Take(bscale_);
}

int AFITSmain::CTYPE() {
  return IndexWithin(ctype_.size()) ? Take(ctype(card().GetNumber())) : 1;
}

int AFITSmain::CRVAL() {
  return SetAxisValue(0);
}

int AFITSmain::CDELT() {
  return SetAxisValue(1);
}

int AFITSmain::CRPIX() {
  return SetAxisValue(2);
}

int AFITSmain::CROTA() {
  return SetAxisValue(3);
}

int AFITSmain::SIMPLE() {
  return 1;
}

int AFITSmain::EXTEND() {
  return 1;
}

int AFITSmain::OBJECT() {
  return Take(object_);
}

int AFITSmain::BUNIT() {
  return Take(bunit_);
}

int AFITSmain::EPOCH() {
  return Take(epoch_);
}

int AFITSmain::VELREF() {
  return 1;
}

int AFITSmain::OBSRA() {
  return 1;
}

int AFITSmain::OBSDEC() {
  return 1;
}

int AFITSmain::GROUP() {
  return 1;
}

int AFITSmain::BLOCKED() {
  return 1;
}

int AFITSmain::TELESCOP() {
  return 1;
}

int AFITSmain::INSTRUME() {
  return Take(instrume_);
}

int AFITSmain::OBSERVER() {
  return Take(observer_);
}

int AFITSmain::DATE_OBS() {
  return Take(dateObs_);
}

int AFITSmain::DATE_MAP() {
  return 1;
}

int AFITSmain::ORIGIN() {
  return 1;
}

int AFITSmain::FindAxis(const char* name) const {
  const auto found = std::find_if(ctype_.begin(), ctype_.end(),
                                  [name](const std::string& type) { return type.find(name) != std::string::npos; });
  return found == ctype_.end() ? 0 : static_cast<int>(found - ctype_.begin()) + 1;
}

int AFITSmain::SetAxisValue(int line) {
  return IndexWithin(static_cast<size_t>(axes_.LineLength())) ? Take(axes_(line, card().GetNumber() - 1)) : 1;
}

}  // namespace zeltra
