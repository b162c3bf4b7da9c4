#include <kyo/platform/local_time.h>

#include <langinfo.h>
#include <locale.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
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
// Where TZ stands in the environment. The C library never changes an entry's text in place: a
// setenv or putenv puts a new pointer in the array, a new variable goes at its end, and unsetenv
// moves later entries down. So while the array, its last entry, its terminator and the TZ entry
// are where they were, TZ is what it was, and the array need not be searched again.
struct tz_lookup {
  char** env = nullptr;
  std::size_t count = 0;
  char* last = nullptr;
  std::ptrdiff_t index = -1;
  char* entry = nullptr;

  // TZ's value, as getenv("TZ") gives it.
  const char* find() {
    char** const e = environ;
    if (e == nullptr) {
      env = nullptr;
      return nullptr;
    }
    if (e != env || e[count] != nullptr || (count > 0 && e[count - 1] != last) ||
        (index >= 0 && e[index] != entry)) {
      env = e;
      index = -1;
      for (count = 0; e[count] != nullptr; ++count) {
        const char* v = e[count];
        if (index < 0 && v[0] == 'T' && v[1] == 'Z' && v[2] == '=') {
          index = static_cast<std::ptrdiff_t>(count);
          entry = e[count];
        }
      }
      last = count > 0 ? e[count - 1] : nullptr;
    }
    return index >= 0 ? entry + 3 : nullptr;
  }
};

struct offset_cache {
  static constexpr std::size_t slots = 64;
  struct entry {
    std::time_t t = 0;
    long offset = 0;
    bool used = false;
  };
  // The TZ the entries belong to; a longer TZ is never cached.
  static constexpr std::size_t max_tz = 255;
  tz_lookup lookup;
  bool tz_set = false;
  bool tz_cacheable = true;
  char tz[max_tz + 1] = {};
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
    if ((tz_now != nullptr) != tz_set || (tz_now != nullptr && std::strcmp(tz, tz_now) != 0)) {
      tz_set = tz_now != nullptr;
      const std::size_t n = tz_set ? std::strlen(tz_now) : 0;
      tz_cacheable = n <= max_tz;
      std::memcpy(tz, tz_now != nullptr ? tz_now : "", tz_cacheable ? n : 0);
      tz[tz_cacheable ? n : 0] = '\0';
      clear();
    }
    if (!tz_set && second_now != zone_file_checked) {
      zone_file_checked = second_now;
      clear();
    }
  }
};

// Plain data, so that reaching it needs no guard; reached through one call, since the compiler
// would otherwise look the thread's copy up again at every use.
thread_local constinit offset_cache cache_of_thread;

[[gnu::noinline]] offset_cache& thread_offsets() {
  return cache_of_thread;
}

}  // namespace

long utc_offset_seconds(std::time_t t) {
  offset_cache& cache = thread_offsets();
  const char* tz = cache.lookup.find();
  const std::time_t second = std::time(nullptr);
  cache.follow_zone(tz, second);
  offset_cache::entry& e = cache.entries[static_cast<std::size_t>(t) % offset_cache::slots];
  if (e.used && e.t == t && cache.tz_cacheable) return e.offset;
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
