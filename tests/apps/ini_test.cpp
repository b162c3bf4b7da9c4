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
  const std::string f = dir.file("kyo.ini"), none = dir.file("none.ini");
  const std::vector<std::pair<std::vector<std::string>, std::string>> steps = {
      {{"get", f, "PROJECTINFO", "client"}, "0|Port\n|"},
      {{"list", f}, "0|ProjectInfo\nCustom\n|"},
      {{"list", f, "projectinfo"}, "0|Company=Acme\nClient=Port\n|"},
      {{"get", f, "Custom", "Nope"},
       "1||kyo ini: no key 'Nope' in section [Custom] of '" + f + "'\n"},
      {{"list", f, "Nope"}, "1||kyo ini: no section [Nope] in '" + f + "'\n"},
      {{"get", none, "A", "k"},
       "1||kyo ini: cannot read '" + none + "': No such file or directory\n"},
      {{"set", f, "projectinfo", "COMPANY", "Acme Ltd"}, "0||"},
      {{"set", f, "Alarms", "Count", "2"}, "0||"},
      {{"delete", f, "Custom"}, "0||"},
      {{"delete", f, "ProjectInfo", "client"}, "0||"},
      {{"delete", f, "ProjectInfo", "client"},
       "1||kyo ini: no key 'client' in section [ProjectInfo] of '" + f + "'\n"},
      {{"set", f, "A", "k=", "v"},
       "1||kyo ini: cannot write '" + f + "': a name or value would break the file (line break, " +
           "']' in a section, '=' in a key, or a key starting with ';' or '[')\n"},
      // Options come before the arguments: a value may look like one.
      {{"set", f, "S", "k", "-h"}, "0||"},
      {{"set", "--", f, "S", "--help", "--"}, "0||"},
      {{"get", f, "s", "K"}, "0|-h\n|"},
      {{"get", f, "s", "--help"}, "0|--\n|"},
      {{"set", dir.file("new.ini"), "S", "k", "v"}, "0||"},
  };
  for (auto [args, expected] : steps) {
    SCOPED_TRACE(testing::PrintToString(args));
    args.insert(args.begin(), "ini");
    EXPECT_EQ(kyo_run(args), expected);
  }
  EXPECT_EQ(dir.read("kyo.ini"),
            "; job\r\n[ProjectInfo]\r\nCompany=Acme Ltd\r\n[projectinfo]\r\nLate=x\r\n"
            "\r\n[Alarms]\r\nCount=2\r\n\r\n[S]\r\nk=-h\r\n--help=--\r\n");
  EXPECT_EQ(dir.read("new.ini"), "[S]\r\nk=v\r\n");
}

TEST(kyo_ini, help_and_bad_arguments) {
  const std::string f = "kyo.ini";
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"ini"},
                                             {"ini", "frobnicate", f},
                                             {"ini", "get", f, "A"},
                                             {"ini", "set", f, "A", "k"},
                                             {"ini", "delete", f},
                                             {"ini", "list"},
                                             {"ini", "list", f, "A", "extra"},
                                             {"ini", "get", "--bogus", f, "A", "k"}}) {
    SCOPED_TRACE(testing::PrintToString(args));
    EXPECT_TRUE(kyo_run(args).starts_with(std::to_string(cli::exit_usage) + "||kyo: "));
  }
  const std::string help = kyo_run({"help", "ini"});
  EXPECT_TRUE(help.starts_with("0|read and edit profile (INI) files") &&
              help.find("list") != std::string::npos && help.ends_with("|"))
      << help;
  EXPECT_EQ(kyo_run({"ini", "--help"}), help);
  EXPECT_EQ(kyo_run({"ini", "set", "--help"}), kyo_run({"help", "ini", "set"}));
  EXPECT_NE(kyo_run({"--help"}).find("--version"), std::string::npos);
  EXPECT_EQ(kyo_run({"help", "nothing"}), "2||kyo help: no command 'nothing'\n");
  EXPECT_TRUE(kyo_run({"--version"}).starts_with("0|kyo 0."));
}

}  // namespace
}  // namespace kyo::test
