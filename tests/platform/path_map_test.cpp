#include <kyo/platform/path_map.h>

#include <gtest/gtest.h>

#include <string>

#include "support/temp_dir.h"

namespace {

class native_path_test : public testing::Test {
 protected:
  void SetUp() override {
    dir_.write("Data/Survey01.txt", "x");
    dir_.write("Case/abc", "x");
    dir_.write("Case/ABC", "x");
    dir_.write("Case/aBc", "x");
    dir_.write("Caseabc", "x");  // what E:\abc would name, joined without a separator
    root_ = dir_.path().string();
    kyo::set_drive_mapping('D', root_);
    kyo::set_drive_mapping('E', root_ + "/Case");
  }
  void TearDown() override { kyo::clear_drive_mappings(); }

  kyo::test::temp_dir dir_;
  std::string root_;
};

TEST_F(native_path_test, maps_drives_and_resolves_case_against_the_disk) {
  struct row {
    const char* name;
    std::string dos;
    std::string native;
  };
  const row rows[] = {
      {"display case finds the file", "D:\\DATA\\SURVEY01.TXT", root_ + "/Data/Survey01.txt"},
      {"a path that exists as given", "E:\\abc", root_ + "/Case/abc"},
      {"doubled separators", "D:\\Data\\\\Survey01.txt", root_ + "/Data/Survey01.txt"},
      {"missing folder keeps the rest as given", "D:\\DATA\\NewDir\\X.TXT",
       root_ + "/Data/NewDir/X.TXT"},
      {"exact name wins over other cases", "D:\\Case\\aBc", root_ + "/Case/aBc"},
      {"first in byte order among case variants", "D:\\case\\Abc", root_ + "/Case/ABC"},
      {"drive-relative path", "D:data", root_ + "/Data"},
      {"posix path is only case-resolved", root_ + "/DATA/survey01.txt",
       root_ + "/Data/Survey01.txt"},
      {"unmapped drive is dropped", "C:\\kyo-no-such-folder\\x.txt", "/kyo-no-such-folder/x.txt"},
      {"relative path stays relative", "kyo-no-such-folder\\x.txt", "kyo-no-such-folder/x.txt"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    EXPECT_EQ(kyo::native_path(r.dos), r.native);
  }
}

TEST_F(native_path_test, mapping_roots_may_end_with_a_separator_and_can_be_cleared) {
  kyo::set_drive_mapping('e', root_ + "/");
  EXPECT_EQ(kyo::native_path("E:\\DATA"), root_ + "/Data");
  kyo::set_drive_mapping('a', root_);
  kyo::set_drive_mapping('Z', root_);
  EXPECT_EQ(kyo::native_path("A:\\DATA") + kyo::native_path("z:\\DATA"),
            root_ + "/Data" + root_ + "/Data")
      << "the first and the last letter";
  kyo::set_drive_mapping('E', "");
  EXPECT_EQ(kyo::native_path("E:\\kyo-no-such"), "/kyo-no-such");
  kyo::clear_drive_mappings();
  EXPECT_EQ(kyo::native_path("D:\\kyo-no-such"), "/kyo-no-such");
}

}  // namespace
