// The print manager without a print server: the printer switch, the dialog data and the stream
// form. Its file output and activation are in the fault tests, where the message log prints.
#include <kyo/output/print_manager.h>
#include <kyo/output/printer.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/stream_bytes.h"

namespace kyo::test {
namespace {

std::string data_of(const print_manager& pm) {
  print_manager::transfer_s t;
  pm.get_data(t);
  return std::to_string(t.printer_on) + std::to_string(t.file_on) + " " + t.folder;
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
