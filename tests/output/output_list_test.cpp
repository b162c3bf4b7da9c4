// Output lists and output strings: codes 430 to 432, what a list deletes at its end, switching
// an output string on and off, the lines of code 600, and their stream forms.
#include <kyo/output/output_file.h>
#include <kyo/output/output_list.h>
#include <kyo/output/output_printer.h>
#include <kyo/output/output_string.h>
#include <kyo/output/printer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>

#include "support/fake_clock.h"
#include "support/recording_client.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

/// Gives the line it was set to, with the data value in front.
class line_string : public output_string {
 public:
  struct Streamer {
    static void Write(opstream& os, const line_string& s) { write_base<output_string>(os, s); }
    static void Read(ipstream& is, line_string& s, std::uint32_t) {
      read_base<output_string>(is, s);
    }
  };
  explicit line_string(const std::string& name) : output_string(name) {}
  explicit line_string(streamable_init_t) : output_string(streamable_init) {}
  std::string line;

 protected:
  std::string get_line(long data) override {
    return line.empty() ? line : std::to_string(data) + ":" + line;
  }
};
const stream_registration<line_string> registration("test_line_string");

TEST(output_list, tells_additions_and_removals_and_drops_outputs_that_die) {
  output_list list(nullptr);
  recording_client watcher;
  list.attach_client(watcher);
  auto* a = new output_file("A", "txt");
  output_file b("B", "txt"), c("C", "txt"), d("D", "txt");
  EXPECT_TRUE(list.add_at(*a, 0) && list.add_at(b, 1) && list.add_at(c, 1));
  EXPECT_FALSE(list.add_at(c, 0) || list.add_at(d, 4)) << "already listed, out of range";
  list.set_dirty(false);
  delete a;
  EXPECT_TRUE(list.is_dirty());
  list.set_dirty(false);
  EXPECT_TRUE(list.remove(1) && !list.remove(1));
  EXPECT_FALSE(list.is_dirty()) << "remove leaves the dirty flag";
  EXPECT_TRUE(list.count() == 1 && list.at(0) == &c);
  b.notify_clients(777, 5, false);  // b is no longer watched
  c.notify_clients(777, 6, false);
  std::string told;  // the former index of the output that died with 432
  for (const notification& n : watcher.received())
    told += std::to_string(n.code) + ":" + std::to_string(n.arg) + " ";
  EXPECT_EQ(told, "431:0 431:1 431:1 432:0 432:1 777:6 ");
  EXPECT_TRUE(list.remove(0) && list.count() == 0);
}

/// An output of the application's own kinds (types 1 and 3) that counts the bytes written to it.
class app_output : public output {
 public:
  explicit app_output(int type) : server(nullptr, "app"), output(static_cast<output_type>(type)) {}
  int write(const char*, int length) override {
    bytes += length;
    return 0;
  }
  std::atomic<long> bytes{0};
};

TEST(output_list, deletes_file_outputs_at_its_end_and_leaves_printer_outputs_alive) {
  printer p(streamable_init);
  output_printer kept(p, "doc");
  app_output kind3(3);
  auto* list = new output_list(nullptr);
  auto* file = new output_file("A", "txt");
  auto* kind1 = new app_output(1);
  recording_client watcher;
  file->attach_client(watcher);
  kind1->attach_client(watcher);
  for (output* o : std::initializer_list<output*>{file, &kind3, &kept})
    list->add_at(*o, list->count());
  list->add_at(*kind1, 1);
  std::string types;
  list->for_each(
      [](output& o, void* out) { *static_cast<std::string*>(out) += char('0' + int(o.type())); },
      &types);
  EXPECT_EQ(types, "0132");
  auto is_printer = [](const output& o, void*) { return o.type() == output_type::printer; };
  EXPECT_EQ(list->first_that(is_printer, nullptr), &kept);
  delete list;
  EXPECT_EQ(watcher.codes(), (std::vector<int>{430, 430})) << "file and kind 1 deleted";
  EXPECT_FALSE(kept.list_owned() || kind3.list_owned());
}

TEST(output_string, switches_on_only_while_enabled_writes_non_empty_lines_and_streams) {
  temp_dir dir;
  fake_wall_clock wall(fake_wall_clock::utc(2024, 1, 2, 3, 4, 5));
  line_string s("Fixes");
  auto* file = new output_file(dir.path().string(), "txt");
  s.outputs().add_at(*file, 0);
  EXPECT_FALSE(s.activate(true) || file->is_open());
  s.set_dirty(false);
  s.set_enabled(true, false);
  EXPECT_TRUE(s.is_dirty() && !s.is_active());
  EXPECT_TRUE(s.activate(true) && file->is_open());

  s.parent_notify(s, 600, 7);  // empty line: nothing written, no file made
  EXPECT_TRUE(file->is_pending());
  s.line = "a,b\r\n";
  s.parent_notify(s, 600, 7);
  s.parent_notify(s, 601, 8);
  s.parent_notify(s, 600, 9);
  EXPECT_EQ(dir.read("002-0304.txt"), "7:a,b\r\n9:a,b\r\n");

  s.set_enabled(false, true);
  EXPECT_FALSE(s.is_active() || file->is_open());
  line_string copy("other");
  copy = s;
  EXPECT_EQ(copy.name() + (copy.is_enabled() ? "+" : "-"), "Fixes-");
  // The stream form keeps the enabled flag and the owned outputs only; it comes back inactive.
  printer p(streamable_init);
  output_printer printer_output(p, "doc");
  s.outputs().add_at(printer_output, 1);
  s.outputs().add_at(*new output_file("C:\\B", "log"), 2);
  s.set_enabled(true, true);
  std::string error;
  std::unique_ptr<output_string> back(
      read_back<output_string>(written(static_cast<const output_string*>(&s)), &error));
  ASSERT_NE(back, nullptr) << error;
  EXPECT_TRUE(back->is_enabled() && !back->is_active() && back->name().empty());
  ASSERT_EQ(back->outputs().count(), 2);
  EXPECT_EQ(back->outputs().at(0)->get_name() + " " + back->outputs().at(1)->get_name(),
            dir.path().string() + "\\*.txt C:\\B\\*.log");
  EXPECT_EQ(back->outputs().get_parent(), back.get());
}

// One thread writes lines through an output string while another adds and removes an output of
// its list: every line reaches the output that stays, whole (run under the thread sanitizer).
TEST(output_list_threads, lines_are_written_while_the_list_changes) {
  constexpr int rounds = 20000;
  line_string s("lines");
  s.line = "x";
  app_output stays(1), comes_and_goes(1);
  s.outputs().add_at(stays, 0);
  std::thread writer([&] {
    for (int i = 0; i < rounds; ++i)
      s.parent_notify(s, output_code::new_line, 7);
  });
  for (int i = 0; i < rounds; ++i) {
    s.outputs().add_at(comes_and_goes, s.outputs().count());
    s.outputs().remove(s.outputs().index_of(comes_and_goes));
  }
  writer.join();
  EXPECT_EQ(stays.bytes, 3L * rounds) << "\"7:x\" each time";
  EXPECT_EQ(comes_and_goes.bytes % 3, 0) << "never a part of a line";
}

}  // namespace
}  // namespace kyo::test
