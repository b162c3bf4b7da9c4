#include <kyo/core/filepath.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using kyo::filepath;

TEST(filepath, cleans_and_finds_the_parts) {
  struct row {
    const char* input;
    const char* text;
    std::size_t drive_end, dir_end, name_start, ext_start;
    bool has_dir;
  };
  const row rows[] = {
      {"C:\\", "C:\\", 2, 3, 3, 3, false},
      {"a*b?.txt", "Ab.txt", 0, 0, 0, 2, false},
      {"C:\\DATA\\SURVEY01.TXT", "C:\\Data\\Survey01.txt", 2, 7, 8, 16, true},
      {"C:\\Long File Name.txt", "C:\\Long File Name.txt", 2, 3, 3, 17, false},
      {"C:\\V1.0\\Readme", "C:\\V1.0\\Readme", 2, 7, 8, 14, true},
      {"c:\\data", "c:\\Data", 2, 3, 3, 7, false},
      {"DIR.EXTN\\FILE", "DIR.EXTN\\File", 0, 8, 9, 13, true},
      {"C:NAME.TXT", "C:Name.txt", 2, 2, 2, 6, false},
      {"\\ROOT.TXT", "\\Root.txt", 0, 1, 1, 5, false},
      {"C:\\x<y>|z\"\t/+;=[]{}.txt", "C:\\Xyz.txt", 2, 3, 3, 6, false},
      {"C:\\K\xF6LN.TXT", "C:\\K\xF6ln.txt", 2, 3, 3, 7, false},
      {"C:\\A.B.C\\", "C:\\A.b.c\\", 2, 8, 9, 9, true},
      {"", "", 0, 0, 0, 0, false},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.input);
    const filepath p(r.input);
    EXPECT_EQ(p.str(), r.text);
    EXPECT_EQ(p.drive_end(), r.drive_end);
    EXPECT_EQ(p.dir_end(), r.dir_end);
    EXPECT_EQ(p.name_start(), r.name_start);
    EXPECT_EQ(p.ext_start(), r.ext_start);
    EXPECT_EQ(p.has_dir(), r.has_dir);
  }
  const filepath p("C:\\DATA\\X.TXT");
  EXPECT_EQ(p.drive(), "C:");
  EXPECT_EQ(p.directory(), "\\Data");
  EXPECT_EQ(p.name(), "X");
  EXPECT_EQ(p.ext(), ".txt");
  EXPECT_EQ(p.name_and_ext(), "X.txt");
  EXPECT_EQ(filepath("C:\\X.TXT").directory(), "\\");
}

TEST(filepath, combines_a_directory_and_a_relative_name) {
  struct row {
    const char* what;
    const char* directory;
    const char* name;
    const char* expected;
  };
  const row rows[] = {
      {"one level up", "C:\\A\\B", "..\\x.dat", "C:\\A\\X.dat"},
      {"above the root stays at the root", "C:\\A", "..\\..\\x", "C:\\X"},
      {"root directory", "C:\\", "x.dat", "C:\\X.dat"},
      {"trailing backslash is not a component", "C:\\A\\", "..\\x", "C:\\X"},
      {"dots in a directory name", "C:\\V1.0", "..\\V2.0\\a.txt", "C:\\V2.0\\A.txt"},
      {"sub folder", "C:\\Data", "sub\\file.txt", "C:\\Data\\Sub\\File.txt"},
      {"three dots are a name", "C:\\A", "...\\x", "C:\\A\\...\\X"},
      {"relative directory cannot climb", "data", "..\\..\\x", "Data\\X"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    EXPECT_EQ(filepath(r.directory, r.name).str(), r.expected);
  }
}

TEST(filepath, replaces_name_and_extension) {
  struct row {
    const char* what;
    const char* path;
    const char* ext;
    const char* expected;
  };
  const row rows[] = {
      {"replaces", "C:\\Data\\X.txt", "dat", "C:\\Data\\X.dat"},
      {"appends", "C:\\Data\\X", "dat", "C:\\Data\\X.dat"},
      {"keeps a given dot", "C:\\Data\\X.txt", ".csv", "C:\\Data\\X.csv"},
      {"empty removes", "C:\\Data\\X.txt", "", "C:\\Data\\X"},
      {"null removes", "C:\\Data\\X.txt", nullptr, "C:\\Data\\X"},
      {"dot in the directory only", "C:\\V1.0\\Readme", "txt", "C:\\V1.0\\Readme.txt"},
      {"invalid characters dropped", "C:\\X.txt", "d?a*t", "C:\\X.dat"},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.what);
    filepath p(r.path);
    p.set_ext(r.ext);
    EXPECT_EQ(p.str(), r.expected);
  }
  filepath readme("C:\\V1.0\\Readme");
  readme.set_ext("txt");
  EXPECT_EQ(readme.ext(), ".txt");
  EXPECT_EQ(readme.name(), "Readme");

  filepath p("C:\\Data\\X.txt");
  p.set_name_and_ext("new*.CSV");
  EXPECT_EQ(p.str(), "C:\\Data\\new.CSV") << "no new tidying";
  EXPECT_EQ(p.name(), "new");
  EXPECT_EQ(p.ext(), ".CSV");
  p = "d:\\OTHER\\FILE.DAT";
  EXPECT_EQ(p.str(), "d:\\Other\\File.dat");
  EXPECT_TRUE(p.has_dir());
}

}  // namespace
