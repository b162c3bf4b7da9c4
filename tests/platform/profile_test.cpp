#include <kyo/platform/profile.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <kyo/platform/path_map.h>

#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

class profile_test : public testing::Test {
 protected:
  std::string file(const char* name = "kyo.ini") { return dir_.file(name); }

  // get_private_profile_string into a 100-character buffer, as the library's callers read.
  std::string get(const char* section, const char* key, const char* fallback,
                  const char* name = "kyo.ini") {
    char buffer[100];
    const std::string path = file(name);
    const std::size_t n = kyo::get_private_profile_string(section, key, fallback, buffer,
                                                          sizeof buffer, path.c_str());
    EXPECT_EQ(n, std::strlen(buffer));
    return std::string(buffer, n);
  }

  bool write(const char* section, const char* key, const char* value,
             const char* name = "kyo.ini") {
    return kyo::write_private_profile_string(section, key, value, file(name).c_str());
  }

  kyo::test::temp_dir dir_;
};

const std::string sample =
    "; survey settings\r\norphan=before any section\r\n[Custom]\r\n"
    "  OutputNmrcsCount = 2,Line,44 \t\r\nQuoted=\" padded \"\r\nSingle='x'\r\nMismatched=\"x'\r\n"
    "Empty=\r\ndup=first\r\nDUP=second\r\nno equals sign here\r\n=no key\r\n[custom]\r\n"
    "Later=in the second section of that name\r\n[ Spaced ]\r\nkey=v\r\n";

TEST_F(profile_test, reads_values_by_the_classic_rules) {
  dir_.write("kyo.ini", sample);
  struct row {
    const char* name;
    const char* section;
    const char* key;
    const char* fallback;
    std::string expected;
  };
  const row rows[] = {
      {"names ignore case, blanks are trimmed", "CUSTOM", "outputnmrcscount", "d", "2,Line,44"},
      {"double quotes go, inner blanks stay", "Custom", "Quoted", "d", " padded "},
      {"single quotes go", "Custom", "single", "d", "x"},
      {"mismatched quotes stay", "Custom", "Mismatched", "d", "\"x'"},
      {"empty value is not the default", "Custom", "Empty", "d", ""},
      {"first of duplicate keys wins", "Custom", "dup", "d", "first"},
      {"second section of the same name is not read", "Custom", "Later", "d", "d"},
      {"blanks inside brackets are trimmed", "spaced", "KEY", "d", "v"},
      {"line without '=' is no key", "Custom", "no equals sign here", "d", "d"},
      {"key before any section is unreachable", "", "orphan", "d", "d"},
      {"missing key gives the default without trailing spaces", "Custom", "missing", " x  ", " x"},
      {"default of blanks only becomes empty", "Custom", "missing", " ", ""},
      {"null default is empty", "Custom", "missing", nullptr, ""},
      {"missing section gives the default", "Nowhere", "key", "0,,32", "0,,32"},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    EXPECT_EQ(get(r.section, r.key, r.fallback), r.expected);
  }
  EXPECT_EQ(get("Custom", "key", "0,,32", "missing.ini"), "0,,32");
  EXPECT_EQ(kyo::profile_read(file(), "custom", "DUP"), "first");
  EXPECT_EQ(kyo::profile_read(file(), "custom", "absent"), std::nullopt);
  EXPECT_EQ(kyo::profile_sections(file()), (std::vector<std::string>{"Custom", "Spaced"}));
  std::string entries;
  for (const auto& [key, value] : kyo::profile_entries(file(), "CUSTOM"))
    entries += key + "=" + value + ";";
  EXPECT_EQ(
      entries,
      "OutputNmrcsCount=2,Line,44;Quoted= padded ;Single=x;Mismatched=\"x';Empty=;dup=first;");
}

