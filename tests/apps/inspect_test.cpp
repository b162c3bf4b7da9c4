#include <gtest/gtest.h>

#include <sstream>

#include "core/object_stream_types.h"
#include "kyo/commands.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

// "exit code|standard output|standard error" of one kyo inspect run.
std::string inspect(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int code = cli::run_inspect(args, out, err);
  return std::to_string(code) + "|" + out.str() + "|" + err.str();
}

// Fails for each of `parts` that `text` does not contain.
void expect_parts(const std::string& text, std::initializer_list<std::string> parts) {
  for (const std::string& part : parts)
    EXPECT_NE(text.find(part), std::string::npos) << "no \"" << part << "\" in\n" << text;
}

std::string header(const std::string& signature, const char (&version)[9]) {
  return signature + '\0' + std::string(version, 8) + '\x1a';
}

// The sample tree as one object stream, optionally with self-contained records.
std::string sample_stream(bool self_contained) {
  auto tree = make_sample_tree();
  std::ostringstream body;
  opstream os(body);
  os.set_self_contained(self_contained);
  writePtr(os, tree.get());
  return body.str();
}

std::string le32(std::uint32_t v) {
  return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)};
}

TEST(kyo_inspect, lists_header_records_references_and_nulls) {
  temp_dir dir;
  const std::string file = dir.file("survey.cfg");
  write_file(file, header("KYO TEST FILE", "1.0\0\0\0\0\0") + sample_stream(false) + '\0');
  const std::string r = inspect({file});
  EXPECT_TRUE(r.starts_with("0|")) << r;
  expect_parts(
      r, {"header: signature \"KYO TEST FILE\", version \"1.0\", marker 0x1a",
          "@23 #0 \"test_node\" v1", "    -> #0 (test_node)" /* a's buddy, two deep */,
          "  #1 \"test_node\" v1", "  data 20 bytes\n" /* name "root", value and x */, "null\n"});
  EXPECT_EQ(r.find("unrecognised"), std::string::npos) << r;
}

TEST(kyo_inspect, lists_a_library_index_behind_self_contained_records) {
  temp_dir dir;
  const std::string head = header("KYO II Mobile Shape Definition File", "0.12\0\0\0\0");
  const std::string body = sample_stream(true);
  const std::uint32_t first = std::uint32_t(head.size() + 4);
  const std::uint32_t index_at = std::uint32_t(first + body.size());
  // One item "Survey vessel" of type 0, flag 1, cross reference 0, and one record position.
  const std::string name = "Survey vessel";
  const std::string index = le32(1) + le32(std::uint32_t(name.size())) + name + le32(0) + le32(1) +
                            le32(0) + le32(1) + le32(first);
  const std::string file = dir.file("shapes.lib");
  write_file(file, head + le32(index_at) + body + index);

  const std::string r = inspect({file});
  EXPECT_TRUE(r.starts_with("0|")) << r;
  expect_parts(r, {"index position: " + std::to_string(index_at), "(self-contained)",
                   "item 0: \"Survey vessel\" type 0 flag 1 xref 0",
                   "1 position(s): " + std::to_string(first)});
}

TEST(kyo_inspect, reports_corrupt_and_unreadable_files_with_exit_codes) {
  temp_dir dir;
  const std::string file = dir.file("cut.bin");
  const std::string body = sample_stream(false);
  write_file(file, body.substr(0, body.size() - 3));
  std::string r = inspect({file});
  EXPECT_TRUE(r.starts_with("1|")) << r;
  expect_parts(r, {"header: none", "runs past its end at offset 0"});

  write_file(file, "plain text, no stream");
  r = inspect({file});
  EXPECT_TRUE(r.starts_with("0|")) << r;
  expect_parts(r, {"unrecognised data: 21 bytes at offset 0"});

  r = inspect({dir.file("missing.cfg")});
  EXPECT_TRUE(r.starts_with("1|") && r.find("cannot open") != std::string::npos) << r;
  EXPECT_TRUE(inspect({}).starts_with("2|"));
  EXPECT_TRUE(inspect({"a", "b"}).starts_with("2|"));
  r = inspect({"--help"});
  EXPECT_TRUE(r.starts_with("0|") && r.find("usage: kyo inspect FILE") != std::string::npos);
}

}  // namespace
}  // namespace kyo::test
