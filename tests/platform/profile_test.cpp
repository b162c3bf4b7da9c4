#include <kyo/platform/profile.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <thread>

#include "support/fake_clock.h"
#include "support/temp_dir.h"
#include "support/unprivileged.h"

namespace {

namespace fs = std::filesystem;
using namespace std::literals;

class profile_test : public testing::Test {
 protected:
  std::string file(std::string_view name = "kyo.ini") { return dir_.file(name); }

  std::string get(const char* section, const char* key, const char* fallback,
                  std::string_view name = "kyo.ini") {
    char buffer[100];  // as the library's callers read
    return std::string(buffer, kyo::get_private_profile_string(section, key, fallback, buffer,
                                                               sizeof buffer, file(name).c_str()));
  }

  kyo::test::temp_dir dir_;
};

TEST_F(profile_test, reads_values_and_integers_by_the_classic_rules) {
  const std::string huge(kyo::profile_max_line_length + 1, 'k');
  dir_.write("kyo.ini",
             "; survey settings\r\norphan=before any section\r\n[Custom]\r\n"
             "  OutputNmrcsCount = 2,Line,44 \t\r\nQuoted=\" padded \"\r\nSingle='x'\r\n"
             "Mismatched=\"x'\r\nEmpty=\r\ndup=first\r\nDUP=second\r\nno equals sign here\r\n"
             "=no name\r\n[custom]\r\nLater=in the second section of that name\r\n[CR]\rk=cr\r\r\n"
             "[N]\nblanks=  -17\nhex=0X1f\nneghex=-0x10\ntrailing=12abc\nquoted='7'\nempty=\n"
             "big=99999999999\n"
             "[ Spaced ]\r\nkey=v\r\n\x01\xff=junk\0tail\r\n"s +
                 huge + "=1\r\n[" + huge + "]\r\nlate=1\r\n");
  const std::tuple<const char*, const char*, const char*, const char*, std::string> rows[] = {
      {"names ignore case, blanks are trimmed", "CUSTOM", "outputnmrcscount", "d", "2,Line,44"},
      {"missing key gives the default without trailing spaces", "Custom", "missing", " x  ", " x"},
      {"a value ends at a NUL for C callers", "Spaced", "\x01\xff", "d", "junk"},
      {"an over-long line is no key", "Spaced", huge.c_str(), "d", "d"},
      {"an over-long header is no section", "Spaced", "late", "d", "1"},
  };
  for (const auto& [name, section, key, fallback, expected] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(get(section, key, fallback), expected);
  }
  const char* const keys[] = {"blanks", "hex", "neghex", "trailing", "quoted", "big", "empty"};
  const int values[] = {-17, 31, -16, 12, 7, 1215752191, 99};
  for (std::size_t i = 0; i < std::size(keys); ++i)
    EXPECT_EQ(kyo::get_private_profile_int("N", keys[i], 99, file().c_str()), values[i]) << keys[i];
  EXPECT_EQ(kyo::profile_sections(file()),
            (std::vector<std::string>{"Custom", "CR", "N", "Spaced"}));
  std::string entries;
  for (const auto& [key, value] : kyo::profile_entries(file(), "CUSTOM"))
    entries += key + "=" + value + ";";
  EXPECT_EQ(entries,
            "OutputNmrcsCount=2,Line,44;Quoted= padded ;Single=x;Mismatched=\"x';Empty=;dup=first;"
            "=no name;");
}

TEST_F(profile_test, buffers_keep_size_minus_one_and_lists_end_in_two_nuls) {
  dir_.write("kyo.ini", "[One]\nvalue=abcdefghij\n[Two]\n=empty name\nk=1\n[one]\nk=2\n");
  // name, section, key, buffer size, result, the buffer from its start with its NULs
  const std::tuple<const char*, const char*, const char*, std::size_t, std::size_t, std::string>
      rows[] = {
          {"value fits exactly", "One", "value", 11, 10, "abcdefghij\0"s},
          {"one-byte buffer", "One", "value", 1, 0, "\0"s},
          {"section names, once each", nullptr, "ignored", 20, 8, "One\0Two\0\0"s},
          {"names cut at the last one", nullptr, nullptr, 7, 5, "One\0T\0\0"s},
          {"key names, the empty one left out", "two", nullptr, 20, 2, "k\0\0"s},
          {"a size of 0 writes nothing", "One", "value", 0, 0, ""},
      };
  for (const auto& [name, section, key, size, result, bytes] : rows) {
    SCOPED_TRACE(name);
    std::string buffer(32, '#');
    EXPECT_EQ(kyo::get_private_profile_string(section, key, "default", buffer.data(), size,
                                              file().c_str()),
              result);
    EXPECT_EQ(buffer.substr(0, bytes.size()), bytes);
    EXPECT_EQ(buffer[size], '#') << "wrote past the buffer";
  }
}

TEST_F(profile_test, writes_change_only_their_lines_and_refuse_what_would_not_read_back) {
  const std::string at_limit(kyo::profile_max_line_length - 2, 'v');  // with "k=", the limit
  const std::string odd = "[A]\r\n\x01=\0\r"s + std::string(at_limit.size() + 3, 'k') + "\r\n";
  // name, file before, writes "section|key|value,..." ("~": null, '!' first: refused), after
  const std::tuple<const char*, std::optional<std::string>, std::string, std::string> rows[] = {
      {"set keeps spelling and blanks; adds go after the last non-blank line",
       "; job\r\n\r\n[Info]\r\nCompany = Acme\r\n  odd line\r\nClient=Old\r\n\r\n[B]\r\n",
       "info|CLIENT|New,Info|Company|Ltd,Info|Vessel|Surveyor 2,Added|a|1",
       "; job\r\n\r\n[Info]\r\nCompany = Ltd\r\n  odd line\r\nClient=New\r\nVessel=Surveyor 2\r\n"
       "\r\n[B]\r\n\r\n[Added]\r\na=1\r\n"},
      {"odd bytes, lone CRs and over-long lines are kept", odd, "A|k|1", odd + "k=1\r\n"},
      {"new file in CR LF, same value twice", std::nullopt, "S|k|v,S|k|v", "[S]\r\nk=v\r\n"},
      {"null value deletes a key in the first section, null key every section of the name",
       "[A]\nk=1\nx=2\nK=3\n[B]\nk=4\n[a]\nk=5\n[b]\n\n[C]\n", "A|k|~,b|~|~,A|no|~,no|~|~,~|~|~",
       "[A]\nx=2\n[a]\nk=5\n[C]\n"},
      {"names that would break the file", "[A]\nk=1\n",
       "!A|k|1\r\n[B],!A|k|1\r,!A|a=b|1,!A]|k|1,!A|;k|1,!A|[k|1,!~|k|1,!~|k|~", "[A]\nk=1\n"},
      {"a line at the limit is written, one longer is refused", "[A]\n",
       "A|k|" + at_limit + ",!A|k2|" + at_limit + ",!" + std::string(at_limit.size() + 1, 'S') +
           "|k|1",
       "[A]\nk=" + at_limit + "\n"},
  };
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const auto& [row, before, ops, after] = rows[i];
    SCOPED_TRACE(row);
    const std::string name = std::to_string(i);
    if (before) dir_.write(name, *before);
    std::istringstream list(ops);
    for (std::string op; std::getline(list, op, ',');) {
      const bool ok = op.front() != '!';
      std::istringstream fields(op.substr(!ok));
      std::string arg[3];
      for (std::string& a : arg)
        std::getline(fields, a, '|');
      const auto c = [](const std::string& a) { return a == "~" ? nullptr : a.c_str(); };
      EXPECT_EQ(
          kyo::write_private_profile_string(c(arg[0]), c(arg[1]), c(arg[2]), file(name).c_str()),
          ok);
      if (!ok || arg[2] == "~") continue;
      EXPECT_EQ(kyo::profile_read(file(name), arg[0], arg[1]),
                arg[2].substr(arg[2].find_first_not_of(' ')));
    }
    EXPECT_EQ(dir_.read(name), after);
  }
  EXPECT_FALSE(kyo::write_private_profile_string("A", "k", "1", nullptr));
}

