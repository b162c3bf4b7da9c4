#include <gtest/gtest.h>

#include <sys/stat.h>

#include "apps/kyo_run.h"
#include "core/object_stream_types.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

std::string inspect(std::vector<std::string> args) {
  args.insert(args.begin(), "inspect");
  return kyo_run(args);
}

// Fails for each of `parts` that `text` does not contain.
void expect_parts(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& part : parts)
    EXPECT_NE(text.find(part), std::string::npos) << "no \"" << part << "\" in\n" << text;
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

using bytes::le32;

TEST(kyo_inspect, lists_header_records_references_and_nulls) {
  temp_dir dir;
  const std::string file = dir.file("survey.cfg");
  write_file(file, bytes::config_header("KYO TEST FILE", "1.0") + sample_stream(false) + '\0');
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
  const std::string head = bytes::config_header("KYO II Mobile Shape Definition File", "0.12");
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
  expect_parts(r, {"layout: shape library (index position behind the header, objects, index at " +
                       std::to_string(index_at) + ")",
                   "(self-contained)", "item 0: \"Survey vessel\" type 0 flag 1 xref 0",
                   "1 position(s): " + std::to_string(first)});
}

TEST(kyo_inspect, fails_on_what_is_no_stream_or_a_damaged_one) {
  temp_dir dir;
  const std::string file = dir.file("f.bin");
  const std::string body = sample_stream(false);
  const std::string head = bytes::config_header("KYO TEST FILE", "1.0");
  const std::string fifo = dir.file("fifo");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  struct row {
    const char* what;
    std::string content;  // written to f.bin unless `path` is given
    std::string path;
    std::vector<std::string> parts;
  };
  const std::vector<row> rows = {
      {"cut record", body.substr(0, body.size() - 3), "", {"header: none", "runs past its end"}},
      {"plain text", "plain text, no stream", "", {"no configuration header and no object"}},
      {"empty", "", "", {"no configuration header"}},
      {"header then junk", head + "junk", "", {"unrecognised data: 4 bytes", "is damaged"}},
      {"missing", "", dir.file("missing.cfg"), {"cannot open", "No such file"}},
      {"fifo (would block)", "", fifo, {"is not a regular file"}},
      {"folder", "", dir.path().string(), {"is not a regular file"}},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    if (r.path.empty()) write_file(file, r.content);
    const std::string got = inspect({r.path.empty() ? file : r.path});
    EXPECT_TRUE(got.starts_with("1|")) << got;
    expect_parts(got, r.parts);
  }
  write_file(file, head);
  EXPECT_TRUE(inspect({file}).starts_with("0|")) << "an empty configuration file is whole";
  EXPECT_TRUE(inspect({}).starts_with("2|"));
  EXPECT_TRUE(inspect({"a", "b"}).starts_with("2|"));
}

}  // namespace
}  // namespace kyo::test
