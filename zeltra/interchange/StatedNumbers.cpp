// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string_view>

#include "zeltra/core/Parse.h"
#include "zeltra/core/Text.h"
#include "zeltra/fits/ParseFITSstr.h"
#include "zeltra/interchange/StatedNumbersInternal.h"

namespace zeltra {
namespace {

constexpr double kMostCounted = std::numeric_limits<int32_t>::max();

struct NumberCard {
  std::string key;   // without its number
  int index;         // -1 if there is none
  std::string text;  // the value; empty if the card states none
  double value = 0;

  bool Is(std::initializer_list<const char*> keys) const {
    return std::any_of(keys.begin(), keys.end(), [this](const char* known) { return key == known; });
  }
  std::string Refusal(const std::string& sentence) const {
    return "the card " + key + (index < 0 ? "" : std::to_string(index)) + " = " + text + " " + sentence;
  }
};

NumberCard CardOf(std::string_view text) {
  ParseFITSstr parsed;
  parsed.Parse(std::string(text));
  // The comment may follow a number without a blank.
  const std::string_view value = text.substr(kFITSKeyword + 1);
  return {parsed.strKey(), parsed.GetNumber(),
          parsed.IsParString() ? parsed.strPar() : Trimmed(value.substr(0, value.find('/')))};
}

// Pass each card that `isMeant` selects to `check`, with its value read. @return the first sentence of `check`, or that
// a value is not a number
template <typename IsMeant, typename Check>
std::string ForEachNumber(const AFITSbase& header, IsMeant isMeant, Check check) {
  for (int i = 0; i < header.CardCount(); ++i) {
    NumberCard card = CardOf(header.CardText(i));
    if (!isMeant(card)) continue;
    if (!card.text.empty() && !strToVal(card.text, card.value)) return card.Refusal("is not a number");
    if (std::string sentence = check(card); !sentence.empty()) return sentence;
  }
  return {};
}

void SetScale(AFITSmain& header, const NumberCard& card, double value) {
  const bool isScale = card.Is({"BSCALE", "PSCAL"});
  if (card.index < 0) {
    (isScale ? header.bscale() : header.bzero()) = value;
  } else {
    (isScale ? header.pscal(card.index - 1) : header.pzero(card.index - 1)) = value;
  }
}

}  // namespace

std::string UnreadableCount(const AFITSbase& header) {
  const auto isMeant = [](const NumberCard& card) {
    return card.Is({"NAXIS"}) || (card.index < 0 && card.Is({"BITPIX", "PCOUNT", "GCOUNT", "TFIELDS"}));
  };
  return ForEachNumber(header, isMeant, [](const NumberCard& card) -> std::string {
    // The handlers stop after the digits, so they would read 1E3 as 1.
    const bool isPlain = IsSimpleFloatParse(card.text) || card.text.empty();
    if (!isPlain || card.value != std::trunc(card.value)) return card.Refusal("is not a whole number");
    if (std::fabs(card.value) <= kMostCounted) return {};
    return card.Refusal(card.key == "GCOUNT" ? "promises more groups than the 2147483647 that a UVX file counts"
                                             : "is beyond 2147483647");
  });
}

std::string SettleScales(AFITSmain& header) {
  const int freq = header.FindAxis("FREQ"), stokes = header.FindAxis("STOKES");
  const auto isScale = [&](const NumberCard& card) {
    return card.index < 0 ? card.Is({"BSCALE", "BZERO"})
                          : card.Is({"PSCAL", "PZERO"}) && card.index >= 1 && card.index <= header.Parameters();
  };
  const auto isMeant = [&](const NumberCard& card) {
    const bool isOfAxis = card.index > 0 && (card.index == freq || card.index == stokes);
    return isScale(card) || (card.index < 0 && card.Is({"BLANK"})) ||
           (isOfAxis && card.Is({"CRVAL", "CDELT", "CRPIX"}));
  };
  return ForEachNumber(header, isMeant, [&](const NumberCard& card) -> std::string {
    if (!isScale(card)) return {};
    const bool isFactor = card.Is({"BSCALE", "PSCAL"});
    if (isFactor && !card.text.empty() && card.value == 0) return card.Refusal("would make every value 0");
    SetScale(header, card, isFactor && card.text.empty() ? 1 : card.value);
    return {};
  });
}

}  // namespace zeltra
