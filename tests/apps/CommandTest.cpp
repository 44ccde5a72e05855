// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

#include "tests/support/RunZeltra.h"
#include "tests/support/SyntheticFITS.h"
#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace zeltra::test {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> Cells(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream stream(line);
  for (std::string cell; std::getline(stream, cell, ',');) cells.push_back(cell);
  return cells;
}

// A UVX file on disk.
class Given : public TempFile {
 public:
  explicit Given(const SyntheticUVX& builder) : TempFile("uvx") { Put(builder.Bytes()); }
};

TEST(Command, TellsItsUsage) {
  const std::string all = RunZeltra({"--help"}).out;
  for (const char* command : {"import", "export", "info", "records", "table", "simulate", "register"}) {
    const Finished help = RunZeltra({command, "--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_THAT(help.out, HasSubstr(std::string("Usage: zeltra ") + command));
    EXPECT_THAT(all, HasSubstr(command));
  }
  EXPECT_THAT(RunZeltra({"--version"}).out, StartsWith("zeltra "));
  const std::vector<std::vector<std::string>> mistakes = {{},
                                                          {"dance"},
                                                          {"info"},
                                                          {"info", "a", "b"},
                                                          {"records", "a", "--csv", "--json"},
                                                          {"records", "a", "--from", "0"},
                                                          {"simulate", "a", "--antennas", "many"}};
  for (const auto& arguments : mistakes) {
    const Finished wrong = RunZeltra(arguments);
    EXPECT_EQ(wrong.code, 2);
    EXPECT_THAT(wrong.err, HasSubstr("zeltra: error: "));
    EXPECT_EQ(wrong.out, "");
  }
  EXPECT_THAT(RunZeltra({"avrage", "a"}).err, HasSubstr("no command 'avrage'; did you mean 'average'?"));
}

TEST(Command, RefusesWhatIsNoWholeUVXFile) {
  const auto error = [](const std::string& path) {
    const Finished run = RunZeltra({"info", path});
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("zeltra: error: " + path));
    return run.err;
  };
  EXPECT_THAT(error("missing.uvx"), HasSubstr("no such file"));
  EXPECT_THAT(error(Given(SyntheticUVX().Uncommitted()).path()), HasSubstr("writer did not finish"));
  TempFile fits("fits");
  fits.Put("SIMPLE  =                    T");
  EXPECT_THAT(error(fits.path()), HasSubstr("no END card"));
  // 6 records of 26 + 2 x 2 x 12 bytes begin at byte 481; the fourth is cut short.
  EXPECT_THAT(error(Given(SyntheticUVX().Cut(481 + 3 * 74 + 70)).path()),
              HasSubstr("promises 6 records and holds 3, up to byte 703"));
  EXPECT_THAT(error(Given(SyntheticUVX().Put(16, -5)).path()), HasSubstr("481 bytes"));
}

TEST(Command, ReadsUVFITSAsWell) {
  const auto parameter = [](int group, int i) { return i == 3 ? 258.0 + group : group / 1024.0; };
  const auto value = [](int group, int element) { return group + element / 64.0; };
  TempFile fits("uvfits"), uvx("uvx");
  fits.Put(SyntheticFITS::UV(2, 1, 2).Groups(3, parameter, value).Bytes());
  ASSERT_EQ(RunZeltra({"import", fits.path(), uvx.path()}).code, 0);
  for (const char* count : {"3", "1"}) {
    const Finished direct = RunZeltra({"records", fits.path(), "--csv", "--count", count});
    EXPECT_EQ(direct.code, 0) << direct.err;
    EXPECT_EQ(direct.out, RunZeltra({"records", uvx.path(), "--csv", "--count", count}).out);
  }
}

TEST(InfoCommand, PrintsTheObject) {
  const Given file(SyntheticUVX().Antennas(3).Sources(2).IFs(2).Channels(4).Tables());
  const Finished run = RunZeltra({"info", file.path(), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  const ordered_json info = ordered_json::parse(run.out);
  std::string keys;
  for (const auto& [key, value] : info.items()) keys += key + " ";
  EXPECT_EQ(keys,
            "records stokes stokes_names ifs channels freq0_hz epoch date_obs date_obs_jd bunit observer telescope "
            "record_bytes data_offset ranges tables antennas array_center sources scans frequencies ");
  const ordered_json expected = {{"records", 12},
                                 {"stokes", {-1, -2}},
                                 {"stokes_names", {"RR", "LL"}},
                                 {"ifs", 2},
                                 {"channels", 4},
                                 {"freq0_hz", 1.4e9},
                                 {"date_obs", "2017-01-01"},
                                 {"data_offset", 481},
                                 {"observer", "OBSERVER"},
                                 {"date_obs_jd", 2457754.5},
                                 {"record_bytes", 26 + 2 * 4 * 2 * 12},
                                 {"bunit", "JY"}};
  for (const auto& [key, value] : expected.items()) EXPECT_EQ(info[key], value) << key;
  EXPECT_EQ(info["ranges"]["time"][0], SyntheticUVX::kStart);
  EXPECT_EQ(info["tables"][0]["offset"], 481 + 12 * (26 + 192) + 2050);
  EXPECT_EQ(info["antennas"][1], ordered_json({{"id", 2}, {"name", "ANT2"}, {"x", 200.0}, {"y", 20.0}, {"z", 2.0}}));
  EXPECT_EQ(info["sources"][1]["name"], "SRC2");
  EXPECT_EQ(info["sources"][1]["ra_epoch"], 20.0);
  ASSERT_EQ(info["scans"].size(), 2u);
  EXPECT_EQ(info["scans"][1]["last"], 12);
  // The times of an index are 32-bit floats of days.
  EXPECT_NEAR(info["scans"][0]["start_s"].get<double>(), 6 * 3600, 0.01);
  EXPECT_EQ(info["frequencies"][0]["ifs"][1], ordered_json({{"start_hz", 1.5e9}, {"delta_hz", 1e6}}));
}

TEST(InfoCommand, PrintsAPage) {
  const Given file(SyntheticUVX().Sources(2).Tables());
  const std::string page = RunZeltra({"info", file.path()}).out;
  for (const char* text : {"2017-01-01 06:00:00.0", "RR, LL", "SRC2", "01:20:00.0", "+02:00:00.0", "ANT3", "7-12"}) {
    EXPECT_THAT(page, HasSubstr(text));
  }
  const Finished empty = RunZeltra({"info", Given(SyntheticUVX().Times(0)).path()});
  EXPECT_EQ(empty.code, 0);
  EXPECT_THAT(empty.out, HasSubstr("0 records"));
}

TEST(InfoCommand, TellsOfDamagedTables) {
  SyntheticUVXTable table{"ZZ"};
  table.columns = {{"LONG", "", "1J"}};
  SyntheticUVX builder = SyntheticUVX().Table(table.Row(5));
  // The number of rows follows the ID and the number of keywords, which is 0.
  const Given file(builder.Put(builder.DirectoryOffset() + 2050 + 6, 1 << 30));
  const Finished run = RunZeltra({"info", file.path(), "--json"});
  EXPECT_EQ(run.code, 0);
  EXPECT_THAT(run.err, HasSubstr("table ZZ at byte 2975 is damaged"));
  EXPECT_EQ(json::parse(run.out)["tables"][0]["code"], "ZZ");
  const Finished print = RunZeltra({"table", file.path(), "ZZ"});
  EXPECT_EQ(print.code, 1);
  EXPECT_THAT(print.err, HasSubstr("table ZZ at byte 2975 is damaged"));
}

TEST(RecordsCommand, PrintsCSVAndJSON) {
  const float third = 1.0f / 3;
  const Given file(SyntheticUVX().Times(1).Channels(1).IFs(2).Edit([=](SyntheticRecord& record) {
    record.ant2 = record.index == 2 ? 200 : record.ant2;
    record.values[0].re = third;
    record.values[1].im = std::numeric_limits<float>::infinity();
    record.values[3].weight = std::numeric_limits<float>::quiet_NaN();
  }));
  const Finished run = RunZeltra({"records", file.path(), "--csv"});
  ASSERT_EQ(run.code, 0) << run.err;
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(
      lines[0],
      "index,time,ant1,ant2,source,freqsel,u,v,w,re_1_1_RR,im_1_1_RR,weight_1_1_RR,re_1_1_LL,im_1_1_LL,weight_1_1_LL,"
      "re_2_1_RR,im_2_1_RR,weight_2_1_RR,re_2_1_LL,im_2_1_LL,weight_2_1_LL");
  const std::vector<std::string> cells = Cells(lines[3]);
  ASSERT_EQ(cells.size(), 21u);
  EXPECT_EQ(std::strtod(cells[1].c_str(), nullptr), SyntheticUVX::kStart);
  EXPECT_EQ(cells[3], "200");
  EXPECT_EQ(std::strtod(cells[9].c_str(), nullptr), static_cast<double>(third));
  EXPECT_EQ(cells[12], "2.0009765625");
  EXPECT_EQ(cells[20], "nan");
  const json records = json::parse(RunZeltra({"records", file.path(), "--json"}).out);
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[2]["ant2"], 200);
  EXPECT_EQ(records[2]["re_1_1_LL"], 2.0009765625);
  EXPECT_TRUE(records[2]["im_1_1_LL"].is_null());
}

TEST(RecordsCommand, PrintsTextThatFitsALine) {
  const Given file(SyntheticUVX().Channels(1000));
  const Finished run = RunZeltra({"records", file.path()});
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_EQ(lines.size(), 7u);
  EXPECT_THAT(lines[1], HasSubstr("2017-01-01 06:00:00.0"));
  for (const std::string& line : lines) EXPECT_LT(line.size(), 160u);
  EXPECT_THAT(run.err, HasSubstr("of 2000 values"));
  EXPECT_THAT(RunZeltra({"records", file.path(), "--quiet"}).err, Not(HasSubstr("2000")));
}

TEST(RecordsCommand, SelectsRecords) {
  const Given file(
      SyntheticUVX().Sources(2).Edit([](SyntheticRecord& record) { record.frqsel = 1 + record.index % 3; }));
  const auto indices = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"records", file.path(), "--csv"});
    std::string list;
    for (const std::string& line : Lines(RunZeltra(options).out)) list += Cells(line)[0] + " ";
    return list;
  };
  EXPECT_EQ(indices({}), "index 1 2 3 4 5 6 7 8 9 10 11 12 ");
  EXPECT_EQ(indices({"--from", "10"}), "index 10 11 12 ");
  EXPECT_EQ(indices({"--from", "4", "--count", "3"}), "index 4 5 6 ");
  EXPECT_EQ(indices({"--count", "0"}), "index ");
  EXPECT_EQ(indices({"--source", "2"}), "index 7 8 9 10 11 12 ");
  EXPECT_EQ(indices({"--source", "2", "--freqsel", "3", "--from", "2"}), "index 9 12 ");

  const Finished none = RunZeltra({"records", file.path(), "--csv", "--source", "7"});
  EXPECT_EQ(none.code, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_THAT(none.err, HasSubstr("no record is selected; there are source 1 in setup 1, source 1 in setup 2"));
  EXPECT_EQ(RunZeltra({"records", file.path(), "--from", "13"}).code, 1);
}

