#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "kyo/commands.h"
#include "support/temp_dir.h"

namespace {

struct outcome {
  int code;
  std::string out;
  std::string err;
};

outcome run(std::vector<std::string> args) {
  std::ostringstream out;
  std::ostringstream err;
  const int code = kyo::cli::run_ini(args, out, err);
  return {code, out.str(), err.str()};
}

class kyo_ini : public testing::Test {
 protected:
  void SetUp() override {
    dir_.write("kyo.ini",
               "; job\r\n[ProjectInfo]\r\nCompany=Acme\r\nClient = \"Port\"\r\n"
               "[Custom]\r\nOutputNmrcsCount=0,,32\r\n[projectinfo]\r\nLate=x\r\n");
    file_ = dir_.file("kyo.ini");
  }

  kyo::test::temp_dir dir_;
  std::string file_;
};

TEST_F(kyo_ini, get_and_list_print_what_the_library_reads) {
  struct row {
    const char* name;
    std::vector<std::string> args;
    outcome expected;
  };
  const std::string& f = file_;
  const row rows[] = {
      {"get ignores case and strips quotes",
       {"get", f, "PROJECTINFO", "client"},
       {0, "Port\n", ""}},
      {"list sections, each once", {"list", f}, {0, "ProjectInfo\nCustom\n", ""}},
      {"list one section", {"list", f, "projectinfo"}, {0, "Company=Acme\nClient=Port\n", ""}},
      {"missing key",
       {"get", f, "Custom", "Nope"},
       {1, "", "kyo ini: no key 'Nope' in section [Custom] of '" + f + "'\n"}},
      {"missing section",
       {"list", f, "Nope"},
       {1, "", "kyo ini: no section [Nope] in '" + f + "'\n"}},
      {"missing file",
       {"get", dir_.file("none.ini"), "A", "k"},
       {1, "",
        "kyo ini: cannot read '" + dir_.file("none.ini") + "': No such file or directory\n"}},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    const outcome got = run(r.args);
    EXPECT_EQ(got.code, r.expected.code);
    EXPECT_EQ(got.out, r.expected.out);
    EXPECT_EQ(got.err, r.expected.err);
  }
}

TEST_F(kyo_ini, set_and_delete_edit_the_file_in_place) {
  EXPECT_EQ(run({"set", file_, "projectinfo", "COMPANY", "Acme Ltd"}).code, 0);
  EXPECT_EQ(run({"set", file_, "Alarms", "Count", "2"}).code, 0);
  EXPECT_EQ(run({"delete", file_, "Custom"}).code, 0);
  EXPECT_EQ(run({"delete", file_, "ProjectInfo", "client"}).code, 0);
  EXPECT_EQ(dir_.read("kyo.ini"),
            "; job\r\n[ProjectInfo]\r\nCompany=Acme Ltd\r\n[projectinfo]\r\nLate=x\r\n"
            "\r\n[Alarms]\r\nCount=2\r\n");

  const outcome missing = run({"delete", file_, "ProjectInfo", "client"});
  EXPECT_EQ(missing.code, 1);
  EXPECT_EQ(missing.err, "kyo ini: no key 'client' in section [ProjectInfo] of '" + file_ + "'\n");
  const outcome bad = run({"set", file_, "A", "k=", "v"});
  EXPECT_EQ(bad.code, 1);
  EXPECT_NE(bad.err.find("'=' in a key"), std::string::npos) << bad.err;

  EXPECT_EQ(run({"set", dir_.file("new.ini"), "S", "k", "v"}).code, 0);
  EXPECT_EQ(dir_.read("new.ini"), "[S]\r\nk=v\r\n");
}

TEST_F(kyo_ini, bad_arguments_print_usage_with_exit_code_2) {
  const std::vector<std::vector<std::string>> bad = {
      {},
      {"frobnicate", file_},
      {"get", file_, "A"},
      {"set", file_, "A", "k"},
      {"delete", file_},
      {"list"},
      {"list", file_, "A", "extra"},
  };
  for (const std::vector<std::string>& args : bad) {
    SCOPED_TRACE(testing::PrintToString(args));
    const outcome got = run(args);
    EXPECT_EQ(got.code, kyo::cli::exit_usage);
    EXPECT_EQ(got.out, "");
    EXPECT_NE(got.err.find("usage: kyo ini get"), std::string::npos);
  }
  const outcome help = run({"--help"});
  EXPECT_EQ(help.code, 0);
  EXPECT_EQ(help.out.rfind("usage: kyo ini get FILE SECTION KEY", 0), 0u);
  EXPECT_EQ(help.err, "");
}

}  // namespace
