#include <kyo/core/filepath.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using kyo::filepath;

// The cleaned text, then drive_end, dir_end, name_start, ext_start and has_dir.
std::string parts(const filepath& p) {
  return p.str() + " " + std::to_string(p.drive_end()) + " " + std::to_string(p.dir_end()) + " " +
         std::to_string(p.name_start()) + " " + std::to_string(p.ext_start()) +
         (p.has_dir() ? " dir" : "");
}

// The drive, directory, name, extension and name with extension.
std::string pieces(const filepath& p) {
  return std::string(p.drive()) + "|" + std::string(p.directory()) + "|" + std::string(p.name()) +
         "|" + std::string(p.ext()) + "|" + std::string(p.name_and_ext());
}

TEST(filepath, cleans_and_finds_the_parts) {
  const char* const rows[][2] = {
      {"C:\\", "C:\\ 2 3 3 3"},
      {"a*b?.txt", "Ab.txt 0 0 0 2"},
      {"C:\\DATA\\SURVEY01.TXT", "C:\\Data\\Survey01.txt 2 7 8 16 dir"},
      {"C:\\V1.0\\Readme", "C:\\V1.0\\Readme 2 7 8 14 dir"},
      {"DIR.EXTN\\FILE", "DIR.EXTN\\File 0 8 9 13 dir"},
      {"\\ROOT.TXT", "\\Root.txt 0 1 1 5"},
      {"C:\\x<y>|z\"\t/+;=[]{}.txt", "C:\\Xyz.txt 2 3 3 6"},
      {"C:\\A.B.C\\", "C:\\A.b.c\\ 2 8 9 9 dir"},
      {"", " 0 0 0 0"},
  };
  for (const auto& [input, expected] : rows) {
    SCOPED_TRACE(input);
    EXPECT_EQ(parts(filepath(input)), expected);
  }
  EXPECT_EQ(pieces(filepath("C:\\DATA\\X.TXT")), "C:|\\Data|X|.txt|X.txt");
  EXPECT_EQ(pieces(filepath("C:\\X.TXT")), "C:|\\|X|.txt|X.txt");
}

TEST(filepath, combines_a_directory_and_a_relative_name) {
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {"one level up", "C:\\A\\B", "..\\x.dat", "C:\\A\\X.dat"},
      {"above the root stays at the root", "C:\\A", "..\\..\\x", "C:\\X"},
      {"dots in a directory name", "C:\\V1.0", "..\\V2.0\\a.txt", "C:\\V2.0\\A.txt"},
      {"relative directory cannot climb", "data", "..\\..\\x", "Data\\X"},
  };
  for (const auto& [what, directory, name, expected] : rows) {
    SCOPED_TRACE(what);
    EXPECT_EQ(filepath(directory, name).str(), expected);
  }
}

TEST(filepath, replaces_name_and_extension) {
  // path, extension, then the pieces
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"C:\\Data\\X.txt", "dat", "C:|\\Data|X|.dat|X.dat"},
      {"C:\\Data\\X.txt", "", "C:|\\Data|X||X"},
      {"C:\\V1.0\\Readme", "txt", "C:|\\V1.0|Readme|.txt|Readme.txt"},
      {"C:\\X.txt", "d?a*t", "C:|\\|X|.dat|X.dat"},
  };
  for (const auto& [path, ext, expected] : rows) {
    filepath p(path);
    p.set_ext(ext);
    EXPECT_EQ(pieces(p), expected) << path << " with " << ext;
  }
  filepath p("C:\\Data\\X.txt");
  p.set_name_and_ext("new*.CSV");
  EXPECT_EQ(pieces(p), "C:|\\Data|new|.CSV|new.CSV") << "no new tidying";
  p = "d:\\OTHER\\FILE.DAT";
  EXPECT_EQ(parts(p), "d:\\Other\\File.dat 2 8 9 13 dir");
}

}  // namespace
