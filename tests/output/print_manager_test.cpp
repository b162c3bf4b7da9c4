// The print manager without a print server: its file output, the printer switch, activation,
// the dialog data and its stream form. The message log prints through it in the fault tests.
#include <kyo/output/print_manager.h>
#include <kyo/output/printer.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/fake_clock.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

std::string data_of(const print_manager& pm) {
  print_manager::transfer_s t;
  pm.get_data(t);
  return std::to_string(t.printer_on) + std::to_string(t.file_on) + " " + t.folder;
}

TEST(print_manager, keeps_one_file_output_per_folder_and_writes_only_while_active) {
  temp_dir dir;
  fake_wall_clock wall(fake_wall_clock::utc(2024, 1, 2, 3, 4, 5));
  print_manager pm(nullptr);
  const std::string folder = dir.path().string();
  pm.set_file(&folder);
  output_file* file = pm.get_file_output();
  pm.set_dirty(false);
  pm.set_file(&folder);
  EXPECT_EQ(pm.get_file_output(), file) << "the same folder keeps the output";
  EXPECT_FALSE(pm.is_dirty());
  pm.write("early\r\n", 7);
  pm.activate(true);
  EXPECT_TRUE(file->is_open());
  pm.write("12.5\xB0\r\n", 7);
  pm.activate(false);
  EXPECT_FALSE(file->is_open());
  pm.write("late\r\n", 6);
  EXPECT_EQ(dir.read("002-0304.txt"), "12.5\xB0\r\n");
  EXPECT_EQ(data_of(pm), "01 " + folder);
  pm.set_file(nullptr);
  EXPECT_TRUE(pm.get_file_output() == nullptr && pm.outputs().count() == 0 && pm.is_dirty());
  EXPECT_EQ(data_of(pm), "00 " + folder);
}

TEST(print_manager, switches_printing_only_when_forced_and_streams_its_settings) {
  print_manager pm(nullptr);
  printer unnamed(streamable_init);
  pm.set_printer(&unnamed, false);
  EXPECT_FALSE(pm.is_printer_on()) << "off and not forced: nothing";
  pm.set_printer(&unnamed, true);
  EXPECT_TRUE(pm.is_printer_on());
  EXPECT_EQ(pm.get_printer_output(), nullptr) << "no driver name: no output";
  const std::string folder = "C:\\KYO\\logs";
  pm.set_file(&folder);
  std::unique_ptr<print_manager> back(read_back<print_manager>(written(&pm)));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(data_of(*back), "11 " + folder);
  EXPECT_TRUE(back->outputs().count() == 1 && back->outputs().at(0) == back->get_file_output());
  pm.set_printer(nullptr, false);
  EXPECT_FALSE(pm.is_printer_on());
  EXPECT_EQ(data_of(pm), "01 " + folder);
}

}  // namespace
}  // namespace kyo::test
