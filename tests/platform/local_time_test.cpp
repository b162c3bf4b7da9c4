#include <kyo/platform/local_time.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "support/fake_clock.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

// glibc's newlocale keeps the folder list it builds from LOCPATH, which only this
// test sets; the leak sanitizer is told to look past that allocation.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:__argz_add_sep\nleak:__argz_create_sep\n";
}

namespace {

using kyo::test::fake_wall_clock;

struct expected_time {
  int year, month, day_of_week, day, hour, minute, second, milliseconds;
};

void expect_time(const kyo::system_time& t, const expected_time& e) {
  EXPECT_EQ(t.year, e.year);
  EXPECT_EQ(t.month, e.month);
  EXPECT_EQ(t.day_of_week, e.day_of_week);
  EXPECT_EQ(t.day, e.day);
  EXPECT_EQ(t.hour, e.hour);
  EXPECT_EQ(t.minute, e.minute);
  EXPECT_EQ(t.second, e.second);
  EXPECT_EQ(t.milliseconds, e.milliseconds);
}

TEST(get_local_time, breaks_down_the_wall_clock_in_the_zone) {
  struct row {
    const char* name;
    const char* zone;
    fake_wall_clock::time_point when;
    expected_time local;
  };
  const row rows[] = {
      {"leap day, last millisecond, UTC",
       "UTC",
       fake_wall_clock::utc(2024, 2, 29, 23, 59, 59, 999),
       {2024, 2, 4, 29, 23, 59, 59, 999}},
      {"before 1970 keeps milliseconds positive",
       "UTC",
       fake_wall_clock::utc(1969, 12, 31, 23, 59, 59, 500),
       {1969, 12, 3, 31, 23, 59, 59, 500}},
      {"London, last second of winter time",
       "Europe/London",
       fake_wall_clock::utc(2024, 3, 31, 0, 59, 59),
       {2024, 3, 0, 31, 0, 59, 59, 0}},
      {"London, first second of summer time",
       "Europe/London",
       fake_wall_clock::utc(2024, 3, 31, 1, 0, 0),
       {2024, 3, 0, 31, 2, 0, 0, 0}},
      {"London, summer time moves the date",
       "Europe/London",
       fake_wall_clock::utc(2024, 6, 30, 23, 30, 0, 250),
       {2024, 7, 1, 1, 0, 30, 0, 250}},
      {"London, back to winter time",
       "Europe/London",
       fake_wall_clock::utc(2024, 10, 27, 1, 0, 0),
       {2024, 10, 0, 27, 1, 0, 0, 0}},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    kyo::test::scoped_env tz("TZ", r.zone);
    kyo::test::fake_wall_clock clock(r.when);
    expect_time(kyo::get_local_time(), r.local);
  }
}

TEST(utc_offset_seconds, includes_daylight_saving) {
  struct row {
    const char* name;
    const char* zone;
    fake_wall_clock::time_point when;
    long offset;
  };
  const row rows[] = {
      {"UTC", "UTC", fake_wall_clock::utc(2024, 7, 1, 12, 0, 0), 0},
      {"London winter", "Europe/London", fake_wall_clock::utc(2024, 3, 31, 0, 59, 59), 0},
      {"London summer", "Europe/London", fake_wall_clock::utc(2024, 3, 31, 1, 0, 0), 3600},
      {"London summer, last second", "Europe/London", fake_wall_clock::utc(2024, 10, 27, 0, 59, 59),
       3600},
      {"London winter again", "Europe/London", fake_wall_clock::utc(2024, 10, 27, 1, 0, 0), 0},
      {"west of Greenwich is negative", "America/New_York",
       fake_wall_clock::utc(2024, 1, 15, 12, 0, 0), -5 * 3600},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.name);
    kyo::test::scoped_env tz("TZ", r.zone);
    EXPECT_EQ(kyo::utc_offset_seconds(std::chrono::system_clock::to_time_t(r.when)), r.offset);
  }
}

// Compiles the locales the test needs into a private folder once, so that the
// test does not depend on what the machine has installed.
class locale_date_order_test : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<kyo::test::temp_dir>();
    if (std::system("command -v localedef >/dev/null 2>&1") != 0) return;
    have_localedef_ = true;
    for (const char* name : {"en_US", "en_GB", "sv_SE"}) {
      const std::string command = std::string("localedef -c -i ") + name + " -f UTF-8 '" +
                                  folder_->file(std::string(name) + ".UTF-8") + "' >/dev/null 2>&1";
      [[maybe_unused]] const int rc = std::system(command.c_str());
    }
  }
  static void TearDownTestSuite() { folder_.reset(); }

  static inline std::unique_ptr<kyo::test::temp_dir> folder_;
  static inline bool have_localedef_ = false;
};

TEST_F(locale_date_order_test, reads_the_order_of_the_environment_locale) {
  if (!have_localedef_) GTEST_SKIP() << "localedef is not installed; cannot build test locales";
  struct row {
    const char* locale;
    int order;
  };
  const row rows[] = {
      {"C", 0},           {"POSIX", 0},       {"en_US.UTF-8", 0},
      {"en_GB.UTF-8", 1}, {"sv_SE.UTF-8", 2}, {"xx_NOWHERE.UTF-8", 0},
  };
  kyo::test::scoped_env locpath("LOCPATH", folder_->path().string());
  for (const row& r : rows) {
    SCOPED_TRACE(r.locale);
    if (r.order != 0) {
      ASSERT_TRUE(std::filesystem::exists(folder_->path(std::string(r.locale) + "/LC_TIME")))
          << "localedef did not build " << r.locale;
    }
    kyo::test::scoped_env all("LC_ALL", r.locale);
    EXPECT_EQ(kyo::locale_date_order(), r.order);
  }
  SCOPED_TRACE("LC_TIME counts when LC_ALL is unset, before LANG");
  kyo::test::scoped_env all("LC_ALL", std::nullopt);
  kyo::test::scoped_env lang("LANG", "en_US.UTF-8");
  kyo::test::scoped_env time("LC_TIME", "sv_SE.UTF-8");
  EXPECT_EQ(kyo::locale_date_order(), 2);
}

}  // namespace
