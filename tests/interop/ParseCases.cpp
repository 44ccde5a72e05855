// Reads every line of standard input as a number and as an angle, for parse_test.py.
// SPDX-License-Identifier: MIT
#include <iostream>

#include "zeltra/core/Parse.h"
#include "zeltra/core/Text.h"

int main() {
  for (std::string line; std::getline(std::cin, line);) {
    double number = 0, angle = 0;
    const bool isNumber = static_cast<bool>(zeltra::strToVal(line, number));
    const bool isAngle = static_cast<bool>(zeltra::strToAngle(line, angle));
    std::cout << (isNumber ? zeltra::valToStr(number) : "-") << " " << (isAngle ? zeltra::valToStr(angle) : "-")
              << "\n";
  }
}
