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

  // Bad descriptions, names and files change nothing.
  const std::string before = dir.read("ships.shp");
  const std::string foreign = dir.file("notes.txt"), missing = dir.file("none.shp");
  dir.write("notes.txt", "not a library");
  const std::pair<std::vector<std::string>, std::string> refused[] = {
      {{"add", lib, "B", "line 0,0 1,x"}, "2||kyo shapes: not a component: 'line 0,0 1,x'\n"},
      {{"add", lib, "Buoy", "line 0,0"},
       "1||kyo shapes: '" + lib + "' already holds a shape named 'Buoy'\n"},
      {{"add", "--at", "3", lib, "B", "line 0,0"},
       "1||kyo shapes: no position 3 in '" + lib + "' (it holds 2 shapes)\n"},
      {{"remove", lib, "Z"}, "1||kyo shapes: no shape named 'Z' in '" + lib + "'\n"},
      {{"list", missing}, "1||kyo shapes: no such file '" + missing + "'\n"},
      {{"list", dir.file("")}, "1||kyo shapes: cannot read '" + dir.file("") + "'\n"},
      {{"add", foreign, "B", "line 0,0"},
       "1||kyo shapes: '" + foreign + "' is not a KYO II Mobile Shape Definition File\n"},
  };
  for (const auto& [args, result] : refused) {
    SCOPED_TRACE(result);
    EXPECT_EQ(shapes(args), result);
  }
  EXPECT_EQ(dir.read("ships.shp"), before);
  EXPECT_EQ(dir.read("notes.txt"), "not a library");
  EXPECT_FALSE(std::filesystem::exists(missing));

  EXPECT_EQ(shapes({"remove", lib, "Buoy"}), "0||");
  EXPECT_EQ(shapes({"list", lib}), "0|0: Survey vessel (type 0, flag 0)\n|");
}

}  // namespace
}  // namespace kyo::test
