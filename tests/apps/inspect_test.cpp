#include <gtest/gtest.h>

#include <sys/stat.h>

#include "apps/kyo_run.h"
#include "core/object_stream_types.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

using bytes::le32;

// The sample tree as one object stream, optionally with self-contained records.
std::string sample_stream(bool self_contained) {
  auto tree = make_sample_tree();
  std::ostringstream body;
  opstream os(body);
  os.set_self_contained(self_contained);
  writePtr(os, tree.get());
  return body.str();
}

TEST(kyo_inspect, lists_what_a_file_holds_and_says_where_it_is_damaged) {
  temp_dir dir;
  const std::string body = sample_stream(false);
  const std::string head = bytes::config_header("KYO TEST FILE", "1.0");
  const std::string lib_head = bytes::config_header("KYO II Mobile Shape Definition File", "0.12");
  const std::string records = sample_stream(true), name = "Survey vessel";
  const std::uint32_t first = std::uint32_t(lib_head.size() + 4);
  const std::uint32_t index_at = std::uint32_t(first + records.size());
  // One item "Survey vessel" of type 0, flag 1, cross reference 0, and one record position.
  const std::string library = lib_head + le32(index_at) + records + le32(1) +
                              le32(std::uint32_t(name.size())) + name + le32(0) + le32(1) +
                              le32(0) + le32(1) + le32(first);
  ASSERT_EQ(::mkfifo(dir.file("fifo").c_str(), 0600), 0);
  struct row {
    const char* what;
    std::string content;  // written to f.bin unless `path` is given
    std::string path;
    std::string code;
    std::vector<std::string> parts;
  };
  const std::vector<row> rows = {
      {"header, records, references and nulls",
       head + body + '\0',
       "",
       "0|",
       {"header: signature \"KYO TEST FILE\", version \"1.0\", marker 0x1a",
        "@23 #0 \"test_node\" v1", "    -> #0 (test_node)" /* a's buddy, two deep */,
        "  #1 \"test_node\" v1", "  data 20 bytes\n" /* name "root", value and x */, "null\n"}},
      {"a library index behind self-contained records",
       library,
       "",
       "0|",
       {"layout: shape library (index position behind the header, objects, index at " +
            std::to_string(index_at) + ")",
        "(self-contained)", "item 0: \"Survey vessel\" type 0 flag 1 xref 0",
        "1 position(s): " + std::to_string(first)}},
      {"an empty configuration file is whole", head, "", "0|", {"header: signature"}},
      {"cut record",
       body.substr(0, body.size() - 3),
       "",
       "1|",
       {"header: none", "runs past its end"}},
      {"plain text", "plain text, no stream", "", "1|", {"no configuration header and no object"}},
      {"empty", "", "", "1|", {"no configuration header"}},
      {"header then junk", head + "junk", "", "1|", {"unrecognised data: 4 bytes", "is damaged"}},
      {"missing", "", dir.file("missing.cfg"), "1|", {"cannot open", "No such file"}},
      {"fifo (would block)", "", dir.file("fifo"), "1|", {"is not a regular file"}},
      {"folder", "", dir.path().string(), "1|", {"is not a regular file"}},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.what);
    if (r.path.empty()) dir.write("f.bin", r.content);
    const std::string got = kyo_run({"inspect", r.path.empty() ? dir.file("f.bin") : r.path});
    EXPECT_TRUE(got.starts_with(r.code)) << got;
    for (const std::string& part : r.parts)
      EXPECT_NE(got.find(part), std::string::npos) << "no \"" << part << "\" in\n" << got;
    EXPECT_TRUE(r.code == "1|" || got.find("unrecognised") == std::string::npos) << got;
  }
  EXPECT_TRUE(kyo_run({"inspect"}).starts_with("2|"));
  EXPECT_TRUE(kyo_run({"inspect", "a", "b"}).starts_with("2|"));
}

}  // namespace
}  // namespace kyo::test
