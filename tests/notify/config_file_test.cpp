// Configuration file headers: what oconfig_file writes, what iconfig_file accepts and
// says about what it refuses, and that neither damages a file it does not accept.
#include <kyo/notify/config_file.h>
#include <kyo/notify/server.h>
#include <kyo/platform/path_map.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/recording_ui.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"
#include "support/unprivileged.h"

namespace kyo::test {
namespace {

using namespace std::string_literals;

const std::string signature = "KYO II Test Settings";
const auto header = bytes::config_header;

/// Drive C: is the test's temporary folder while this lives.
struct config_file_test : ::testing::Test {
  config_file_test() { set_drive_mapping('C', dir.path().string()); }
  ~config_file_test() override { clear_drive_mappings(); }
  temp_dir dir;
  recording_ui ui;
};

// A refused file gets one box, is read no further and is never written.
TEST_F(config_file_test, checks_the_header_and_says_what_is_wrong) {
  const std::string long_name(200, 'x');
  const std::tuple<const char*, std::string, std::string, std::string> rows[] = {
      {"a newer version", "a.cfg", header(signature, "1.1"),
       "'C:\\a.cfg' is a version 1.1 " + signature},
      {"another kind of file", "a.cfg", "", "'C:\\a.cfg' is not a " + signature},
      {"a message about a long path is cut", long_name, "not a settings file",
       ("'C:\\" + long_name + "' is not a " + signature).substr(0, 127)},
  };
  for (const auto& [what, name, file, message] : rows) {
    SCOPED_TRACE(what);
    dir.write(name, file + "\x02payload");
    ui.clear();
    iconfig_file in(file_info("C:\\" + name, signature, "1.0"));
    EXPECT_EQ(ui.events(),
              (std::vector<ui_event>{{ui_event::kind::message_box, message, "Error", 0x1030u}}));
    server* s = nullptr;
    readPtr(in, s);
    EXPECT_TRUE(in.bad() && s == nullptr) << "nothing is read from it";
    in.close();
    EXPECT_EQ(dir.read(name), file + "\x02payload");
  }
}

// Output keeps the length and tail of an existing file; the version is cut to seven characters.
TEST_F(config_file_test, writes_the_header_over_an_existing_file) {
  const std::string tail = "tail bytes \0\x1A\xFF that stay"s;
  dir.write("lib.cfg", header(signature, "0.5") + tail);
  const file_info info("C:\\lib.cfg", signature, "0.123456789");
  oconfig_file(file_info("C:\\lib.cfg", signature, "1.0"));
  EXPECT_EQ(dir.read("lib.cfg"), header(signature, "1.0") + tail);
  const server a(nullptr, "a");
  oconfig_file out(info);
  writePtr(out, &a);
  out.close();
  const std::string want = header(signature, "0.12345") + written(&a);
  EXPECT_EQ(dir.read("lib.cfg").substr(0, want.size()), want);
  EXPECT_TRUE(iconfig_file(info).good() && ui.events().empty());
}

TEST_F(config_file_test, output_leaves_a_file_it_cannot_read_alone) {
  dir.write("locked.cfg", "precious data");
  const std::string path = dir.file("locked.cfg");
  hand_over(dir.path());
  hand_over(path);
  ASSERT_EQ(chmod(path.c_str(), S_IWUSR), 0);
  as_unprivileged(
      [] { EXPECT_TRUE(oconfig_file(file_info("C:\\locked.cfg", signature, "1.0")).fail()); });
  ASSERT_EQ(chmod(path.c_str(), S_IRUSR | S_IWUSR), 0);
  EXPECT_EQ(dir.read("locked.cfg"), "precious data");
}

}  // namespace
}  // namespace kyo::test
