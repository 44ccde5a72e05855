// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/support/TempFile.h"
#include "zeltra/calibration/AGainArray.h"

namespace zeltra {
namespace {

AGainArrayItem Item(double time, int antenna, int ifIndex = 0, int hand = 0) {
  AGainArrayItem item;
  item.time = time;
  item.antenna = static_cast<uint8_t>(antenna);
  item.ifIndex = static_cast<int16_t>(ifIndex);
  item.hand = static_cast<int8_t>(hand);
  item.rate = 0.125;
  return item;
}

TEST(AGainArray, BothFamiliesHaveOneImage) {
  const test::TempFile one("gain"), other("gain");
  AGainArray array;
  AObjArray<AGainArrayItem> objects;
  for (int i = 0; i < 300; ++i) {
    array.Append(Item(i, 200));
    objects.Add(Item(i, 200));
  }
  const auto store = [](auto& list, const test::TempFile& file) {
    AFile to;
    ASSERT_TRUE(to.Open(file.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary) && list.Store(to));
  };
  store(array, one);
  store(objects, other);
  EXPECT_EQ(one.Bytes().size(), 4u + 300 * 58);
  EXPECT_EQ(one.Bytes(), other.Bytes());
  one.Put(one.Bytes().substr(0, 4 + 299 * 58 + 57));
  AFile cut;
  ASSERT_TRUE(cut.Open(one.c_str(), AFile::Binary));
  EXPECT_FALSE(AObjArray<AGainArrayItem>().Load(cut));
  test::OpenTempFile full;
  full.largest = AGainArrayItem::kBytes - 1;
  EXPECT_FALSE(Item(0, 1).Store(full));
}

TEST(AGainArray, IsSortedAndLookedUp) {
  AGainArray array, more;
  for (const double time : {2.0, 1.0}) array.Append(Item(time, 3, 1, 1));
  more.Append(Item(1, 3, 0, 1));
  more.Append(Item(1, 2, 1, 1));
  array.Append(more);
  EXPECT_EQ(array.Series({3, 1, 1}), (std::vector<int>{2, 3}));
  EXPECT_EQ(array.Find(2, {3, 1, 1}), 3);
  EXPECT_EQ(array.Find(1.5, {3, 1, 1}), -1);
  EXPECT_EQ(array.Keys().size(), 3u);
}

}  // namespace
}  // namespace zeltra