TEST_F(profile_test, buffers_keep_size_minus_one_and_lists_end_in_two_nuls) {
  dir_.write("kyo.ini", "[One]\nvalue=abcdefghij\n[Two]\nk=1\n[one]\nk=2\n");
  const std::string path = file();
  struct row {
    const char* name;
    const char* section;
    const char* key;
    std::size_t size;
    std::size_t result;
    std::string bytes;  // the buffer from its start, NULs included
  };
  const row rows[] = {
      {"value fits exactly", "One", "value", 11, 10, "abcdefghij\0"s},
      {"value one too long", "One", "value", 10, 9, "abcdefghi\0"s},
      {"one-byte buffer", "One", "value", 1, 0, "\0"s},
      {"section names, once each", nullptr, "ignored", 20, 8, "One\0Two\0\0"s},
      {"names cut at the last one", nullptr, nullptr, 7, 5, "One\0T\0\0"s},
      {"names with no room for the second", nullptr, nullptr, 6, 4, "One\0\0\0"s},
      {"key names", "two", nullptr, 20, 2, "k\0\0"s},
      {"keys of a missing section", "Three", nullptr, 20, 0, "\0\0"s},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    std::string buffer(32, '#');
    EXPECT_EQ(kyo::get_private_profile_string(r.section, r.key, "default", buffer.data(), r.size,
                                              path.c_str()),
              r.result);
    EXPECT_EQ(buffer.substr(0, r.bytes.size()), r.bytes);
    EXPECT_EQ(buffer[r.size], '#') << "wrote past the buffer";
  }
  char untouched = '#';
  EXPECT_EQ(kyo::get_private_profile_string("One", "value", "", &untouched, 0, path.c_str()), 0u);
  EXPECT_EQ(untouched, '#');
}

TEST_F(profile_test, reads_integers_like_the_classic_call) {
  dir_.write("kyo.ini",
             "[N]\nplain=42\nblanks=  -17\nplus=+8\nhex=0x1F\nHEX=0X1f\nneghex=-0x10\n"
             "trailing=12abc\nletters=abc\nempty=\nquoted='7'\nwrap=4294967295\n"
             "big=99999999999\nmin=2147483648\nbare=0x\n");
  struct row {
    const char* key;
    int expected;
  };
  const row rows[] = {
      {"plain", 42},       {"blanks", -17},          {"plus", 8},      {"hex", 31},
      {"HEX", 31},         {"neghex", -16},          {"trailing", 12}, {"letters", 0},
      {"empty", 99},       {"missing", 99},          {"quoted", 7},    {"wrap", -1},
      {"big", 1215752191}, {"min", -2147483647 - 1}, {"bare", 0},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.key);
    EXPECT_EQ(kyo::get_private_profile_int("N", r.key, 99, file().c_str()), r.expected);
  }
  EXPECT_EQ(kyo::get_private_profile_int("N", "plain", 5, file("none.ini").c_str()), 5);
}

TEST_F(profile_test, writes_change_only_their_lines_in_the_file_style) {
  dir_.write("kyo.ini",
             "; job settings\r\n\r\n[ProjectInfo]\r\nCompany = Acme\r\n  odd line, kept\r\n"
             "Client=Old\r\n\r\n[Other]\r\nx=1\r\n");
  EXPECT_EQ(get("ProjectInfo", "Client", ""), "Old");
  EXPECT_TRUE(write("projectinfo", "CLIENT", "New Client"));
  EXPECT_TRUE(write("ProjectInfo", "Company", "Acme Ltd"));
  EXPECT_TRUE(write("ProjectInfo", "Vessel", "Surveyor 2"));
  EXPECT_TRUE(write("Added", "a", "1"));
  EXPECT_EQ(
      dir_.read("kyo.ini"),
      "; job settings\r\n\r\n[ProjectInfo]\r\nCompany = Acme Ltd\r\n  odd line, kept\r\n"
      "Client=New Client\r\nVessel=Surveyor 2\r\n\r\n[Other]\r\nx=1\r\n\r\n[Added]\r\na=1\r\n");
  EXPECT_EQ(get("ProjectInfo", "Client", ""), "New Client") << "the write replaced the cache";

  dir_.write("lf.ini", "[A]\nx=1");  // no newline at the end
  EXPECT_TRUE(write("A", "y", "2", "lf.ini"));
  EXPECT_TRUE(write("B", "z", "3", "lf.ini"));
  EXPECT_EQ(dir_.read("lf.ini"), "[A]\nx=1\ny=2\n\n[B]\nz=3\n");

  EXPECT_TRUE(write("S", "k", "v", "new.ini"));
  EXPECT_TRUE(write("S", "k", "v", "new.ini")) << "rewriting the same value";
  EXPECT_EQ(dir_.read("new.ini"), "[S]\r\nk=v\r\n");
}

