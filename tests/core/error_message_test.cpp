#include <kyo/core/error_message.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include <kyo/core/string_resources.h>
#include <kyo/platform/ui_hooks.h>

#include "support/recording_ui.h"

namespace {

using kyo::test::recording_ui;
using kyo::test::ui_event;

TEST(error_message, boxes_show_library_and_system_texts) {
  recording_ui ui;
  kyo::error_message_box(nullptr, "Position", kyo::string_id::latitude_range);
  kyo::error_message_box(nullptr, nullptr, 99999, "ignored");
  kyo::system_error_message_box(nullptr, "Disk", ENOENT);
  kyo::system_error_message_box(nullptr, "Disk", 0x80000000ul);
  const auto info = kyo::mb_iconinformation;
  const std::vector<ui_event> expected = {
      {ui_event::kind::message_box, "Latitude out of range", "Position", info},
      {ui_event::kind::message_box, "", "Error", info},
      {ui_event::kind::message_box, kyo::system_error_text(ENOENT), "Disk", info},
      {ui_event::kind::message_box, "Unknown error 2147483648", "Disk", info},
  };
  EXPECT_EQ(ui.events(), expected);
}

TEST(string_resources, lookup_by_number) {
  EXPECT_EQ(kyo::load_string(1010), "'N' or 'S' required");
  EXPECT_EQ(kyo::load_string(1016), "Name must be entered");
  EXPECT_EQ(kyo::load_string(1009), "");
  EXPECT_EQ(kyo::load_string(0), "");
  for (const auto& r : kyo::string_resources()) {
    SCOPED_TRACE(r.id);
    EXPECT_LE(r.text.size(), kyo::max_resource_text);
    EXPECT_EQ(kyo::load_string(r.id), r.text);
  }
}

}  // namespace