// A file replaced behind a cached parse is read again: a later time stamp shows at once; the same
// size and stamp (a second write within one step of a coarse file system's stamps) shows unless
// the parse was made a whole step after the stamp.
TEST_F(profile_test, a_file_replaced_while_cached_is_read_again) {
  const auto stamp = kyo::test::fake_wall_clock::utc(2024, 3, 31, 1, 0, 0, 500);
  kyo::test::fake_wall_clock clock(stamp);
  const auto rewrite = [&](const std::string& name, const char* bytes, int stamp_s) {
    dir_.write(name, bytes);
    fs::last_write_time(dir_.path(name), fs::file_time_type::clock::from_sys(stamp + 1s * stamp_s));
  };
  for (const auto& [after_s, expected] : {std::pair{2, "old"}, {1, "new"}, {-60, "new"}}) {
    const std::string name = std::to_string(after_s);
    rewrite(name, "[A]\nk=old\n", 0);
    clock.set(stamp + 1s * after_s);
    EXPECT_EQ(get("A", "k", "", name), "old");
    rewrite(name, "[A]\nk=new\n", 0);
    EXPECT_EQ(get("A", "k", "", name), expected) << after_s;
  }
  rewrite("2", "[A]\nk=new\n", 1);
  EXPECT_EQ(get("A", "k", "", "2"), "new") << "a later stamp is seen";
}

