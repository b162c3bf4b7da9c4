#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/kyo_run.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

TEST(kyo_shapes, adds_lists_shows_draws_removes_and_refuses_bad_input) {
  temp_dir dir;
  const std::string lib = dir.file("ships.shp");
  const auto shapes = [](std::vector<std::string> args) {
    args.insert(args.begin(), "shapes");
    return kyo_run(args);
  };
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
  EXPECT_EQ(shapes({"draw", "--size", "100", "-o", dir.file("one.svg"), lib, "Buoy"}), "0||");
  EXPECT_NE(dir.read("one.svg").find("width=\"100\" height=\"120\""), std::string::npos);
  // Bad descriptions and names change nothing.
  const std::string before = dir.read("ships.shp");
  EXPECT_EQ(shapes({"add", lib, "B", "line 0,0 1,x"}),
            "2||kyo shapes: not a component: 'line 0,0 1,x'\n");
  EXPECT_EQ(dir.read("ships.shp"), before);
  EXPECT_EQ(shapes({"remove", lib, "Buoy"}), "0||");
  EXPECT_EQ(shapes({"list", lib}), "0|0: Survey vessel (type 0, flag 0)\n|");
}

}  // namespace
}  // namespace kyo::test
