// File outputs on real files: names from the local time, the pending first write, rollover at
// 728,576 bytes, the overwrite question, write failures, read-only folders and the stream form.
#include <kyo/output/host_strings.h>
#include <kyo/output/output_file.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "support/fake_clock.h"
#include "support/recording_ui.h"
#include "support/scoped_env.h"
#include "support/stream_bytes.h"
#include "support/temp_dir.h"
#include "support/unprivileged.h"

namespace kyo::test {
namespace {

namespace fs = std::filesystem;

// 1 July 2024, 08:05:10 GMT: 09:05 summer time in London, day 183 of a leap year.
class output_file_test : public testing::Test {
 protected:
  int write(output& o, const std::string& bytes) {
    return o.write(bytes.data(), static_cast<int>(bytes.size()));
  }
  // The size of a file and whether it holds `expected`, so that a failure does not print it.
  std::string holds(const char* name, const std::string& expected) const {
    const std::string bytes = dir_.read(name);
    return std::to_string(bytes.size()) + (bytes == expected ? " as expected" : " others");
  }

  scoped_env zone_{"TZ", "Europe/London"};
  fake_wall_clock wall_{fake_wall_clock::utc(2024, 7, 1, 8, 5, 10)};
  recording_ui ui_;
  temp_dir dir_;
  const std::string folder_ = dir_.path().string();
};

TEST_F(output_file_test, creates_its_file_at_the_first_write_and_rolls_over_whole_chunks) {
  output_file out(folder_ + "\\", "log");
  EXPECT_EQ(out.get_name(), folder_ + "\\*.log");
  EXPECT_EQ(write(out, "early"), 4);
  EXPECT_EQ(out.close(), 4);
  EXPECT_EQ(out.open(), 0);
  EXPECT_EQ(out.open(), 2);
  EXPECT_TRUE(fs::is_empty(dir_.path())) << "open creates nothing";
  const std::string most(output_file::max_file_bytes - 10, 'a');
  EXPECT_EQ(write(out, most), 0);
  EXPECT_EQ(out.file_path(), folder_ + "\\183-0905.log");
  EXPECT_EQ(dir_.read("183-0905.log").size(), most.size()) << "flushed with every chunk";
  wall_.advance(std::chrono::minutes(1));
  EXPECT_EQ(write(out, std::string(10, 'b')), 0) << "exactly at the limit stays";
  EXPECT_EQ(write(out, "cc"), 0);
  EXPECT_EQ(holds("183-0905.log", most + std::string(10, 'b')), "728576 as expected");
  EXPECT_EQ(dir_.read("183-0906.log"), "cc");
  EXPECT_EQ(out.close(), 0);
  EXPECT_EQ(out.close() + out.write(nullptr, 3), 8) << "closed: code 4 each";
  EXPECT_TRUE(ui_.events().empty());
}

TEST_F(output_file_test, asks_before_replacing_a_file_and_closes_on_no) {
  dir_.write("183-0905.txt", "kept");
  output_file out(folder_, "txt");
  ui_.answer_questions(false);
  // The application's table answers text 10; the built-in text 11 fills in.
  set_host_strings([](unsigned long id) { return id == 10 ? std::string("Replace") : ""; });
  ASSERT_EQ(out.open(), 0);
  EXPECT_EQ(write(out, "new"), 3);
  EXPECT_FALSE(out.is_open());
  EXPECT_EQ(write(out, "new"), 4);
  EXPECT_EQ(dir_.read("183-0905.txt"), "kept");
  set_host_strings({});
  EXPECT_EQ(ui_.events(),
            (std::vector<ui_event>{{ui_event::kind::question,
                                    folder_ + "\\183-0905.txt already exists. Overwrite it?",
                                    "Replace"}}));
  ui_.answer_questions(true);
  ASSERT_EQ(out.open(), 0);
  EXPECT_EQ(write(out, "new"), 0);
  EXPECT_EQ(dir_.read("183-0905.txt"), "new");
}

TEST_F(output_file_test, cannot_create_a_file_in_a_read_only_folder) {
  const fs::path locked = dir_.path("locked");
  fs::create_directory(locked);
  hand_over(locked);
  ASSERT_EQ(::chmod(locked.c_str(), 0555), 0);
  as_unprivileged([&] {
    output_file out(locked.string(), "txt");
    ASSERT_EQ(out.open(), 0);
    EXPECT_EQ(write(out, "line"), 3);
    EXPECT_FALSE(out.is_open());
  });
  EXPECT_TRUE(fs::is_empty(locked));
}

TEST(output_file, adds_one_backslash_to_a_folder_and_streams_folder_and_extension) {
  EXPECT_EQ(output_file::modified_dir("") + "|" + output_file::modified_dir("C:\\KYO\\") + "|" +
                output_file::modified_dir("C:\\KYO"),
            "|C:\\KYO\\|C:\\KYO\\");
  output_file renamed("", nullptr);
  EXPECT_TRUE(renamed.get_name() == "*." && !renamed.is_dirty());
  renamed.set_dir("D:\\logs");
  EXPECT_TRUE(renamed.get_name() == "D:\\logs\\*." && renamed.is_dirty());

  output_file out("C:\\KYO\\", "txt");
  const std::string image = written(static_cast<const output*>(&out));
  std::unique_ptr<output> back(read_back<output>(image));
  auto* file = dynamic_cast<output_file*>(back.get());
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->get_dir() + "|" + file->get_ext() + "|" + file->get_name(),
            "C:\\KYO\\|txt|C:\\KYO\\*.txt");
  EXPECT_TRUE(file->list_owned() && !file->is_open());
}

}  // namespace
}  // namespace kyo::test
