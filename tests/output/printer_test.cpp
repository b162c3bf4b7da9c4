// Raw printing through a private print server: the bytes each job printed, printer selection by
// destination, and the failures that must give code 3 or 5.
#include <kyo/output/output_printer.h>
#include <kyo/output/print_manager.h>
#include <kyo/output/printer.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/cupsd_fixture.h"
#include "support/fake_clock.h"
#include "support/recording_ui.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

// What the printer must receive for one chunk: ESC ! 5, then the chunk with the Windows degree
// sign 0xB0 as the PC one 0xF8.
std::string framed(std::string_view chunk) {
  std::string out = "\x1b!\x05";
  for (const char c : chunk)
    out += c == '\xB0' ? '\xF8' : c;
  return out;
}

std::string every_byte() {
  std::string bytes;
  for (int i = 0; i < 256; ++i)
    bytes += static_cast<char>(i);
  return bytes;
}

TEST(printer, prints_each_activation_as_one_raw_job_byte_for_byte) {
  private_cupsd cupsd("line");
  KYO_REQUIRE_CUPSD(cupsd);
  printer p;
  ASSERT_EQ(p.device_name(), "line");
  output_printer out(p, "KYO II printout");
  EXPECT_EQ(out.get_name(), "line");

  const std::string all = every_byte();
  const std::string big(100'000, '\xB0');
  ASSERT_EQ(out.open(), 0) << p.last_error();
  EXPECT_EQ(out.open(), 2);
  for (const std::string& chunk : {all, std::string(), big})
    EXPECT_EQ(out.write(chunk.data(), static_cast<int>(chunk.size())), 0);
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(p.last_error(), "");
  EXPECT_EQ(out.write("late", 4), 5) << "no job after close";
  EXPECT_EQ(out.close(), 4);

  // The print manager copies to the printer and a file, one job per activation.
  temp_dir dir;
  fake_wall_clock wall(fake_wall_clock::utc(2024, 1, 2, 3, 4, 5));
  print_manager pm(nullptr);
  const std::string folder = dir.path().string();
  pm.set_file(&folder);
  pm.set_printer(&p, true);
  ASSERT_NE(pm.get_printer_output(), nullptr);
  EXPECT_EQ(pm.get_printer_output()->document(), "KYO II printout");
  pm.activate(true);
  pm.write("12\xB0\r\n", 5);
  pm.allow_others_to_print();
  pm.write("34\r\n", 4);
  pm.activate(false);
  pm.allow_others_to_print();  // inactive: no job
  EXPECT_EQ(cupsd.jobs("line", 3),
            (std::vector<std::string>{framed(all) + framed("") + framed(big), framed("12\xB0\r\n"),
                                      framed("34\r\n")}));
  EXPECT_EQ(dir.read("002-0304.txt"), "12\xB0\r\n34\r\n");
}

TEST(printer, fails_with_code_3_for_a_missing_printer_or_server_and_5_without_a_job) {
  private_cupsd cupsd("line");
  KYO_REQUIRE_CUPSD(cupsd);
  printer p(streamable_init);
  EXPECT_EQ(p.raw_print("x", 1), 5);
  p.set_printer("Dot matrix", "gone", "LPT1:");
  EXPECT_EQ(p.device_name() + "|" + p.port_name(), "line|" + cupsd.device_uri("line"))
      << "an unknown printer falls back to the default";
  ASSERT_EQ(p.start_raw_print("doc"), 0);
  EXPECT_EQ(p.raw_print("x", -1), 5);
  EXPECT_EQ(p.raw_print("x", 1), 0);
  p.end_raw_print();
  EXPECT_EQ(cupsd.jobs("line", 1), std::vector<std::string>{"\x1b!\x05x"});

  printer nowhere(streamable_init);
  output_printer unknown(nowhere, "doc");
  EXPECT_EQ(unknown.open(), 3);
  EXPECT_TRUE(unknown.is_open()) << "counts as open until closed";
  EXPECT_EQ(unknown.write("x", 1), 5);

  cupsd.stop();
  EXPECT_EQ(p.start_raw_print("doc"), 3);
  EXPECT_FALSE(p.last_error().empty());
  EXPECT_FALSE(p.raw_job_open());
}

}  // namespace
}  // namespace kyo::test
