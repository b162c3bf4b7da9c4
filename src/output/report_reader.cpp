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

bool template_reader::fill() {
  pos_ = 0;
  len_ = 0;
  if (in_ == nullptr) return false;
  const std::streamsize n =
      in_->sgetn(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  len_ = n > 0 ? static_cast<std::size_t>(n) : 0;
  return len_ > 0;
}

int template_reader::get() {
  if (pos_ == len_ && !fill()) return -1;
  return static_cast<unsigned char>(buffer_[pos_++]);
}

// Copies text up to the next '[' (which it consumes) and returns true; false when reading
// stopped first.
bool template_reader::copy_text(text_out& out) {
  for (;;) {
    if (pos_ == len_ && !fill()) {
      end_ = read_end::complete;
      return false;
    }
    const std::string_view rest(buffer_.data() + pos_, len_ - pos_);
    const std::size_t stop = rest.find_first_of(std::string_view("[\0", 2));
    out.write(rest.substr(0, stop));
    if (stop == std::string_view::npos) {
      pos_ = len_;
      continue;
    }
    pos_ += stop + 1;
    if (rest[stop] == '[') return true;
    end_ = read_end::zero_byte;
    return false;
  }
}

bool template_reader::next(report_token& tok, text_out& out) {
  enum class state { open, comment, name, format, close };
  if (end_ != read_end::reading) return false;
  tok.name.clear();
  tok.format.clear();
  if (!copy_text(out)) return false;
  state st = state::open;
  for (;;) {
    const int c = get();
    if (st == state::close) {
      if (c == ']') {
        append(tok.format, doubling_ ? "]]" : "]");
        st = state::format;
        continue;
      }
      if (c >= 0) --pos_;  // the byte after the token belongs to the next read
      tok.type = type_of(tok.name);
      return true;
    }
    if (c <= 0) {
      end_ = c == 0 ? read_end::zero_byte : read_end::inside_token;
      return false;
    }
    const char ch = static_cast<char>(c);
    switch (st) {
      case state::open:
        if (ch == '!') {
          st = state::comment;
        } else if (ch == '[' || ch == ']') {
          // "[[" writes one bracket, "[]" nothing; then back to text.
          if (ch == '[') out.write(doubling_ ? "[[" : "[");
          if (!copy_text(out)) return false;
        } else {
          append(tok.name, std::string_view(&ch, 1));
          st = state::name;
        }
        break;
      case state::comment:
        if (ch == ']') {
          if (!copy_text(out)) return false;
          st = state::open;
        }
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
