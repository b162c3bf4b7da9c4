#include <gtest/gtest.h>

#include "apps/kyo_run.h"
#include "core/object_stream_types.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

TEST(kyo_inspect, lists_what_a_file_holds_and_says_where_it_is_damaged) {
  temp_dir dir;
  std::ostringstream stream;
  opstream os(stream);
  writePtr(os, make_sample_tree().get());
  const std::string body = stream.str(), head = bytes::config_header("KYO TEST FILE", "1.0");
  // What is written to f.bin, then what the listing starts with and holds.
  const std::tuple<std::string, std::string, std::vector<std::string>> rows[] = {
      {head + body + '\0',
       "0|",
       {"header: signature \"KYO TEST FILE\", version \"1.0\", marker 0x1a",
        "@23 #0 \"test_node\" v1", "    -> #0 (test_node)" /* a's buddy, two deep */,
        "  #1 \"test_node\" v1", "  data 20 bytes\n" /* name "root", value and x */, "null\n"}},
      {body.substr(0, body.size() - 3), "1|", {"header: none", "runs past its end"}},
  };
  for (const auto& [content, code, parts] : rows) {
    dir.write("f.bin", content);
    const std::string got = kyo_run({"inspect", dir.file("f.bin")});
    EXPECT_TRUE(got.starts_with(code)) << got;
    for (const std::string& part : parts)
      EXPECT_NE(got.find(part), std::string::npos) << "no \"" << part << "\" in\n" << got;
  }
}

}  // namespace
}  // namespace kyo::test
