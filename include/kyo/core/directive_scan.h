// The '%' directive languages of the angle and date/time formatters share one
// grammar and one shape of expansion: a directive is '%', any run of non-letters
// (flags, width, '.', precision) and a letter; "%%" is a '%'. A first pass finds
// the directive that decides the rounding, a second writes the text. Used by the
// angle and time formatters; not meant for applications.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <kyo/platform/ascii.h>

namespace kyo::detail {

/// The text of one directive.
struct directive_text {
  std::size_t end = 0;     ///< one past the letter, or the end of the format
  char letter = 0;         ///< 0 when the format ends before a letter
  std::string_view chars;  ///< what stands between '%' and the letter
};

/// Reads the directive whose '%' stands at `pos` (not a "%%").
inline directive_text scan_directive(std::string_view format, std::size_t pos) {
  directive_text d;
  std::size_t j = pos + 1;
  while (j < format.size() && !is_ascii_letter(format[j]))
    ++j;
  if (j == format.size()) {
    d.end = j;
    return d;
  }
  d.end = j + 1;
  d.letter = format[j];
  d.chars = format.substr(pos + 1, j - pos - 1);
  return d;
}

/// The first pass: among the valid directives that have a rank (0 or more), the
/// one of the highest rank, the first of equal ranks. `read(format, pos)` gives a
/// directive with `valid`, `rank` and `end`.
template <class Directive, class Read>
std::optional<Directive> finest_directive(std::string_view format, Read read) {
  std::optional<Directive> finest;
  for (std::size_t i = format.find('%'); i != std::string_view::npos; i = format.find('%', i)) {
    if (i + 1 < format.size() && format[i + 1] == '%') {
      i += 2;
      continue;
    }
    const Directive d = read(format, i);
    if (d.valid && d.rank >= 0 && (!finest || d.rank > finest->rank)) finest = d;
    i = d.end;
  }
  return finest;
}

/// The second pass: copies the format into a text of at most `max_text`
/// characters, "%%" as '%', an invalid directive literally, and every valid one
/// through `emit(out, directive)`.
template <class Directive, class Read, class Emit>
std::string expand_directives(std::string_view format, std::size_t max_text, Read read, Emit emit) {
  std::string out;
  std::size_t i = 0;
  while (i < format.size() && out.size() < max_text) {
    if (format[i] != '%') {
      out += format[i++];
      continue;
    }
    if (i + 1 < format.size() && format[i + 1] == '%') {
      out += '%';
      i += 2;
      continue;
    }
    const Directive d = read(format, i);
    if (d.valid) {
      emit(out, d);
    } else {
      out.append(format.substr(i, d.end - i));
    }
    i = d.end;
  }
  if (out.size() > max_text) out.resize(max_text);
  return out;
}

}  // namespace kyo::detail