TEST(RecordsCommand, StreamsManyBlocks) {
  // 6 records of 768 kB, read six at a time at most.
  const Given file(SyntheticUVX().Times(4).Channels(32000));
  const Finished run = RunZeltra({"records", file.path(), "--csv", "--from", "2"});
  const std::vector<std::string> lines = Lines(run.out);
  ASSERT_EQ(lines.size(), 12u);
  for (size_t i = 1; i < lines.size(); ++i) {
    EXPECT_THAT(lines[i], StartsWith(std::to_string(i + 1) + ","));
    // The last value: number 63999 of record i.
    EXPECT_EQ(Cells(lines[i])[9 + 3 * 63999], json(static_cast<double>(static_cast<float>(i + 63999.0 / 1024))).dump());
  }
}

TEST(TableCommand, PrintsRows) {
  const Given file(SyntheticUVX().Tables());
  const std::vector<std::string> lines = Lines(RunZeltra({"table", file.path(), "AN", "--csv"}).out);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_THAT(lines[0], HasSubstr("STABXYZ[1],STABXYZ[2],STABXYZ[3]"));
  EXPECT_THAT(lines[2], HasSubstr("ANT2,200,20,2"));
  EXPECT_THAT(RunZeltra({"table", file.path(), "an"}).out, HasSubstr("ANT2"));
  EXPECT_EQ(json::parse(RunZeltra({"table", file.path(), "AN", "--json"}).out)[1]["STABXYZ[2]"], 20);
  const Finished none = RunZeltra({"table", file.path(), "XX"});
  EXPECT_EQ(none.code, 1);
  for (const char* code : {"AN", "SU", "FQ", "NX"}) EXPECT_THAT(none.err, HasSubstr(code));
}

