#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/kyo_run.h"
#include "support/temp_dir.h"

namespace {

std::string run(std::vector<std::string> args) {
  args.insert(args.begin(), "ini");
  return kyo::test::kyo_run(args);
}

class kyo_ini : public testing::Test {
 protected:
  void SetUp() override {
    dir_.write("kyo.ini",
               "; job\r\n[ProjectInfo]\r\nCompany=Acme\r\nClient = \"Port\"\r\n"
               "[Custom]\r\nOutputNmrcsCount=0,,32\r\n[projectinfo]\r\nLate=x\r\n");
  }

  kyo::test::temp_dir dir_;
  const std::string f_ = dir_.file("kyo.ini");
};

TEST_F(kyo_ini, get_and_list_print_what_the_library_reads) {
  const std::string none = dir_.file("none.ini");
  EXPECT_EQ(run({"get", f_, "PROJECTINFO", "client"}), "0|Port\n|") << "case and quotes";
  EXPECT_EQ(run({"list", f_}), "0|ProjectInfo\nCustom\n|") << "each section once";
  EXPECT_EQ(run({"list", f_, "projectinfo"}), "0|Company=Acme\nClient=Port\n|");
  EXPECT_EQ(run({"get", f_, "Custom", "Nope"}),
            "1||kyo ini: no key 'Nope' in section [Custom] of '" + f_ + "'\n");
  EXPECT_EQ(run({"list", f_, "Nope"}), "1||kyo ini: no section [Nope] in '" + f_ + "'\n");
  EXPECT_EQ(run({"get", none, "A", "k"}),
            "1||kyo ini: cannot read '" + none + "': No such file or directory\n");
}

TEST_F(kyo_ini, set_and_delete_edit_the_file_in_place) {
  EXPECT_EQ(run({"set", f_, "projectinfo", "COMPANY", "Acme Ltd"}), "0||");
  EXPECT_EQ(run({"set", f_, "Alarms", "Count", "2"}), "0||");
  EXPECT_EQ(run({"delete", f_, "Custom"}), "0||");
  EXPECT_EQ(run({"delete", f_, "ProjectInfo", "client"}), "0||");
  EXPECT_EQ(dir_.read("kyo.ini"),
            "; job\r\n[ProjectInfo]\r\nCompany=Acme Ltd\r\n[projectinfo]\r\nLate=x\r\n"
            "\r\n[Alarms]\r\nCount=2\r\n");
  EXPECT_EQ(run({"delete", f_, "ProjectInfo", "client"}),
            "1||kyo ini: no key 'client' in section [ProjectInfo] of '" + f_ + "'\n");
  const std::string bad = run({"set", f_, "A", "k=", "v"});
  EXPECT_TRUE(bad.starts_with("1||") && bad.find("'=' in a key") != std::string::npos) << bad;
  EXPECT_EQ(run({"set", dir_.file("new.ini"), "S", "k", "v"}), "0||");
  EXPECT_EQ(dir_.read("new.ini"), "[S]\r\nk=v\r\n");
}

TEST_F(kyo_ini, options_come_before_arguments) {
  EXPECT_EQ(run({"set", f_, "S", "k", "-h"}), "0||") << "a value that looks like an option";
  EXPECT_EQ(run({"set", "--", f_, "S", "--help", "--"}), "0||");
  EXPECT_EQ(run({"get", f_, "s", "K"}), "0|-h\n|");
  EXPECT_EQ(run({"get", f_, "s", "--help"}), "0|--\n|");
}

TEST_F(kyo_ini, help_and_bad_arguments) {
  const std::vector<std::vector<std::string>> bad = {{},
                                                     {"frobnicate", f_},
                                                     {"get", f_, "A"},
                                                     {"set", f_, "A", "k"},
                                                     {"delete", f_},
                                                     {"list"},
                                                     {"list", f_, "A", "extra"},
                                                     {"get", "--bogus", f_, "A", "k"}};
  for (const std::vector<std::string>& args : bad) {
    SCOPED_TRACE(testing::PrintToString(args));
    const std::string got = run(args);
    EXPECT_TRUE(got.starts_with(std::to_string(kyo::cli::exit_usage) + "||kyo: ")) << got;
  }
  const std::string help = kyo::test::kyo_run({"help", "ini"});
  EXPECT_TRUE(help.starts_with("0|read and edit profile (INI) files") &&
              help.find("list") != std::string::npos && help.ends_with("|"))
      << help;
  EXPECT_EQ(run({"--help"}), help);
  EXPECT_EQ(kyo::test::kyo_run({"ini", "set", "--help"}),
            kyo::test::kyo_run({"help", "ini", "set"}));
  const std::string top = kyo::test::kyo_run({"--help"});
  EXPECT_NE(top.find("--version"), std::string::npos) << top;
  EXPECT_EQ(kyo::test::kyo_run({"help", "nothing"}), "2||kyo help: no command 'nothing'\n");
  EXPECT_TRUE(kyo::test::kyo_run({"--version"}).starts_with("0|kyo 0."));
}

}  // namespace