TEST_F(profile_test, null_value_deletes_a_key_and_null_key_a_section) {
  const std::string before =
      "[A]\nk=1\nother=2\nK=3\n[B]\nk=4\n; about A again\n[a]\nk=5\n\n[C]\nc=6\n";
  dir_.write("kyo.ini", before);
  EXPECT_TRUE(write("A", "missing", nullptr));
  EXPECT_TRUE(write("Missing", nullptr, nullptr));
  EXPECT_EQ(dir_.read("kyo.ini"), before) << "deleting nothing leaves the file alone";
  EXPECT_TRUE(write("a", "K", nullptr));
  EXPECT_EQ(dir_.read("kyo.ini"),
            "[A]\nother=2\n[B]\nk=4\n; about A again\n[a]\nk=5\n\n[C]\nc=6\n");
  EXPECT_EQ(get("A", "k", "gone"), "gone") << "later sections of the name are not read";
  EXPECT_TRUE(write("A", nullptr, nullptr));
  EXPECT_EQ(dir_.read("kyo.ini"), "[B]\nk=4\n; about A again\n[C]\nc=6\n");
}

TEST_F(profile_test, refuses_names_and_values_that_would_break_the_file) {
  const std::string before = "[A]\nk=1\n";
  dir_.write("kyo.ini", before);
  // A line break in a value, '=' in a key, ']' in a section, an empty key, a key that would read
  // as a comment, a null section.
  const char* const rows[][3] = {{"A", "k", "1\r\n[B]"}, {"A", "a=b", "1"}, {"A]", "k", "1"},
                                 {"A", "  ", "1"},       {"A", ";k", "1"},  {nullptr, "k", "1"}};
  for (const auto& [section, key, value] : rows) {
    SCOPED_TRACE(std::string(section != nullptr ? section : "null") + "/" + key + "/" + value);
    EXPECT_FALSE(write(section, key, value));
  }
  EXPECT_EQ(dir_.read("kyo.ini"), before);
  EXPECT_FALSE(kyo::write_private_profile_string("A", "k", "1", nullptr));
}

TEST_F(profile_test, rereads_a_file_only_when_it_changes_on_disk) {
  dir_.write("kyo.ini", "[A]\nk=old\n");
  EXPECT_EQ(get("A", "k", ""), "old");
  const fs::file_time_type stamp = fs::last_write_time(dir_.path("kyo.ini"));

  // Same inode, size and time: the cached parse stands.
  {
    std::FILE* f = std::fopen(file().c_str(), "r+b");
    ASSERT_NE(f, nullptr);
    std::fputs("[A]\nk=new\n", f);
    std::fclose(f);
  }
  fs::last_write_time(dir_.path("kyo.ini"), stamp);
  EXPECT_EQ(get("A", "k", ""), "old");

  fs::last_write_time(dir_.path("kyo.ini"), stamp + std::chrono::seconds(1));
  EXPECT_EQ(get("A", "k", ""), "new");

  // A replaced file is noticed by its inode even with the old time stamp.
  dir_.write("other.ini", "[A]\nk=rep\n");
  fs::last_write_time(dir_.path("other.ini"), stamp + std::chrono::seconds(1));
  fs::rename(dir_.path("other.ini"), dir_.path("kyo.ini"));
  EXPECT_EQ(get("A", "k", ""), "rep");

  fs::remove(dir_.path("kyo.ini"));
  EXPECT_EQ(get("A", "k", "gone"), "gone");
}

