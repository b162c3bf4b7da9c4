#include <kyo/platform/local_time.h>
#include <kyo/platform/tick.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

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

// "2024-02-29 d4 23:59:59.999": the date, the day of the week (0 = Sunday) and the time.
std::string text(const kyo::system_time& t) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d d%d %02d:%02d:%02d.%03d", t.year, t.month, t.day,
                t.day_of_week, t.hour, t.minute, t.second, t.milliseconds);
  return buf;
}

TEST(local_time, breaks_down_the_wall_clock_with_the_zone_offset) {
  using c = fake_wall_clock;
  const char* const london = "Europe/London";
  const std::tuple<const char*, const char*, c::time_point, const char*, long> rows[] = {
      {"leap day, last millisecond", "UTC", c::utc(2024, 2, 29, 23, 59, 59, 999),
       "2024-02-29 d4 23:59:59.999", 0},
      {"first second of summer time", london, c::utc(2024, 3, 31, 1, 0, 0),
       "2024-03-31 d0 02:00:00.000", 3600},
      {"summer time moves the date", london, c::utc(2024, 6, 30, 23, 30, 0, 250),
       "2024-07-01 d1 00:30:00.250", 3600},
  };
  for (const auto& [name, zone, when, local, offset] : rows) {
    SCOPED_TRACE(name);
    kyo::test::scoped_env tz("TZ", zone);
    kyo::test::fake_wall_clock clock(when);
    EXPECT_EQ(text(kyo::get_local_time()), local);
    EXPECT_EQ(kyo::utc_offset_seconds(std::chrono::system_clock::to_time_t(when)), offset);
  }
  // One instant in two zones in turn: an offset kept for one zone never serves the other.
  const auto t = std::chrono::system_clock::to_time_t(c::utc(2024, 6, 30, 23, 30, 0));
  for (const auto& [zone, offset] :
       {std::pair{london, 3600L}, {"America/New_York", -4 * 3600L}, {london, 3600L}}) {
    kyo::test::scoped_env tz("TZ", zone);
    EXPECT_EQ(kyo::utc_offset_seconds(t), offset) << zone;
  }
  // TZ removed without tzset, as other code may do: the zone file is read again.
  kyo::test::scoped_env tz("TZ", london);
  EXPECT_EQ(kyo::utc_offset_seconds(t), 3600);
  ::unsetenv("TZ");
  const long offset = kyo::utc_offset_seconds(t);
  ::tzset();
  std::tm tm{};
  EXPECT_EQ(offset, ::localtime_r(&t, &tm)->tm_gmtoff) << "the zone of /etc/localtime";
}

// The locales are compiled into a private folder, so that the test does not depend on what the
// machine has installed; one that cannot be built reads as the C locale's order.
TEST(locale_date_order, reads_the_order_of_the_environment_locale) {
  if (std::system("command -v localedef >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "localedef is not installed; cannot build test locales";
  const kyo::test::temp_dir folder;
  const kyo::test::scoped_env locpath("LOCPATH", folder.path().string());
  const std::pair<std::string, int> rows[] = {
      {"POSIX", 0}, {"en_US", 0}, {"en_GB", 1}, {"sv_SE", 2}, {"xx_NOWHERE", 0}};
  for (const auto& [name, order] : rows) {
    SCOPED_TRACE(name);
    const std::string locale = name + ".UTF-8";
    const std::string command =
        "localedef -c -i " + name + " -f UTF-8 '" + folder.file(locale) + "' >/dev/null 2>&1";
    [[maybe_unused]] const int rc = std::system(command.c_str());
    const kyo::test::scoped_env all("LC_ALL", locale);
    EXPECT_EQ(kyo::locale_date_order(), order);
  }
}

TEST(tick_count, intervals_stay_right_across_the_wrap) {
  kyo::test::fake_tick tick(0xFFFFFF00u);
  const std::uint32_t start = kyo::tick_count();
  tick.advance(0x180);
  const std::uint32_t later = kyo::tick_count();
  EXPECT_EQ(later, 0x80u);  // wrapped past 2^32
  EXPECT_EQ(later - start, 0x180u);
}

}  // namespace
