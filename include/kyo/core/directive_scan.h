// The '%' directive languages of the angle and date/time formatters share one
// grammar and one shape of expansion: a directive is '%', any run of non-letters
// (flags, width, '.', precision) and a letter; "%%" is a '%'. A first pass finds
// the directive that decides the rounding, a second writes the text. A format is
// read once into a `compiled_format` (literal runs, directives and the finest
// one), which a small per-thread cache keeps for the formats used again and
// again. Used by the angle and time formatters; not meant for applications.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/platform/ascii.h>

namespace kyo::detail {

/// 10 to the power `p`, as std::pow gives it; the powers a double holds exactly come from a table.
inline double power_of_ten(int p) {
  static constexpr double exact[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                     1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                     1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  return p >= 0 && p < static_cast<int>(std::size(exact)) ? exact[p] : std::pow(10.0, p);
}

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

/// A format read once. Literal bytes ("%%" as '%', an invalid directive as it stands) are gathered
/// in runs, each run followed by a valid directive or by the end. The first pass is `finest`: among
/// the valid directives that have a rank (0 or more), the one of the highest rank, the first of
/// equal ranks; the second is `expand`.
template <class Directive>
struct compiled_format {
  struct step {
    std::uint32_t literal_begin = 0;
    std::uint32_t literal_size = 0;
    bool has_directive = false;
    Directive directive{};
  };
  std::string literals;
  std::vector<step> steps;
  /// The step whose directive finest_directive would pick, or -1.
  int finest = -1;

  [[nodiscard]] const Directive* finest_directive() const {
    return finest < 0 ? nullptr : &steps[static_cast<std::size_t>(finest)].directive;
  }

  /// The second pass: writes the format into `out` (a std::string or a kyo::fixed_text of at
  /// least `max_text` bytes), literal runs as they are and every directive through
  /// `emit(out, directive)`, and cuts the text at `max_text` characters.
  template <class Out, class Emit>
  void expand(Out& out, std::size_t max_text, Emit emit) const {
    for (const step& s : steps) {
      if (out.size() >= max_text) break;
      out.append(std::string_view(literals).substr(s.literal_begin, s.literal_size));
      if (!s.has_directive || out.size() >= max_text) continue;
      emit(out, s.directive);
    }
    if (out.size() > max_text) out.resize(max_text);
  }
};

/// Reads `format` into `c`; `read(format, pos)` gives the directive whose '%' stands at `pos` (not
/// a "%%"), with `valid`, `rank` and `end` (one past its letter).
template <class Directive, class Read>
void compile_format(std::string_view format, Read read, compiled_format<Directive>& c) {
  c.literals.clear();
  c.steps.clear();
  c.finest = -1;
  using step = typename compiled_format<Directive>::step;
  step current;
  int finest_rank = -1;
  std::size_t i = 0;
  while (i < format.size()) {
    if (format[i] != '%') {
      const std::size_t next = format.find('%', i);
      const std::size_t end = next == std::string_view::npos ? format.size() : next;
      c.literals.append(format.substr(i, end - i));
      i = end;
      continue;
    }
    if (i + 1 < format.size() && format[i + 1] == '%') {
      c.literals += '%';
      i += 2;
      continue;
    }
    const Directive d = read(format, i);
    if (d.valid) {
      current.literal_size = static_cast<std::uint32_t>(c.literals.size()) - current.literal_begin;
      current.has_directive = true;
      current.directive = d;
      c.steps.push_back(current);
      if (d.rank > finest_rank) {
        finest_rank = d.rank;
        c.finest = static_cast<int>(c.steps.size()) - 1;
      }
      current = step{};
      current.literal_begin = static_cast<std::uint32_t>(c.literals.size());
    } else {
      c.literals.append(format.substr(i, d.end - i));
    }
    i = d.end;
  }
  current.literal_size = static_cast<std::uint32_t>(c.literals.size()) - current.literal_begin;
  if (current.literal_size > 0) c.steps.push_back(current);
}

/// The per-thread cache of compiled formats behind `compiled`.
template <class Directive>
struct format_cache {
  static constexpr std::size_t slots = 8;
  static constexpr std::size_t cacheable = 256;
  struct entry {
    std::string format;
    compiled_format<Directive> compiled;
    bool used = false;
  };
  std::array<entry, slots> entries;
  std::size_t last = 0;
  std::size_t next = 0;
  compiled_format<Directive> scratch;

  /// This thread's cache. Reached through one call: the compiler would otherwise look the
  /// thread's copy up again at every use.
  [[gnu::noinline]] static format_cache& of_thread() {
    thread_local format_cache c;
    return c;
  }
};

/// The compiled form of `format`, from a per-thread cache of the last few formats (each caller
/// type has its own). Formats longer than `cacheable` are compiled anew into a per-thread
/// scratch entry, so that a hostile format costs time but never memory beyond its own size.
/// The reference stays valid until the next call from the same thread with the same Directive.
template <class Directive, class Read>
const compiled_format<Directive>& compiled(std::string_view format, Read read) {
  using cache = format_cache<Directive>;
  cache& c = cache::of_thread();
  if (format.size() > cache::cacheable) {
    compile_format(format, read, c.scratch);
    return c.scratch;
  }
  for (std::size_t k = 0; k < cache::slots; ++k) {
    typename cache::entry& e = c.entries[(c.last + k) % cache::slots];
    if (e.used && e.format == format) {
      c.last = (c.last + k) % cache::slots;
      return e.compiled;
    }
  }
  typename cache::entry& e = c.entries[c.next];
  c.last = c.next;
  c.next = (c.next + 1) % cache::slots;
  e.format.assign(format);
  compile_format(format, read, e.compiled);
  e.used = true;
  return e.compiled;
}

}  // namespace kyo::detail
