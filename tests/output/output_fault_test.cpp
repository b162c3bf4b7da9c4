// Injected faults: a disk that fills up under output files, the log printout, profile and
// configuration writes and a shape library; a print server that goes away in the middle of a job.
// What was saved before stays whole, and the failure is reported.
#include <kyo/graphics/mobile_shape_library.h>
#include <kyo/notify/config_file.h>
#include <kyo/numerics/message_handler.h>
#include <kyo/output/output_file.h>
#include <kyo/output/output_printer.h>
#include <kyo/output/print_manager.h>
#include <kyo/output/printer.h>
#include <kyo/platform/profile.h>
#include <kyo/time/time_manager.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/cupsd_fixture.h"
#include "support/fake_clock.h"
#include "support/file_size_limit.h"
#include "support/recording_ui.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

namespace fs = std::filesystem;

class output_fault : public testing::Test {
 protected:
  output_fault() { time_manager::reset(); }
  ~output_fault() override { time_manager::reset(); }

  temp_dir dir_;
  fake_wall_clock wall_{fake_wall_clock::utc(2024, 1, 2, 3, 4, 5)};
  fake_tick tick_{5000};
  recording_ui ui_;
};

TEST_F(output_fault, a_full_disk_closes_file_outputs_and_the_log_printout_keeping_earlier_lines) {
  const std::string line(79, 'x');
  output_file out(dir_.path().string(), "pos");
  ASSERT_EQ(out.open(), 0);
  print_manager pm(nullptr);
  const std::string folder = dir_.path().string();
  pm.set_file(&folder);
  pm.activate(true);
  message_handler log;
  log.set_print_mgr(&pm);
  {
    file_size_limit disk(200);  // room for two whole lines and a part of the third
    for (int i = 0; i < 3; ++i)
      EXPECT_EQ(out.write((line + "\n").data(), 80), i < 2 ? 0 : 5) << i;
    for (int i = 0; i < 6; ++i)
      log.add_message("Alarm Depth Red " + std::to_string(i),
                      message_handler::keep | message_handler::announce);
  }
  EXPECT_FALSE(out.is_open()) << "a failed write closes the output";
  EXPECT_EQ(out.write("x", 1), 4);
  EXPECT_EQ(dir_.read("002-0304.pos").substr(0, 160), line + "\n" + line + "\n");
  std::string whole;  // the four lines that fit in 200 bytes
  for (int i = 0; i < 4; ++i)
    whole += "2-Jan-2024 03:04:05  Alarm Depth Red " + std::to_string(i) + "\r\n";
  EXPECT_EQ(dir_.read("002-0304.txt").substr(0, whole.size()), whole);
  EXPECT_FALSE(pm.get_file_output()->is_open());
  EXPECT_EQ(log.count(), 6) << "the log itself keeps every message";
  log.set_print_mgr(nullptr);
}

TEST_F(output_fault, a_full_disk_refuses_configuration_writes_and_keeps_the_old_files) {
  const std::string ini = "[Survey]\r\nVessel=" + std::string(150, 'v') + "\r\n";
  dir_.write("survey.ini", ini);
  const std::string cfg = "KYO II Test Settings" + std::string(1, '\0') + "1.0" +
                          std::string(5, '\0') + "\x1A" + std::string(100, 'd');
  dir_.write("survey.cfg", cfg);
  {
    file_size_limit disk(200);
    EXPECT_TRUE(profile_write(dir_.file("survey.ini"), "Survey", "Line", std::string(100, 'l')))
        << "a profile write that does not fit fails";
    oconfig_file out(file_info(dir_.file("survey.cfg"), "KYO II Test Settings", "1.0"));
    server big(nullptr, std::string(300, 'b'));
    writePtr(out, &big);
    out.flush();
    EXPECT_TRUE(out.fail()) << "the stream reports the write it could not make";
  }
  EXPECT_EQ(dir_.read("survey.ini"), ini);
  EXPECT_EQ(dir_.read("survey.cfg").substr(0, cfg.size() - 100), cfg.substr(0, cfg.size() - 100))
      << "the header stays";
}

// A library whose file cannot grow enough for a new shape keeps every earlier one.
TEST_F(output_fault, a_shape_library_that_cannot_grow_keeps_its_shapes) {
  const std::string path = dir_.file("shapes.shp");
  {
    mobile_shape_library lib;
    lib.Open(0, path.c_str());
    for (int i = 0; i < 3; ++i) {
      mobile_shape s(nullptr, "shape " + std::to_string(i));
      s.add(std::make_unique<shape_line>(std::vector<dpoint>{{0, 0}, {1.0 * i, 2}}));
      ASSERT_TRUE(lib.add_at(s, 0, false, i));
    }
  }
  const auto size = fs::file_size(path);
  {
    mobile_shape_library lib;
    lib.Open(0, path.c_str());
    mobile_shape big(nullptr, "big");
    big.add(std::make_unique<shape_line>(std::vector<dpoint>(200, dpoint{1, 1})));
    file_size_limit disk(size + 40);
    EXPECT_FALSE(lib.add_at(big, 3, false, 3));
  }
  mobile_shape_library lib;
  lib.Open(0, path.c_str());
  ASSERT_TRUE(lib.is_writable());
  ASSERT_EQ(lib.name_list().size(), 3u);
  for (int i = 0; i < 3; ++i) {
    const std::unique_ptr<mobile_shape> s = lib.load(i);
    ASSERT_NE(s, nullptr) << i;
    EXPECT_EQ(s->get_name(), "shape " + std::to_string(i));
  }
}

TEST(output_fault_printer, a_print_server_gone_in_the_middle_of_a_job_fails_the_writes) {
  private_cupsd cupsd("line");
  KYO_REQUIRE_CUPSD(cupsd);
  printer p(streamable_init);
  p.set_printer("", "line", "");
  output_printer out(p, "doc");
  ASSERT_EQ(out.open(), 0);
  EXPECT_EQ(out.write("before\r\n", 8), 0);
  cupsd.stop();
  int code = 0;
  for (int i = 0; i < 50 && code == 0; ++i)  // the connection may take a few chunks to fail
    code = out.write("after\r\n", 7);
  EXPECT_EQ(code, 5);
  EXPECT_EQ(out.close(), 0);
  EXPECT_FALSE(p.raw_job_open());
}

}  // namespace
}  // namespace kyo::test
