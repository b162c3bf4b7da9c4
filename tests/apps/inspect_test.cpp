#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "core/object_stream_types.h"
#include "kyo/commands.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

struct run_result {
  int code;
  std::string out, err;
};

run_result inspect(std::vector<std::string> args) {
  std::ostringstream out, err;
  const int code = cli::run_inspect(args, out, err);
  return {code, out.str(), err.str()};
}

std::string header(const std::string& signature, const char (&version)[9]) {
  return signature + '\0' + std::string(version, 8) + '\x1a';
}

TEST(kyo_inspect, lists_header_records_references_and_nulls) {
  temp_dir dir;
  auto tree = make_sample_tree();
  std::ostringstream body;
  opstream os(body);
  writePtr(os, tree.get());
  writePtr(os, static_cast<node*>(nullptr));
  const std::string file = dir.file("survey.cfg");
  write_file(file, header("KYO TEST FILE", "1.0\0\0\0\0\0") + body.str());

  const run_result r = inspect({file});
  EXPECT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("header: signature \"KYO TEST FILE\", version \"1.0\", marker 0x1a"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("@23 #0 \"test_node\" v1"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("    -> #0 (test_node)"), std::string::npos) << "a's buddy, two deep";
  EXPECT_NE(r.out.find("  #1 \"test_node\" v1"), std::string::npos);
  EXPECT_NE(r.out.find("  data 20 bytes\n"), std::string::npos) << "name \"root\", value and x";
  EXPECT_NE(r.out.find("null\n"), std::string::npos);
  EXPECT_EQ(r.out.find("unrecognised"), std::string::npos) << r.out;
}

TEST(kyo_inspect, lists_a_library_index_behind_self_contained_records) {
  temp_dir dir;
  auto tree = make_sample_tree();
  const std::string head = header("KYO II Mobile Shape Definition File", "0.12\0\0\0\0");
  std::ostringstream body;
  opstream os(body);
  os.set_self_contained(true);
  writePtr(os, tree.get());
  const std::uint32_t index_at = std::uint32_t(head.size() + 4 + body.str().size());
  std::ostringstream index;
  opstream ix(index);
  ix.writeWord32(1);
  ix.writeString("Survey vessel");
  ix.writeWord32(0);
  ix.writeWord32(1);
  ix.writeWord32(0);
  ix.writeWord32(1);
  ix.writeWord32(std::uint32_t(head.size() + 4));
  std::ostringstream pos;
  opstream px(pos);
  px.writeWord32(index_at);
  const std::string file = dir.file("shapes.lib");
  write_file(file, head + pos.str() + body.str() + index.str());

  const run_result r = inspect({file});
  EXPECT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("index position: " + std::to_string(index_at)), std::string::npos);
  EXPECT_NE(r.out.find("(self-contained)"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("item 0: \"Survey vessel\" type 0 flag 1 xref 0"), std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("1 position(s): " + std::to_string(head.size() + 4)), std::string::npos);
}

TEST(kyo_inspect, reports_corrupt_and_unreadable_files) {
  temp_dir dir;
  auto tree = make_sample_tree();
  std::ostringstream body;
  opstream os(body);
  writePtr(os, tree.get());
  const std::string file = dir.file("cut.bin");
  write_file(file, body.str().substr(0, body.str().size() - 3));

  run_result r = inspect({file});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.out.find("header: none"), std::string::npos);
  EXPECT_NE(r.err.find("runs past its end at offset 0"), std::string::npos) << r.err;

  write_file(file, "plain text, no stream");
  r = inspect({file});
  EXPECT_EQ(r.code, 0);
  EXPECT_NE(r.out.find("unrecognised data: 21 bytes at offset 0"), std::string::npos) << r.out;

  r = inspect({dir.file("missing.cfg")});
  EXPECT_EQ(r.code, 1);
  EXPECT_NE(r.err.find("cannot open"), std::string::npos);
  EXPECT_EQ(inspect({}).code, 2);
  EXPECT_EQ(inspect({"a", "b"}).code, 2);
  r = inspect({"--help"});
  EXPECT_EQ(r.code, 0);
  EXPECT_NE(r.out.find("usage: kyo inspect FILE"), std::string::npos);
}

}  // namespace
}  // namespace kyo::test
