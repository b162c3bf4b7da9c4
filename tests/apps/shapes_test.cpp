#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/kyo_run.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

std::string shapes(std::vector<std::string> args) {
  args.insert(args.begin(), "shapes");
  return kyo_run(args);
}

TEST(kyo_shapes, adds_lists_shows_draws_and_removes) {
  temp_dir dir;
  const std::string lib = dir.file("ships.shp");
  EXPECT_EQ(shapes({"add", lib, "Survey vessel", "line -2,-5 0,6.25", "ellipse 0,0 1,1.5 90"}),
            "0||");
  EXPECT_EQ(shapes({"add", "--type", "3", "--flag", "--at", "0", lib, "Buoy", "ellipse 0,0 .5,.5"}),
            "0||");
  EXPECT_EQ(shapes({"list", lib}),
            "0|0: Buoy (type 3, flag 1)\n1: Survey vessel (type 0, flag 0)\n|");
  EXPECT_EQ(shapes({"show", lib, "Survey vessel"}),
            "0|Survey vessel:\n   SOL:-\n   X:  -2.00 m  Y:  -5.00 m\n   X:   0.00 m  Y:   6.25 m\n"
            "  Ellipse:-\n   Centre X:   0.00 m  Y:   0.00 m\n"
            "   Hor Radius:   1.00 m  Ver Radius:   1.50 m\n|");

  EXPECT_EQ(shapes({"draw", "-o", dir.file("all.svg"), lib}), "0||");
  const std::string all = dir.read("all.svg");
  EXPECT_TRUE(all.starts_with("<?xml") && all.ends_with("</svg>\n"));
  const std::size_t buoy = all.find(">Buoy</text>"), vessel = all.find(">Survey vessel</text>");
  EXPECT_TRUE(buoy < vessel && vessel != std::string::npos) << "the names in list order";
  EXPECT_EQ(shapes({"draw", "--size", "100", "-o", dir.file("one.svg"), lib, "Buoy"}), "0||");
  EXPECT_NE(dir.read("one.svg").find("width=\"100\" height=\"120\""), std::string::npos);

  EXPECT_EQ(shapes({"remove", lib, "Buoy"}), "0||");
  EXPECT_EQ(shapes({"list", lib}), "0|0: Survey vessel (type 0, flag 0)\n|");
}

TEST(kyo_shapes, refuses_bad_descriptions_names_and_files) {
  temp_dir dir;
  const std::string lib = dir.file("ships.shp");
  ASSERT_EQ(shapes({"add", lib, "A", "line 0,0 1,1"}), "0||");
  const std::string before = dir.read("ships.shp");
  const std::string foreign = dir.file("notes.txt");
  dir.write("notes.txt", "not a library");
  const std::string missing = dir.file("none.shp");
  const struct {
    const char* what;
    std::vector<std::string> args;
    std::string result;
  } rows[] = {
      {"a bad number",
       {"add", lib, "B", "line 0,0 1,x"},
       "2||kyo shapes: not a component: 'line 0,0 1,x'\n"},
      {"a name taken",
       {"add", lib, "A", "line 0,0"},
       "1||kyo shapes: '" + lib + "' already holds a shape named 'A'\n"},
      {"a position beyond the end",
       {"add", "--at", "2", lib, "B", "line 0,0"},
       "1||kyo shapes: no position 2 in '" + lib + "' (it holds 1 shapes)\n"},
      {"no such shape",
       {"remove", lib, "Z"},
       "1||kyo shapes: no shape named 'Z' in '" + lib + "'\n"},
      {"no such file", {"list", missing}, "1||kyo shapes: no such file '" + missing + "'\n"},
      {"a folder", {"list", dir.file("")}, "1||kyo shapes: cannot read '" + dir.file("") + "'\n"},
      {"another kind of file",
       {"add", foreign, "B", "line 0,0"},
       "1||kyo shapes: '" + foreign + "' is not a KYO II Mobile Shape Definition File\n"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(shapes(r.args), r.result);
  }
  EXPECT_EQ(dir.read("ships.shp"), before);
  EXPECT_EQ(dir.read("notes.txt"), "not a library");
  EXPECT_FALSE(std::filesystem::exists(missing));
}

}  // namespace
}  // namespace kyo::test
