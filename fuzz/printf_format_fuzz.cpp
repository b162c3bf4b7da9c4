// The locale-free printf formatter: any format stays bounded for every kind of argument, and a
// format that is one conversion printf defines prints exactly what printf prints.
#include <cstdio>
#include <string>

#include <kyo/platform/printf_format.h>

#include "fuzz_input.h"

namespace {

// What printf prints for the one conversion `spec_text` (the C locale is the default here).
template <class T>
std::string c_printf(const std::string& spec_text, T v) {
  char buf[2048];
  const int n = std::snprintf(buf, sizeof buf, spec_text.c_str(), v);
  return n < 0 ? std::string() : std::string(buf, std::size_t(n) < sizeof buf ? n : sizeof buf - 1);
}

// True when `text` is a whole conversion of the letters printf defines for `letters`, without
// the length modifiers and the '#' with d and i that the C library leaves undefined.
bool plain_conversion(const std::string& text, const char* letters) {
  if (text.size() < 2 || text[0] != '%' || text.size() > 12) return false;
  if (std::string_view(letters).find(text.back()) == std::string_view::npos) return false;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    const char c = text[i];
    if (std::string_view("-+ 0123456789.").find(c) == std::string_view::npos &&
        !(c == '#' && std::string_view("diu").find(text.back()) == std::string_view::npos)) {
      return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyo::fuzz::input in(data, size);
  const auto d = in.take<double>();
  const auto i = in.take<long long>();
  const std::string format(in.rest());
  // One conversion adds at most its width, precision or digits to the copied text.
  const std::size_t bound = format.size() + 1200;
  kyo::fuzz::require(kyo::format_one(format, d).size() <= bound, "double conversion bounded");
  kyo::fuzz::require(kyo::format_one(format, i).size() <= bound, "integer conversion bounded");
  kyo::fuzz::require(kyo::format_one(format, std::string_view("text")).size() <= bound,
                     "string conversion bounded");
  std::size_t used = 0;
  if (format.size() > 1 && format[0] == '%' &&
      kyo::parse_printf_spec(std::string_view(format).substr(1), &used) &&
      used == format.size() - 1) {
    if (plain_conversion(format, "fFeEgGaA")) {
      kyo::fuzz::require(kyo::format_one(format, d) == c_printf(format, d), "floating as printf");
    } else if (plain_conversion(format, "diuoxX")) {
      const int v = static_cast<int>(i);
      kyo::fuzz::require(kyo::format_one(format, static_cast<long long>(v)) == c_printf(format, v),
                         "integer as printf");
    }
  }
  return 0;
}
