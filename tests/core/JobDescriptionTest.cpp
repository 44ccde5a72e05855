// SPDX-License-Identifier: MIT
#include "zeltra/core/JobDescription.h"

#include <gmock/gmock.h>

#include "tests/support/Test.h"

namespace zeltra::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct BakeOptions : JobOptions {
  double size = 0.5;
  int layers = 3;
  std::optional<int> oven;
  std::vector<std::string> nuts;
  std::vector<int> tins;
  bool isSweet = true;
  std::optional<ATime> start;
};

AJobDescription DescribeBake() {
  AJobDescriber<BakeOptions> job("bake", "Bake a cake");
  job.Option("size", &BakeOptions::size, "").Scale(0.01).Range(1, 100).Or(-1);
  job.Option("layers", &BakeOptions::layers, "").From(1);
  job.Option("oven", &BakeOptions::oven, "").Otherwise("any");
  job.Option("nuts", &BakeOptions::nuts, "");
  job.Option("tins", &BakeOptions::tins, "").From(1);
  job.Choice<bool BakeOptions::*, bool>("taste", &BakeOptions::isSweet, {{"salty", false}, {"sweet", true}}, "");
  job.Option("start", &BakeOptions::start, "");
  job.Overwrite();
  return job.Finish();
}

TEST(JobDescription, TellsTheDefaultsOfTheOptionsThemselves) {
  const AJobDescription job = DescribeBake();
  std::string defaults;
  for (const AJobOption& option : job.options) defaults += option.name + "=" + job.DefaultOf(option) + " ";
  EXPECT_EQ(defaults, "size=50 layers=3 oven=any nuts= tins= taste=sweet start= force= no-sync= ");
  EXPECT_EQ(job.Find("size")->RangeText(), "-1 or from 1 to 100");
  EXPECT_EQ(job.Find("taste")->form, "salty|sweet");
  EXPECT_EQ(job.Find("cream"), nullptr);
}

TEST(JobDescription, ReadsTextsIntoTheOptions) {
  const AJobDescription job = DescribeBake();
  BakeOptions options;
  const std::vector<std::pair<const char*, const char*>> texts = {
      {"size", "20"},  {"layers", "1"}, {"oven", "-2"},     {"nuts", "pecan, hazel"}, {"nuts", "pine"},
      {"tins", "2-3"}, {"tins", "9"},   {"taste", "salty"}, {"start", "+1/06:00"},    {"force", ""}};
  for (const auto& [name, text] : texts) EXPECT_TRUE(job.Set(options, name, text)) << name;
  EXPECT_EQ(options.size, 0.2);
  EXPECT_EQ(options.layers, 1);
  EXPECT_EQ(options.oven, -2);
  EXPECT_THAT(options.nuts, ElementsAre("pecan", "hazel", "pine"));
  EXPECT_THAT(options.tins, ElementsAre(2, 3, 9));
  EXPECT_FALSE(options.isSweet);
  EXPECT_EQ(options.start->JulianDate(100), 101.25);
  EXPECT_TRUE(options.overwrite);
  EXPECT_TRUE(options.sync);
  EXPECT_EQ(job.Command(options),
            "zeltra bake --size 20 --layers 1 --oven -2 --nuts pecan,hazel,pine --tins 2-3,9 --taste salty "
            "--start +1/06:00:00.000");
  EXPECT_EQ(job.Command(BakeOptions()), "zeltra bake");
  EXPECT_TRUE(job.Set(options, "size", "-1") && job.Set(options, "force", "false") && job.Set(options, "no-sync", ""));
  EXPECT_FALSE(options.overwrite || options.sync);
}

TEST(JobDescription, ComplainsInOneSentence) {
  const AJobDescription job = DescribeBake();
  BakeOptions options;
  const auto complaint = [&](const char* name, const char* text) { return job.Set(options, name, text).message(); };
  EXPECT_EQ(complaint("size", "0.5"), "size: \"0.5\" is out of range: -1 or from 1 to 100");
  EXPECT_EQ(complaint("layers", "many"), "layers: \"many\" is not a whole number");
  EXPECT_EQ(complaint("taste", "sour"), "taste: \"sour\" is none of salty, sweet");
  EXPECT_EQ(complaint("cream", "1"), "bake has no option cream");
  EXPECT_THAT(complaint("tins", "0"), HasSubstr("from 1 on"));
  for (const char* name : {"size", "layers", "oven", "nuts", "tins", "taste", "start"}) {
    EXPECT_NE(complaint(name, ""), "") << name;
  }
  EXPECT_NE(complaint("force", "maybe"), "");
}

}  // namespace
}  // namespace zeltra::test
