// The template reader of reports: splits a template into plain text, which it copies to a
// text_out, and bracketed tokens, one token per call. Private to the output subsystem.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <streambuf>
#include <string>
#include <string_view>

namespace kyo::detail {

/// Token types: the keywords and, for any other name, a field.
enum token_type : int {
  token_if = 0,
  token_else = 1,
  token_endif = 2,
  token_section = 3,
  token_table = 4,
  token_endtable = 5,
  token_field = 6,
};

struct report_token {
  int type = token_field;
  std::string name;    ///< the text after '[' up to ':' or ']'
  std::string format;  ///< the text after ':' up to the closing ']'
};

/// Why a reader stopped.
enum class read_end {
  reading,       ///< not stopped yet
  complete,      ///< the end of the template, outside any token
  inside_token,  ///< the template ended inside a token or comment
  zero_byte,     ///< a zero byte, which ends a template
};

/// Where plain text goes: an output stream (in chunks), a string, or nowhere.
class text_out {
 public:
  /// Discards everything.
  text_out() = default;
  explicit text_out(std::ostream& os) : os_(&os) {}
  explicit text_out(std::string& s) : str_(&s) {}
  text_out(const text_out&) = delete;
  text_out& operator=(const text_out&) = delete;
  ~text_out() { flush(); }

  void put(char c) {
    if (str_ != nullptr) str_->push_back(c);
    if (os_ == nullptr) return;
    chunk_.push_back(c);
    if (chunk_.size() >= chunk_size) flush();
  }
  void write(std::string_view s);
  /// Hands the chunk kept for the stream over to it.
  void flush();

 private:
  static constexpr std::size_t chunk_size = 64 * 1024;
  std::ostream* os_ = nullptr;
  std::string* str_ = nullptr;
  std::string chunk_;
};

/// A read-only stream buffer over text held elsewhere, for reading patterns without a copy.
class view_buf : public std::streambuf {
 public:
  explicit view_buf(std::string_view text) {
    char* p = const_cast<char*>(text.data());
    setg(p, p, p + text.size());
  }
};

/// Reads tokens from a stream buffer, one at a time.
class template_reader {
 public:
  /// A reader of `in` (null: an empty template).
  explicit template_reader(std::streambuf* in) : in_(in), buffer_(buffer_size, '\0') {}

  /// With doubling on, the escapes are written as they stand ("[[" and, inside a format, "]]"),
  /// so that what is captured reads back as the same template.
  void set_doubling(bool on) noexcept { doubling_ = on; }

  /// Copies plain text to `out` up to the next token, which it stores in `tok`; false, with the
  /// reason in end(), when reading stopped first. Once stopped, it stays stopped.
  bool next(report_token& tok, text_out& out);
  [[nodiscard]] read_end end() const noexcept { return end_; }

 private:
  // Plain text is copied from the buffer in runs; tokens are read a byte at a time.
  static constexpr std::size_t buffer_size = 64 * 1024;
  bool fill();
  int get();
  bool copy_text(text_out& out);

  std::streambuf* in_;
  std::string buffer_;
  std::size_t pos_ = 0;
  std::size_t len_ = 0;
  bool doubling_ = false;
  read_end end_ = read_end::reading;
};

/// Writes `tok` as template text: "[name]" or "[name:format]".
void write_token(const report_token& tok, text_out& out);

}  // namespace kyo::detail
