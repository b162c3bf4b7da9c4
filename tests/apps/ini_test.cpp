#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/kyo_run.h"
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

}  // namespace
}  // namespace kyo::test
