#include <kyo/platform/local_time.h>

#include <langinfo.h>
#include <locale.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace kyo {

namespace {

using clock_fn = std::function<std::chrono::system_clock::time_point()>;

std::mutex source_mutex;
std::shared_ptr<const clock_fn> source;

// localtime_r is not required to look at TZ again; tzset makes a zone changed at
// run time take effect, as a changed regional setting does on the desktop.
bool to_local(std::time_t t, std::tm& out) {
  tzset();
  return localtime_r(&t, &out) != nullptr;
}

enum class date_field { none, day, month, year };

date_field field_of(char conversion) {
  switch (conversion) {
    case 'd':
    case 'e':
      return date_field::day;
    case 'm':
    case 'b':
    case 'B':
    case 'h':
      return date_field::month;
    case 'y':
    case 'Y':
    case 'C':
    case 'g':
    case 'G':
      return date_field::year;
    default:
      return date_field::none;
  }
}

// Expands the composite conversions into their parts so that "%D" counts as
// month first and "%F" as year first.
std::string_view expansion_of(char conversion) {
  switch (conversion) {
    case 'D':
    case 'x':
      return "%m/%d/%y";
    case 'F':
      return "%Y-%m-%d";
    default:
      return {};
  }
}

int date_order_of(std::string_view format) {
  int position = 0;
  int day_at = -1;
  int month_at = -1;
  int year_at = -1;
  auto note = [&](char conversion) {
    ++position;
    switch (field_of(conversion)) {
      case date_field::day:
        if (day_at < 0) day_at = position;
        break;
      case date_field::month:
        if (month_at < 0) month_at = position;
        break;
      case date_field::year:
        if (year_at < 0) year_at = position;
        break;
      case date_field::none:
        break;
    }
  };
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') continue;
    // Skip glibc's flags, field widths and the E and O modifiers ("%-d", "%Ey").
    std::size_t j = i + 1;
    while (j < format.size() &&
           (format[j] == '-' || format[j] == '_' || format[j] == '0' || format[j] == '^' ||
            format[j] == '#' || (format[j] >= '1' && format[j] <= '9') || format[j] == 'E' ||
            format[j] == 'O')) {
      ++j;
    }
    if (j >= format.size()) break;
    const std::string_view parts = expansion_of(format[j]);
    if (!parts.empty()) {
      for (std::size_t k = 1; k < parts.size(); k += 3)
        note(parts[k]);
    } else {
      note(format[j]);
    }
    i = j;
  }
  if (year_at > 0 && (day_at < 0 || year_at < day_at) && (month_at < 0 || year_at < month_at)) {
    return 2;
  }
  if (day_at > 0 && month_at > 0 && day_at < month_at) return 1;
  return 0;
}

}  // namespace

std::chrono::system_clock::time_point wall_clock_now() {
  std::shared_ptr<const clock_fn> current;
  {
    std::lock_guard lock(source_mutex);
    current = source;
  }
  return current ? (*current)() : std::chrono::system_clock::now();
}

void set_wall_clock_source(std::function<std::chrono::system_clock::time_point()> new_source) {
  std::lock_guard lock(source_mutex);
  if (new_source) {
    source = std::make_shared<const clock_fn>(std::move(new_source));
  } else {
    source.reset();
  }
}

system_time get_local_time() {
  using namespace std::chrono;
  const system_clock::time_point now = wall_clock_now();
  // Floor, not truncation toward zero, so that instants before 1970 keep
  // milliseconds in 0..999 and the seconds on the right side.
  const auto ms_since_epoch = floor<milliseconds>(now.time_since_epoch()).count();
  const auto seconds_since_epoch = floor<seconds>(now.time_since_epoch()).count();
  const auto t = static_cast<std::time_t>(seconds_since_epoch);
  system_time result;
  std::tm tm{};
  if (!to_local(t, tm)) return result;
  result.year = tm.tm_year + 1900;
  result.month = tm.tm_mon + 1;
  result.day_of_week = tm.tm_wday;
  result.day = tm.tm_mday;
  result.hour = tm.tm_hour;
  result.minute = tm.tm_min;
  result.second = tm.tm_sec;
  result.milliseconds = static_cast<int>(ms_since_epoch - seconds_since_epoch * 1000);
  return result;
}

namespace {

// The offsets found last, by instant, one cache per thread. An offset belongs to the zone and the
// instant alone, so an entry stays right for as long as the zone is the same: the zone is TZ's
// text, and, while TZ is unset, the system's zone file, which the C library looks at again (a
// file system call) on every tzset. That file is looked at once per second of the wall clock
// instead; a TZ changed at run time counts at once, and the offset of every instant is the C
// library's own, daylight saving included.
struct offset_cache {
  static constexpr std::size_t slots = 64;
  struct entry {
    std::time_t t = 0;
    long offset = 0;
    bool used = false;
  };
  bool tz_set = false;
  std::string tz;
  std::time_t zone_file_checked = -1;
  bool must_tzset = true;
  std::array<entry, slots> entries;

  void clear() {
    for (entry& e : entries)
      e.used = false;
    must_tzset = true;
  }

  // Forgets everything when the zone may have changed since the last call.
  void follow_zone(const char* tz_now, std::time_t second_now) {
    if ((tz_now != nullptr) != tz_set || (tz_now != nullptr && tz != tz_now)) {
      tz_set = tz_now != nullptr;
      tz = tz_set ? tz_now : "";
      clear();
    }
    if (!tz_set && second_now != zone_file_checked) {
      zone_file_checked = second_now;
      clear();
    }
  }
};

offset_cache& offsets() {
  thread_local offset_cache cache;
  return cache;
}

}  // namespace

long utc_offset_seconds(std::time_t t) {
  offset_cache& cache = offsets();
  const char* tz = std::getenv("TZ");
  const std::time_t second = std::time(nullptr);
  cache.follow_zone(tz, second);
  offset_cache::entry& e = cache.entries[static_cast<std::size_t>(t) % offset_cache::slots];
  if (e.used && e.t == t) return e.offset;
  // With TZ set, tzset only compares its text; the zone file is read again only when the cache
  // was cleared.
  if (cache.tz_set || cache.must_tzset) tzset();
  cache.must_tzset = false;
  std::tm tm{};
  if (localtime_r(&t, &tm) == nullptr) return 0;
  e = {t, tm.tm_gmtoff, true};
  return tm.tm_gmtoff;
}

int locale_date_order() {
  locale_t loc = newlocale(LC_TIME_MASK, "", static_cast<locale_t>(0));
  if (loc == static_cast<locale_t>(0)) return 0;
  const char* format = nl_langinfo_l(D_FMT, loc);
  const int order = format != nullptr ? date_order_of(format) : 0;
  freelocale(loc);
  return order;
}

}  // namespace kyo
