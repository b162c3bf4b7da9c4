#include "output/report_reader.h"

#include <algorithm>
#include <iterator>
#include <ostream>

#include <kyo/output/report.h>

namespace kyo::detail {

namespace {

struct keyword {
  std::string_view name;
  int type;
};

// Sorted by name for the binary search.
constexpr keyword keywords[] = {
    {"ELSE", token_else}, {"ENDIF", token_endif},     {"ENDTABLE", token_endtable},
    {"IF", token_if},     {"SECTION", token_section}, {"TABLE", token_table},
};

int type_of(std::string_view name) {
  const auto it = std::lower_bound(std::begin(keywords), std::end(keywords), name,
                                   [](const keyword& k, std::string_view n) { return k.name < n; });
  return it != std::end(keywords) && it->name == name ? it->type : token_field;
}

// Names and formats are kept bounded; an escaped bracket is kept whole or not at all, so that
// a cut format never ends in half an escape.
void append(std::string& s, std::string_view piece) {
  if (s.size() + piece.size() <= report::max_token_text) s += piece;
}

}  // namespace

void text_out::write(std::string_view s) {
  if (str_ != nullptr) str_->append(s);
  if (os_ == nullptr) return;
  chunk_.append(s);
  if (chunk_.size() >= chunk_size) flush();
}

void text_out::flush() {
  if (os_ != nullptr && !chunk_.empty()) os_->write(chunk_.data(), chunk_.size());
  chunk_.clear();
}

int template_reader::get() {
  if (pushed_ >= 0) {
    const int c = pushed_;
    pushed_ = -1;
    return c;
  }
  if (in_ == nullptr) return -1;
  const int c = in_->sbumpc();
  return c == std::streambuf::traits_type::eof() ? -1 : c;
}

bool template_reader::next(report_token& tok, text_out& out) {
  enum class state { text, open, comment, name, format, close };
  if (end_ != read_end::reading) return false;
  tok.name.clear();
  tok.format.clear();
  state st = state::text;
  for (;;) {
    const int c = get();
    if (st == state::close) {
      if (c == ']') {
        append(tok.format, doubling_ ? "]]" : "]");
        st = state::format;
        continue;
      }
      pushed_ = c;
      tok.type = type_of(tok.name);
      return true;
    }
    if (c <= 0) {
      end_ = c == 0 ? read_end::zero_byte
                    : (st == state::text ? read_end::complete : read_end::inside_token);
      return false;
    }
    const char ch = static_cast<char>(c);
    switch (st) {
      case state::text:
        if (ch == '[') {
          st = state::open;
        } else {
          out.put(ch);
        }
        break;
      case state::open:
        if (ch == '!') {
          st = state::comment;
        } else if (ch == '[') {
          out.write(doubling_ ? "[[" : "[");
          st = state::text;
        } else if (ch == ']') {
          st = state::text;
        } else {
          append(tok.name, std::string_view(&ch, 1));
          st = state::name;
        }
        break;
      case state::comment:
        if (ch == ']') st = state::text;
        break;
      case state::name:
        if (ch == ':') {
          st = state::format;
        } else if (ch == ']') {
          tok.type = type_of(tok.name);
          return true;
        } else {
          append(tok.name, std::string_view(&ch, 1));
        }
        break;
      case state::format:
        if (ch == ']') {
          st = state::close;
        } else {
          append(tok.format, std::string_view(&ch, 1));
        }
        break;
      case state::close:
        break;
    }
  }
}

void write_token(const report_token& tok, text_out& out) {
  out.put('[');
  out.write(tok.name);
  if (!tok.format.empty()) {
    out.put(':');
    out.write(tok.format);
  }
  out.put(']');
}

}  // namespace kyo::detail
