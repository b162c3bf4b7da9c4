// The kyo program's file commands: ini reads and edits as the library does, inspect lists an
// object stream and says where it is damaged, shapes edits and draws a shape library.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/kyo_run.h"
#include "core/object_stream_types.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

TEST(kyo_ini, reads_and_edits_a_file_as_the_library_does) {
  temp_dir dir;
  dir.write("kyo.ini",
            "; job\r\n[ProjectInfo]\r\nCompany=Acme\r\nClient = \"Port\"\r\n"
            "[Custom]\r\nOutputNmrcsCount=0,,32\r\n[projectinfo]\r\nLate=x\r\n");
  const std::string f = dir.file("kyo.ini");
  const std::pair<std::vector<std::string>, std::string> steps[] = {
      {{"get", f, "PROJECTINFO", "client"}, "0|Port\n|"},
      {{"list", f, "projectinfo"}, "0|Company=Acme\nClient=Port\n|"},
      {{"get", f, "Custom", "Nope"},
       "1||kyo ini: no key 'Nope' in section [Custom] of '" + f + "'\n"},
      {{"set", f, "projectinfo", "COMPANY", "Acme Ltd"}, "0||"},
      {{"delete", f, "Custom"}, "0||"},
      {{"delete", f, "ProjectInfo", "client"}, "0||"},
      // Options come before the arguments: a value may look like one.
      {{"set", "--", f, "S", "--help", "--"}, "0||"},
  };
  for (auto [args, expected] : steps) {
    args.insert(args.begin(), "ini");
    EXPECT_EQ(kyo_run(args), expected) << testing::PrintToString(args);
  }
  EXPECT_EQ(dir.read("kyo.ini"),
            "; job\r\n[ProjectInfo]\r\nCompany=Acme Ltd\r\n[projectinfo]\r\n"
            "Late=x\r\n\r\n[S]\r\n--help=--\r\n");
  EXPECT_TRUE(kyo_run({"ini", "frobnicate", f}).starts_with("2||kyo: "));
}

TEST(kyo_inspect, lists_what_a_file_holds_and_says_where_it_is_damaged) {
  temp_dir dir;
  std::ostringstream stream;
  opstream os(stream);
  writePtr(os, make_sample_tree().get());
  const std::string body = stream.str(), head = bytes::config_header("KYO TEST FILE", "1.0");
  // What is written to f.bin, then what the listing starts with and holds.
  const std::tuple<std::string, std::string, std::vector<std::string>> rows[] = {
      {head + body + '\0',
       "0|",
       {"header: signature \"KYO TEST FILE\", version \"1.0\", marker 0x1a",
        "@23 #0 \"test_node\" v1", "    -> #0 (test_node)" /* a's buddy, two deep */,
        "  #1 \"test_node\" v1", "  data 20 bytes\n" /* name "root", value and x */, "null\n"}},
      {body.substr(0, body.size() - 3), "1|", {"header: none", "runs past its end"}},
  };
  for (const auto& [content, code, parts] : rows) {
    dir.write("f.bin", content);
    const std::string got = kyo_run({"inspect", dir.file("f.bin")});
    EXPECT_TRUE(got.starts_with(code)) << got;
    for (const std::string& part : parts)
      EXPECT_NE(got.find(part), std::string::npos) << "no \"" << part << "\" in\n" << got;
  }
}

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
