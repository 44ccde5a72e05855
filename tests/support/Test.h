// What nearly every test uses.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_TEST_H_
#define ZELTRA_TESTS_SUPPORT_TEST_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#endif  // ZELTRA_TESTS_SUPPORT_TEST_H_
