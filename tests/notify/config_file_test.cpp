// Configuration file headers: what oconfig_file writes, what iconfig_file accepts and
// says about what it refuses, and that neither damages a file it does not accept.
#include <kyo/notify/config_file.h>
#include <kyo/notify/server.h>
#include <kyo/platform/path_map.h>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "support/recording_ui.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

const std::string signature = "KYO II Test Settings";

/// Drive C: is the test's temporary folder while this lives.
class drive_c {
 public:
  drive_c() { set_drive_mapping('C', dir_.path().string()); }
  ~drive_c() { clear_drive_mappings(); }
  const temp_dir& dir() const { return dir_; }

 private:
  temp_dir dir_;
};

std::string header(std::string_view type, std::string_view version8) {
  std::string h(type);
  h += '\0';
  h += version8;
  h += '\x1A';
  return h;
}

std::string version_field(std::string_view text) {
  std::string v(text);
  v.resize(8, '\0');
  return v;
}

TEST(config_file, writes_the_header_and_reads_back_the_first_object) {
  drive_c c;
  const file_info info("C:\\Settings.cfg", signature, "0.12");
  {
    oconfig_file out(info);
    ASSERT_TRUE(out.good()) << out.error();
    server first(nullptr, "first");
    server second(nullptr, "second");
    writePtr(out, &first);
    writePtr(out, &second);
  }
  const std::string bytes = c.dir().read("Settings.cfg");
  EXPECT_EQ(bytes.substr(0, signature.size() + 10), header(signature, version_field("0.12")));

  recording_ui ui;
  iconfig_file in(info);
  ASSERT_TRUE(in.good()) << in.error();
  server* s = nullptr;
  readPtr(in, s);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->get_name(), "first");
  delete s;
  EXPECT_TRUE(ui.events().empty());
}

TEST(config_file, checks_the_header_and_says_what_is_wrong) {
  drive_c c;
  const std::string body = "\x02payload that must not be read";
  struct row {
    const char* what;
    std::string file;
    std::string message;
  };
  const std::string full = header(signature, version_field("1.0"));
  const std::vector<row> rows = {
      {"the same kind and version", full + body, ""},
      {"a newer version", header(signature, version_field("1.1")) + body,
       "'C:\\a.cfg' is a version 1.1 " + signature},
      {"an older version", header(signature, version_field("0.9")) + body,
       "'C:\\a.cfg' is a version 0.9 " + signature},
      {"1.00 is not 1.0", header(signature, version_field("1.00")) + body,
       "'C:\\a.cfg' is a version 1.00 " + signature},
      {"another kind", header("KYO II Mobile Shape Definition File", version_field("1.0")) + body,
       "'C:\\a.cfg' is not a " + signature},
      {"a longer signature", header(signature + "s", version_field("1.0")),
       "'C:\\a.cfg' is not a " + signature},
      {"cut inside the signature", signature.substr(0, 5), "'C:\\a.cfg' is not a " + signature},
      {"cut inside the version", signature + '\0' + "1.",
       "'C:\\a.cfg' is a version 1. " + signature},
      {"cut before the marker", full.substr(0, full.size() - 1), ""},
      {"an empty file", "", "'C:\\a.cfg' is not a " + signature},
  };
  const file_info info("C:\\a.cfg", signature, "1.0");
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    c.dir().write("a.cfg", r.file);
    recording_ui ui;
    iconfig_file in(info);
    const bool accepted = r.message.empty() && r.file.size() >= full.size();
    EXPECT_EQ(in.good(), accepted) << in.error();
    const auto boxes = ui.events(ui_event::kind::message_box);
    if (r.message.empty()) {
      EXPECT_TRUE(boxes.empty());
    } else {
      ASSERT_EQ(boxes.size(), 1u);
      EXPECT_EQ(boxes[0].text, r.message);
      EXPECT_EQ(boxes[0].caption, "Error");
      EXPECT_EQ(boxes[0].style, 0x1030u);
      EXPECT_TRUE(in.bad());
      server* s = nullptr;
      readPtr(in, s);
      EXPECT_EQ(s, nullptr) << "nothing is read from a refused file";
    }
    in.close();
    EXPECT_EQ(c.dir().read("a.cfg"), r.file) << "the input side never writes";
  }
}