TEST_F(profile_test, what_is_not_a_readable_file_gives_defaults_and_is_never_written) {
  fs::create_directory(dir_.path("folder.ini"));
  ASSERT_EQ(::mkfifo(file("pipe.ini").c_str(), 0666), 0);
  dir_.write("big.ini", "[A]\nk=1\n" + std::string(kyo::profile_max_file_size, ';'));
  const std::error_code not_regular = kyo::profile_errc::not_a_regular_file;
  const std::tuple<const char*, std::string, std::error_code> rows[] = {
      {"a folder", file("folder.ini"), make_error_code(std::errc::is_a_directory)},
      {"a pipe, which must not block", file("pipe.ini"), not_regular},
      {"a file over the size limit", file("big.ini"), make_error_code(std::errc::file_too_large)},
  };
  for (const auto& [name, path, status] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(kyo::profile_status(path), status);
    EXPECT_EQ(kyo::profile_read(path, "A", "k"), std::nullopt);
    EXPECT_FALSE(kyo::write_private_profile_string("A", "k", "2", path.c_str()));
  }
  EXPECT_EQ(fs::file_size(dir_.path("big.ini")), kyo::profile_max_file_size + 8);
}

TEST_F(profile_test, writes_keep_every_name_owner_and_mode_and_ignore_stale_temporaries) {
  dir_.write("Settings/Kyo.ini", "[A]\nk=1\n");
  const std::string path = file("Settings/Kyo.ini"), stale = "Settings/.Kyo.ini.kyo-";
  // Names a killed writer with this process id could have left, with half its file.
  for (int i = 0; i < 1000; ++i)
    dir_.write(stale + std::to_string(::getpid()) + "-" + std::to_string(i), "[A]\nk=");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  kyo::test::hand_over(path);  // under root, another user's file
  struct stat st;
  const auto inode = [&] { return ::stat(path.c_str(), &st) == 0 ? st.st_ino : 0; };
  const ino_t first = inode();
  std::string dos = file("SETTINGS/KYO.INI");
  std::ranges::replace(dos, '/', '\\');
  EXPECT_TRUE(kyo::write_private_profile_string("A", "k", "2", dos.c_str()));
  EXPECT_NE(inode(), first) << "replaced through a rename, which a crash cannot tear";
  fs::create_symlink(path, dir_.path("link.ini"));
  EXPECT_TRUE(kyo::write_private_profile_string("A", "k", "3", file("link.ini").c_str()));
  EXPECT_TRUE(fs::is_symlink(dir_.path("link.ini")));
  fs::create_hard_link(path, dir_.path("Settings/hard.ini"));
  EXPECT_TRUE(kyo::write_private_profile_string("A", "k", "4", file("Settings/hard.ini").c_str()));
  EXPECT_EQ(get("A", "k", "", "Settings/Kyo.ini"), "4");
  inode();
  EXPECT_EQ(std::tie(st.st_nlink, st.st_uid, st.st_gid, st.st_mode),
            std::tuple(2u, kyo::test::unprivileged_uid(), kyo::test::unprivileged_gid(),
                       S_IFREG | 0640u));
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path("Settings")), {}), 1002);
}

