#include <kyo/platform/local_time.h>

#include <langinfo.h>
#include <locale.h>

#include <memory>
#include <mutex>
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

long utc_offset_seconds(std::time_t t) {
  std::tm tm{};
  if (!to_local(t, tm)) return 0;
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