TEST(config_file, a_missing_file_fails_quietly) {
  drive_c c;
  recording_ui ui;
  iconfig_file in(file_info("C:\\missing.cfg", signature, "1.0"));
  EXPECT_TRUE(in.fail());
  EXPECT_NE(in.rdstate() & stream_hardfail, 0u);
  EXPECT_TRUE(ui.events().empty());
}

TEST(config_file, a_message_about_a_very_long_path_is_cut_at_127_bytes) {
  drive_c c;
  const std::string file_name(200, 'x');
  c.dir().write(file_name, "not a settings file");
  recording_ui ui;
  iconfig_file in(file_info("C:\\" + file_name, signature, "1.0"));
  const auto boxes = ui.events(ui_event::kind::message_box);
  ASSERT_EQ(boxes.size(), 1u);
  const std::string whole = "'C:\\" + file_name + "' is not a " + signature;
  EXPECT_EQ(boxes[0].text, whole.substr(0, 127));
  EXPECT_TRUE(in.fail());
}

TEST(config_file, output_keeps_the_length_and_tail_of_an_existing_file) {
  drive_c c;
  const file_info info("C:\\lib.cfg", signature, "1.0");
  std::string tail;
  for (int i = 0; i < 300; ++i)
    tail += static_cast<char>(i * 7);
  const std::string original = header(signature, version_field("0.5")) + tail;
  c.dir().write("lib.cfg", original);
  {
    oconfig_file out(info);
    EXPECT_TRUE(out.good()) << out.error();
  }
  EXPECT_EQ(c.dir().read("lib.cfg"), header(signature, version_field("1.0")) + tail);
}

TEST(config_file, input_and_output_may_be_open_on_one_file_at_once) {
  drive_c c;
  const file_info info("C:\\lib.cfg", signature, "1.0");
  std::streampos end;
  {
    oconfig_file out(info);
    server a(nullptr, "a");
    writePtr(out, &a);
    end = out.tellp();
  }
  recording_ui ui;
  iconfig_file in(info);
  oconfig_file out(info);
  ASSERT_TRUE(in.good() && out.good());
  out.seekp(end);
  server b(nullptr, "b");
  writePtr(out, &b);
  std::unique_ptr<server> a_back;
  {
    server* s = nullptr;
    readPtr(in, s);
    a_back.reset(s);
  }
  ASSERT_NE(a_back, nullptr);
  EXPECT_EQ(a_back->get_name(), "a");
  out.close();
  in.close();

  iconfig_file again(info);
  server* first = nullptr;
  server* second = nullptr;
  readPtr(again, first);
  readPtr(again, second);
  ASSERT_TRUE(first != nullptr && second != nullptr) << again.error();
  EXPECT_EQ(second->get_name(), "b");
  delete first;
  delete second;
  EXPECT_TRUE(ui.events().empty());
}

TEST(config_file, output_leaves_a_file_it_cannot_read_alone) {
  if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the superuser";
  drive_c c;
  const std::string original = "precious data";
  c.dir().write("locked.cfg", original);
  const std::string path = c.dir().file("locked.cfg");
  ASSERT_EQ(chmod(path.c_str(), S_IWUSR), 0);
  {
    oconfig_file out(file_info("C:\\locked.cfg", signature, "1.0"));
    EXPECT_TRUE(out.fail());
  }
  ASSERT_EQ(chmod(path.c_str(), S_IRUSR | S_IWUSR), 0);
  EXPECT_EQ(c.dir().read("locked.cfg"), original);
}

TEST(config_file, the_version_field_keeps_seven_characters_and_a_nul) {
  const file_info info("x", "y", "123456789");
  EXPECT_EQ(info.version_text(), "1234567");
  EXPECT_EQ(info.version[7], '\0');
}

}  // namespace
}  // namespace kyo::test