TEST(TableCommand, PrintsEveryKindOfColumn) {
  SyntheticUVXTable table{"ZZ"};
  table.columns = {{"TEXT", "", "8A"}, {"FLAG", "", "2L"},   {"BITS", "", "8X"},   {"SHORT", "", "1I"},
                   {"LONG", "", "1J"}, {"SINGLE", "", "1E"}, {"DOUBLE", "", "1D"}, {"NONE", "", "0D"}};
  table.Row(std::string("a,\"b\"   TF"), uint8_t{0x80}, int16_t{-7}, 2147483647, 0.1f, 0.1);
  const Given file(SyntheticUVX().Table(table).Table({"ZZ"}));
  const Finished run = RunZeltra({"table", file.path(), "ZZ", "--csv"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out,
            "TEXT,FLAG[1],FLAG[2],BITS,SHORT,LONG,SINGLE,DOUBLE\n"
            "\"a,\"\"b\"\"\",T,F,0x80,-7,2147483647,0.10000000149011612,0.1\n");
  EXPECT_EQ(RunZeltra({"table", file.path(), "ZZ", "--version", "3"}).code, 1);
  EXPECT_EQ(RunZeltra({"table", file.path(), "ZZ", "--version", "2", "--json"}).out, "[]\n");
}

TEST(SimulateCommand, MakesAFileOfAnyName) {
  const TempFile file("\xC3\xA9t\xC3\xA9 \xD1\x82\xD0\xB5\xD1\x81\xD1\x82.uvx");
  const std::vector<std::string> arguments = {"simulate",   file.path(), "--minutes", "2",
                                              "--antennas", "3",         "--ifs",     "1"};
  ASSERT_EQ(RunZeltra(arguments).code, 0);
  const json info = json::parse(RunZeltra({"info", file.path(), "--json"}).out);
  // 12 integrations of 10 s and 3 baselines; scans of 2 integrations lose none.
  EXPECT_EQ(info["records"], 36);
  EXPECT_EQ(info["antennas"].size(), 3u);
  EXPECT_EQ(info["frequencies"][0]["ifs"].size(), 1u);
  const Finished again = RunZeltra(arguments);
  EXPECT_EQ(again.code, 1);
  EXPECT_THAT(again.err, HasSubstr("exists"));
  EXPECT_EQ(RunZeltra({"simulate", file.path(), "--force", "--seed", "18446744073709551615"}).code, 0);
}

TEST(Command, CountsTimesOfDayFromTheObservationDate) {
  // Three baselines, each at 06:00:00 and 06:00:10.
  const Given file(SyntheticUVX().Tables());
  const auto lines = [&](std::vector<std::string> options) {
    options.insert(options.begin(), {"average", file.path(), "--csv", "--interval", "-1"});
    return Lines(RunZeltra(options).out).size();
  };
  EXPECT_EQ(lines({}), 7u);
  EXPECT_EQ(lines({"--start", "06:00:05"}), 4u);
  EXPECT_EQ(lines({"--start", "2017-01-01T06:00:05", "--stop", "+1/00:00"}), 4u);
  const TempFile out("uvx");
  EXPECT_THAT(RunZeltra({"copy", file.path(), out.path(), "--stop", "6h0m5s"}).err, HasSubstr("3 of 6 records"));
  // The observation date is at byte 28.
  const Given dateless(SyntheticUVX().Tables().Put(28, 0.0));
  EXPECT_THAT(RunZeltra({"copy", dateless.path(), out.path(), "-f", "--stop", "06:00"}).err,
              HasSubstr("has no observation date"));
}

#ifndef _WIN32
TEST(Command, FailsWhenItsOutputIsNotTaken) {
  const Given file(SyntheticUVX().Tables());
  for (const char* command : {"info", "records", "table"}) {
    const std::string code = std::string(command) == "table" ? " AN" : "";
    const std::string line = ZELTRA_COMMAND " " + (command + (" " + file.path())) + code + " > /dev/full 2> /dev/null";
    const int status = std::system(line.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1) << line;
  }
}

#endif

}  // namespace
}  // namespace zeltra::test
