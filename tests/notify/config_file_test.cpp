// Configuration file headers: what oconfig_file writes, what iconfig_file accepts and
// says about what it refuses, and that neither damages a file it does not accept.
#include <kyo/notify/config_file.h>
#include <kyo/notify/server.h>
#include <kyo/platform/path_map.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <optional>

#include "support/recording_ui.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"
#include "support/unprivileged.h"

namespace kyo::test {
namespace {

using namespace std::string_literals;

const std::string signature = "KYO II Test Settings";

/// Drive C: is the test's temporary folder while this lives.
struct config_file_test : ::testing::Test {
  config_file_test() { set_drive_mapping('C', dir.path().string()); }
  ~config_file_test() override { clear_drive_mappings(); }
  temp_dir dir;
  recording_ui ui;
};

const auto header = bytes::config_header;

std::unique_ptr<server> next_server(ipstream& in) {
  server* s = nullptr;
  readPtr(in, s);
  return std::unique_ptr<server>(s);
}

TEST_F(config_file_test, checks_the_header_and_says_what_is_wrong) {
  const std::string body = "\x02payload that must not be read";
  const std::string full = header(signature, "1.0");
  const std::string long_name(200, 'x');
  const auto is_a = [](const std::string& v) {
    return "'C:\\a.cfg' is a version " + v + " " + signature;
  };
  const std::string not_a = "'C:\\a.cfg' is not a " + signature;
  struct row {
    const char* what;
    std::optional<std::string> file;  // none: no such file
    std::string message;              // empty: no message
    std::string name = "a.cfg";
  };
  const std::vector<row> rows = {
      {"the same kind and version", full + body, ""},
      {"a newer version", header(signature, "1.1") + body, is_a("1.1")},
      {"cut inside the version", signature + '\0' + "1.", is_a("1.")},
      {"cut before the marker", full.substr(0, full.size() - 1), ""},
      {"an empty file", "", not_a},
      {"a missing file", std::nullopt, "", "missing.cfg"},
      {"a message about a long path is cut", "not a settings file",
       ("'C:\\" + long_name + "' is not a " + signature).substr(0, 127), long_name},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    if (r.file) dir.write(r.name, *r.file);
    ui.clear();
    iconfig_file in(file_info("C:\\" + r.name, signature, "1.0"));
    EXPECT_EQ(in.good(), r.file == full + body) << in.error();
    if (r.message.empty()) {
      EXPECT_TRUE(ui.events().empty());
    } else {
      const auto boxes = ui.events();
      ASSERT_EQ(boxes.size(), 1u);
      EXPECT_EQ(boxes[0].text, r.message);
      EXPECT_TRUE(boxes[0].what == ui_event::kind::message_box && boxes[0].caption == "Error" &&
                  boxes[0].style == 0x1030u);
      EXPECT_TRUE(in.bad());
      EXPECT_EQ(next_server(in), nullptr) << "nothing is read from a refused file";
    }
    in.close();
    if (r.file) {
      EXPECT_EQ(dir.read(r.name), *r.file) << "the input side never writes";
    }
  }
  iconfig_file missing(file_info("C:\\missing.cfg", signature, "1.0"));
  EXPECT_NE(missing.rdstate() & stream_hardfail, 0u);
}

// Output keeps the length and tail of an existing file; a file open for output reads back.
TEST_F(config_file_test, writes_the_header_and_reads_back_also_while_open_for_output) {
  const std::string tail = "tail bytes \0\x1A\xFF that stay"s;
  dir.write("lib.cfg", header(signature, "0.5") + tail);
  const file_info info("C:\\lib.cfg", signature, "0.12");
  oconfig_file(file_info("C:\\lib.cfg", signature, "1.0"));
  EXPECT_EQ(dir.read("lib.cfg"), header(signature, "1.0") + tail);
  std::streampos end;
  {
    oconfig_file out(info);
    server a(nullptr, "a");
    writePtr(out, &a);
    end = out.tellp();
  }
  {
    iconfig_file in(info);
    oconfig_file out(info);
    ASSERT_TRUE(in.good() && out.good());
    out.seekp(end);
    server b(nullptr, "b");
    writePtr(out, &b);
    EXPECT_EQ(next_server(in)->get_name(), "a");
  }
  iconfig_file again(info);
  std::unique_ptr<server> first = next_server(again), second = next_server(again);
  ASSERT_TRUE(first != nullptr && second != nullptr) << again.error();
  EXPECT_EQ(first->get_name() + second->get_name(), "ab") << "read in the order written";
  EXPECT_TRUE(ui.events().empty());
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

TEST(config_file, the_version_field_keeps_seven_characters_and_a_nul) {
  const file_info info("x", "y", "123456789");
  EXPECT_EQ(info.version_text(), "1234567");
  EXPECT_EQ(info.version[7], '\0');
}

}  // namespace
}  // namespace kyo::test