TEST_F(profile_test, odd_bytes_and_enormous_lines_are_kept_and_bounded) {
  const std::string huge_key(kyo::profile_max_line_length + 10, 'k');
  const std::string junk = "\x01\xff\xfe=junk\0tail"s;
  const std::string before = "[A]\r\n" + junk + "\r\n" + huge_key + "=1\r\nkey=ok\r\n[" +
                             std::string(100000, 'S') + "]\r\nlate=1";
  dir_.write("kyo.ini", before);
  EXPECT_EQ(get("A", "key", ""), "ok");
  EXPECT_EQ(get("A", huge_key.c_str(), "skipped"), "skipped");
  EXPECT_EQ(get("A", "late", "none"), "1") << "an over-long header is no section";
  EXPECT_EQ(get("A", "\x01\xff\xfe", ""), "junk") << "a value ends at its NUL for C callers";

  EXPECT_TRUE(write("A", "added", "2"));
  EXPECT_EQ(dir_.read("kyo.ini"), before + "\r\nadded=2\r\n");
  EXPECT_FALSE(write("A", "long", std::string(kyo::profile_max_line_length, 'v').c_str()));
}

TEST_F(profile_test, unreadable_files_give_defaults_and_are_never_rewritten) {
  fs::create_directory(dir_.path("folder.ini"));
  EXPECT_EQ(get("A", "k", "d", "folder.ini"), "d");
  EXPECT_EQ(kyo::profile_status(file("folder.ini")), std::errc::is_a_directory);
  EXPECT_FALSE(write("A", "k", "1", "folder.ini"));

  const std::string big = "[A]\nk=1\n" + std::string(kyo::profile_max_file_size, ';');
  dir_.write("big.ini", big);
  EXPECT_EQ(get("A", "k", "d", "big.ini"), "d");
  EXPECT_EQ(kyo::profile_status(file("big.ini")), std::errc::file_too_large);
  EXPECT_FALSE(write("A", "k", "2", "big.ini"));
  EXPECT_EQ(fs::file_size(dir_.path("big.ini")), big.size());

  EXPECT_EQ(kyo::profile_status(file("none.ini")), std::errc::no_such_file_or_directory);
  EXPECT_FALSE(write("A", "k", "1", "no-folder/x.ini"));
  dir_.write("fine.ini", "");
  EXPECT_FALSE(kyo::profile_status(file("fine.ini")));
}

TEST_F(profile_test, dos_paths_links_and_modes) {
  dir_.write("Settings/Kyo.ini", "[A]\nk=1\n");
  ::chmod(dir_.file("Settings/Kyo.ini").c_str(), 0640);
  kyo::set_drive_mapping('D', dir_.path().string());
  const bool written = kyo::write_private_profile_string("A", "k", "2", "D:\\SETTINGS\\KYO.INI");
  kyo::clear_drive_mappings();
  EXPECT_TRUE(written);
  EXPECT_EQ(dir_.read("Settings/Kyo.ini"), "[A]\nk=2\n");
  struct stat st;
  ASSERT_EQ(::stat(dir_.file("Settings/Kyo.ini").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);

  fs::create_symlink(dir_.path("Settings/Kyo.ini"), dir_.path("link.ini"));
  EXPECT_TRUE(write("A", "k", "3", "link.ini"));
  EXPECT_TRUE(fs::is_symlink(dir_.path("link.ini")));
  EXPECT_EQ(dir_.read("Settings/Kyo.ini"), "[A]\nk=3\n");
  EXPECT_EQ(fs::directory_iterator(dir_.path("Settings"))->path().filename(), "Kyo.ini")
      << "no temporary file is left behind";
}

TEST_F(profile_test, concurrent_writers_lose_no_update) {
  std::vector<std::thread> threads;
  const std::string path = file();
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &path] {
      for (int i = 0; i < 20; ++i) {
        const std::string key = "t" + std::to_string(t) + "k" + std::to_string(i);
        EXPECT_FALSE(kyo::profile_write(path, "Shared", key, std::to_string(i)));
      }
    });
  }
  for (std::thread& th : threads)
    th.join();
  EXPECT_EQ(kyo::profile_entries(path, "Shared").size(), 80u);
  EXPECT_EQ(kyo::profile_read(path, "shared", "T3K19"), "19");
}

}  // namespace
