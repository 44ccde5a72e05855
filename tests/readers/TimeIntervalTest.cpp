// SPDX-License-Identifier: MIT
#include <tuple>

#include "tests/support/OpenUVX.h"
#include "tests/support/Test.h"
#include "zeltra/readers/AUVXTimeIntervalRead.h"

namespace zeltra::test {
namespace {

// An interval: its bounds as the reader passes them, and the indices of its records.
using Interval = std::tuple<double, double, std::vector<int>>;

class Collector : public AUVXTimeIntervalRead {
 public:
  using AUVXTimeIntervalRead::AUVXTimeIntervalRead;
  void* GetArray() override { return &interval_; }
  void AllocateArray() override { interval_ = {}; }
  void AddToArray(AUVXGroup&, AUVXVisibility&, int pos, double t1, double t2) override {
    std::get<0>(interval_) = t1;
    std::get<1>(interval_) = t2;
    std::get<2>(interval_).push_back(pos);
  }

 private:
  Interval interval_;
};

// A file of one baseline with these record times.
class Times {
 public:
  explicit Times(std::vector<double> times, int flagged = -1)
      : file_(SyntheticUVX()
                  .Antennas(2)
                  .Times(static_cast<int>(times.size()))
                  .Tables()
                  .Edit([=](SyntheticRecord& record) {
                    record.date = times[static_cast<size_t>(record.index)];
                    record.flag = record.index == flagged;
                  })) {}

  std::vector<Interval> Cut(double start, double stop, double interval) {
    AUVXRead reader(&file_.uvx, 1, nullptr);
    Collector collector(&reader, start, stop, interval);
    std::vector<Interval> intervals;
    while (void* array = collector.GetTimeInterval()) {
      intervals.push_back(*static_cast<Interval*>(array));
      if (intervals.size() > 100) break;
    }
    EXPECT_EQ(collector.GetTimeInterval(), nullptr);
    return intervals;
  }

 private:
  OpenUVX file_;
};

using List = std::vector<Interval>;

TEST(TimeIntervals, AreAlignedToTheStartAndNeverEmpty) {
  Times times({3, 7, 12, 25});
  EXPECT_EQ(times.Cut(0, 100, 10), (List{{0, 10, {0, 1}}, {10, 20, {2}}, {20, 30, {3}}}));
  EXPECT_EQ(times.Cut(2, 100, 5), (List{{2, 7, {0}}, {7, 12, {1}}, {12, 17, {2}}, {22, 27, {3}}}));
  EXPECT_EQ(times.Cut(7, 100, 10), (List{{7, 17, {1, 2}}, {17, 27, {3}}})) << "earlier records are skipped";
  EXPECT_EQ(times.Cut(26, 100, 10), List{});
}

TEST(TimeIntervals, EndAtTheStopTime) {
  Times times({3, 10, 12, 20, 20, 20.5, 25});
  EXPECT_EQ(times.Cut(0, 20, 10), (List{{0, 10, {0}}, {10, 20, {1, 2, 3, 4}}})) << "a record at the stop time is in";
  EXPECT_EQ(times.Cut(0, 19, 10), (List{{0, 10, {0}}, {10, 20, {1, 2}}}));
  EXPECT_EQ(times.Cut(0, 2.5, 1), List{});
}

TEST(TimeIntervals, OfNegativeLengthAreTheDistinctTimes) {
  Times times({3, 3.000009, 7, 12, 12});
  const List expected = {{3, 3, {0, 1}}, {7, 7, {2}}, {12, 12, {3, 4}}};
  EXPECT_EQ(times.Cut(0, 100, -1), expected);
  EXPECT_EQ(times.Cut(0, 100, 0), expected) << "an interval without length would never get on";
  EXPECT_EQ(times.Cut(0, 7, -1), (List{{3, 3, {0, 1}}, {7, 7, {2}}}));
}

TEST(TimeIntervals, LeaveOutFlaggedRecords) {
  EXPECT_EQ(Times({3, 7, 12}, 0).Cut(0, 100, 10), (List{{0, 10, {1}}, {10, 20, {2}}}));
  EXPECT_EQ(Times({3, 7, 12}, 2).Cut(0, 100, 10), (List{{0, 10, {0, 1}}}));
}

TEST(TimeIntervals, OfASecondHoldAllRecordsOfAStampOnTheirBound) {
  const auto stamp = [](int i) { return 2457754.5 + (i / 10 + 0.5) / 86400; };
  std::vector<double> stamps;
  for (int i = 0; i < 600; ++i) stamps.push_back(stamp(25200 * 10 + i));
  const std::vector<Interval> found = Times(stamps).Cut(stamp(0), 1e38, 1 / 86400.0);
  ASSERT_EQ(found.size(), 60U);
  EXPECT_EQ(std::get<2>(found.back()).size(), 10U);
}

TEST(TimeIntervals, DeliverEveryRecordWhateverTheArithmetic) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  // Two seconds in intervals of one, with the origin of the grid 2.4e6 days away, close by, or absurdly far.
  std::vector<double> seconds;
  for (int i = 0; i < 20; ++i) seconds.push_back(2457754.75 + i / 864000.0);
  for (const double start : {0.0, 2457754.0, -1e38}) {
    for (const double interval : {1 / 86400.0, 1e-300, nan, 1e308}) {
      std::vector<int> records;
      for (const Interval& found : Times(seconds).Cut(start, 1e300, interval)) {
        EXPECT_FALSE(std::get<2>(found).empty());
        records.insert(records.end(), std::get<2>(found).begin(), std::get<2>(found).end());
      }
      EXPECT_EQ(records.size(), 20U) << start << ", " << interval;
    }
  }
  EXPECT_EQ(Times({nan, nan}).Cut(0, 100, 10).size(), 2U);
}

}  // namespace
}  // namespace zeltra::test