TEST_F(profile_test, writes_obey_the_file_permission_and_keep_what_they_cannot_replace) {
  // name, file mode, folder mode, root (not the writer) owns the file, size limit, write succeeds
  const std::tuple<const char*, mode_t, mode_t, bool, bool, bool> rows[] = {
      {"a read-only file is refused", 0444, 0755, false, false, false},
      {"another user's file without write permission is refused", 0644, 0755, true, false, false},
      {"a writable file in a locked folder is written in place", 0644, 0555, false, false, true},
      {"another user's writable file keeps its owner", 0666, 0755, true, false, true},
      {"an in-place write that cannot finish is reported, the file kept", 0644, 0555, false, true,
       false},
  };
  kyo::test::hand_over(dir_.path());
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const auto& [name, file_mode, folder_mode, others, limited, ok] = rows[i];
    SCOPED_TRACE(name);
    if (others && !kyo::test::running_as_root()) continue;  // needs a second user
    const std::string folder = std::to_string(i), path = folder + "/kyo.ini";
    dir_.write(path, "[A]\nk=old\n");
    if (!others) kyo::test::hand_over(dir_.path(path));
    kyo::test::hand_over(dir_.path(folder));
    struct stat before, after;
    ASSERT_EQ(::chmod(file(path).c_str(), file_mode), 0);
    ASSERT_EQ(::chmod(file(folder).c_str(), folder_mode), 0);
    ASSERT_EQ(::stat(file(path).c_str(), &before), 0);
    kyo::test::as_unprivileged([&, limited = limited, ok = ok, folder_mode = folder_mode] {
      const rlimit limit{static_cast<rlim_t>(before.st_size), static_cast<rlim_t>(before.st_size)};
      std::signal(SIGXFSZ, SIG_IGN);
      ASSERT_TRUE(!limited || ::setrlimit(RLIMIT_FSIZE, &limit) == 0);
      EXPECT_EQ(kyo::write_private_profile_string("A", "k", "newer", file(path).c_str()), ok);
      EXPECT_TRUE(folder_mode != 0555 || kyo::profile_write(file(folder + "/n"), "A", "k", "v") ==
                                             std::errc::permission_denied);
    });
    EXPECT_EQ(dir_.read(path), ok ? "[A]\nk=newer\n" : "[A]\nk=old\n");
    ASSERT_EQ(::stat(file(path).c_str(), &after), 0);
    EXPECT_EQ(std::tie(after.st_ino, after.st_uid, after.st_gid, after.st_mode),
              std::tie(before.st_ino, before.st_uid, before.st_gid, before.st_mode));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path(folder)), {}), 1);
    ::chmod(file(folder).c_str(), 0755);
  }
}

TEST_F(profile_test, concurrent_writers_lose_no_update) {
  std::vector<std::jthread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([this, t] {
      for (int i = 0; i < 20; ++i)
        EXPECT_FALSE(kyo::profile_write(file(), "Shared", std::to_string(t * 100 + i), "v"));
    });
  threads.clear();  // joins them
  EXPECT_EQ(kyo::profile_entries(file(), "Shared").size(), 80u);
  EXPECT_EQ(kyo::profile_read(file(), "shared", "319"), "v");
}

}  // namespace
