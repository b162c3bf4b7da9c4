#include <kyo/core/numbers.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace kyo {

namespace {

// The boundaries of auto_scale as the system has always stored them; the exact logarithms differ
// in the tenth decimal and would move values just above 2 and 5 to the next step.
constexpr double stored_log10_5 = 0.6989700044360189;
constexpr double stored_log10_2 = 0.3010299957639812;

// The largest power of ten a double holds: the step of values whose next step would overflow.
constexpr double largest_power_of_ten = 1e308;

// Seventeen significant digits tell any two doubles apart; places beyond them are shown as zeros.
constexpr int max_significant_digits = 17;

}  // namespace

double modulo(double a, double b) {
  const double r = std::fmod(a, b);
  if (r >= 0) return r;
  const double up = r + b;
  return up == b ? 0.0 : up;
}

double round(double x, double factor) {
  double y = x * factor;
  y += y >= 0 ? 0.5 : -0.5;
  return std::trunc(y) / factor;
}

int sgn(double x) {
  if (x > 0) return 1;
  if (x == 0) return 0;
  return -1;
}

double auto_scale(double x) {
  if (x == 0) return 1;
  if (!(x > 0)) return std::nan("");
  if (std::isinf(x)) return x;
  double i = 0;
  double f = std::modf(std::log10(x), &i);
  if (f < 0) {
    f += 1;
    i -= 1;
  }
  const int exponent = static_cast<int>(i);
  const double m = f > stored_log10_5 ? 10 : f > stored_log10_2 ? 5 : 2;
  // Below 1e-307 the power of ten alone is subnormal or zero; multiplying by the step first and
  // by the rest of the power last keeps every digit a subnormal result can hold.
  const double step =
      exponent < -300 ? m * std::pow(10.0, exponent + 300) * 1e-300 : m * std::pow(10.0, exponent);
  return std::isinf(step) ? largest_power_of_ten : step;
}

int full_prec(double value, char* buffer, int width) {
  if (buffer == nullptr || width < 1) return 0;
  const auto finish = [buffer](std::string_view text) {
    if (!text.empty()) std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    return static_cast<int>(text.size());
  };
  const std::size_t room = static_cast<std::size_t>(width) - 1;
  if (std::isnan(value)) return finish(std::string_view("nan").substr(0, room));
  if (std::isinf(value)) {
    return finish(std::string_view(value < 0 ? "-inf" : "inf").substr(0, room));
  }
  if (width < 2) return finish({});

  const bool negative = value < 0;
  // The digits ecvt would give for width - 1 significant places: the scientific form rounds the
  // exact binary value to nearest, and its exponent gives the point position.
  const int wanted = std::min(width - 1, max_significant_digits);
  char sci[64];
  const auto r = std::to_chars(sci, sci + sizeof sci, std::fabs(value),
                               std::chars_format::scientific, wanted - 1);
  std::string_view text(sci, static_cast<std::size_t>(r.ptr - sci));
  const std::size_t e = text.find('e');
  int exponent = 0;
  std::from_chars(text.data() + e + (text[e + 1] == '+' ? 2 : 1), text.data() + text.size(),
                  exponent);
  char digits[max_significant_digits];
  int count = 0;
  for (std::size_t i = 0; i < e; ++i) {
    if (text[i] != '.') digits[count++] = text[i];
  }
  const auto digit = [&](int i) { return i < count ? digits[i] : '0'; };

  int p = exponent + 1;
  const int n = width - 1 - (negative ? 1 : 0);
  if (p <= 1 - n) return finish("0");
  if (n < 1) return finish({});
  if (p > n) p = n;

  const int k = p > 0 ? (n > p ? 1 : 0) : 2 - p;
  // Places beyond the significant digits are zeros, which the trimming below would drop anyway.
  int keep = std::min(std::max(n - k, 1), count);
  while (keep > 1 && digit(keep - 1) == '0')
    --keep;

  int out = 0;
  if (negative) buffer[out++] = '-';
  if (p > 0) {
    for (int i = 0; i < keep; ++i) {
      if (i == p) buffer[out++] = '.';
      buffer[out++] = digit(i);
    }
    for (int i = keep; i < p; ++i)
      buffer[out++] = '0';
  } else {
    buffer[out++] = '.';
    for (int i = 0; i < -p; ++i)
      buffer[out++] = '0';
    for (int i = 0; i < keep; ++i)
      buffer[out++] = digit(i);
  }
  buffer[out] = '\0';
  return out;
}

double val(const char* text, int count) {
  double v = 0;
  if (text == nullptr) return v;
  int i = 0;
  while (i < count && text[i] == ' ')
    ++i;
  for (; i < count && text[i] != '\0'; ++i)
    v = v * 10 + (text[i] - '0');
  return v;
}

double normal_random(int n) {
  // The method is defined on draws of 0..32767; the C library's own range may be wider.
  constexpr long long draw_range = 32768;
  const long long rand_range = static_cast<long long>(RAND_MAX) + 1;
  double s = 0;
  for (int i = 0; i < n; ++i) {
    s += static_cast<double>(static_cast<long long>(std::rand()) * draw_range / rand_range);
  }
  return (2 * s - n * 32767.0) / (std::sqrt(n / 3.0) * 32767.0);
}

int strpos(const char* s, char c) {
  if (s == nullptr || c == '\0') return -1;
  const char* hit = std::strchr(s, c);
  return hit == nullptr ? -1 : static_cast<int>(hit - s);
}

double atanh(double x) {
  return 0.5 * std::log((1 + x) / (1 - x));
}

double acosh(double x) {
  return std::log(x + std::sqrt(x * x - 1));
}

double asinh(double x) {
  return std::log(x + std::sqrt(x * x + 1));
}

}  // namespace kyo
