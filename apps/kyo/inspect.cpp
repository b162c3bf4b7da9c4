// kyo inspect: shows a configuration file's header and lists the object
// records that follow it, using only the stream's own framing, so no class
// needs to be known.
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <kyo/core/object_stream.h>
#include <kyo/platform/path_map.h>

#include "kyo/commands.h"

namespace kyo::cli {

namespace {

namespace sf = stream_format;

constexpr std::uint64_t max_file_size = 512ull << 20;

const char* const inspect_about = "show a configuration file's header and object records";
const char* const inspect_footer =
    "Shows the header of a configuration file (signature, version, marker) when it\n"
    "has one, then lists the object records of its stream: class names, versions,\n"
    "sizes, data segments, null pointers and references to earlier objects.\n"
    "A shape library's index is listed too. No class needs to be known.\n"
    "Exits 1 when the file is no configuration file or object stream, or is damaged.";

std::string escaped(std::string_view s) {
  std::string out = "\"";
  for (unsigned char c : s) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += char(c);
    } else if (c >= 0x20 && c != 0x7F) {
      out += char(c);
    } else {
      constexpr char hex[] = "0123456789abcdef";
      out += "\\x";
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out + '"';
}

/// Walks the bytes of a stream, listing what it finds. Every step checks the
/// bounds it reads within, so a corrupt file ends the listing with a message.
class lister {
 public:
  lister(const std::string& data, std::ostream& out) : data_(data), out_(out) {}

  [[nodiscard]] const std::string& error() const { return error_; }

  /// Reads a header: signature, NUL, 8-byte version, 0x1A. Returns the offset
  /// behind it, or nothing when the file does not start with one.
  std::optional<std::uint64_t> header() {
    const std::size_t nul = data_.find('\0');
    if (nul == 0 || nul == std::string::npos || nul > 255 || nul + 10 > data_.size()) {
      return std::nullopt;
    }
    for (std::size_t i = 0; i < nul; ++i) {
      const auto c = static_cast<unsigned char>(data_[i]);
      if (c < 0x20 || c == 0x7F) return std::nullopt;
    }
    if (static_cast<unsigned char>(data_[nul + 9]) != 0x1A) return std::nullopt;
    const std::string version_field = data_.substr(nul + 1, 8);
    const std::string version = version_field.substr(0, version_field.find('\0'));
    out_ << "header: signature " << escaped(data_.substr(0, nul)) << ", version "
         << escaped(version) << ", marker 0x1a (" << nul + 10 << " bytes)\n";
    return nul + 10;
  }

  /// Lists top-level items from `pos` up to `end`; stops at bytes that are no item.
  std::uint64_t items(std::uint64_t pos, std::uint64_t end) {
    while (pos < end && error_.empty()) {
      const auto tag = static_cast<unsigned char>(data_[pos]);
      if (tag > sf::scoped_object_tag) break;
      out_ << '@' << pos << ' ';
      if (!item(pos, end, 0)) break;
    }
    return pos;
  }

  /// Lists a shape library's index at `pos`: items with name, type, flag and
  /// cross-reference, then the positions of the stored objects.
  bool library_index(std::uint64_t pos) {
    std::uint32_t count = 0;
    if (!word(pos, data_.size(), count)) return false;
    out_ << "index @" << pos - 4 << ": " << count << " item(s)\n";
    for (std::uint32_t i = 0; i < count; ++i) {
      std::string name;
      std::uint32_t type = 0, flag = 0, xref = 0;
      if (!string(pos, data_.size(), name) || !word(pos, data_.size(), type) ||
          !word(pos, data_.size(), flag) || !word(pos, data_.size(), xref)) {
        return false;
      }
      out_ << "  item " << i << ": " << escaped(name) << " type " << std::int32_t(type) << " flag "
           << (flag != 0) << " xref " << std::int32_t(xref) << '\n';
    }
    std::uint32_t positions = 0;
    if (!word(pos, data_.size(), positions)) return false;
    out_ << "  " << positions << " position(s):";
    for (std::uint32_t i = 0; i < positions; ++i) {
      std::uint32_t p = 0;
      if (!word(pos, data_.size(), p)) return false;
      out_ << ' ' << p;
    }
    out_ << '\n';
    return true;
  }

  bool word(std::uint64_t& pos, std::uint64_t end, std::uint32_t& v) {
    if (end < 4 || pos > end - 4) return fail(pos, "unexpected end of data");
    v = 0;
    for (int i = 0; i < 4; ++i) {
      v |= std::uint32_t(static_cast<unsigned char>(data_[pos + i])) << (8 * i);
    }
    pos += 4;
    return true;
  }

 private:
  bool fail(std::uint64_t pos, const std::string& what) {
    if (error_.empty()) error_ = what + " at offset " + std::to_string(pos);
    return false;
  }

  bool string(std::uint64_t& pos, std::uint64_t end, std::string& s) {
    std::uint32_t length = 0;
    if (!word(pos, end, length)) return false;
    if (length == sf::null_string) {
      s = "(null)";
      return true;
    }
    if (length > end - pos) return fail(pos, "string runs past the end");
    s = data_.substr(pos, length);
    pos += length;
    return true;
  }

  void indent(int depth) { out_ << std::string(std::size_t(depth) * 2, ' '); }

  bool item(std::uint64_t& pos, std::uint64_t end, int depth) {
    if (depth > sf::max_depth) return fail(pos, "objects nested too deeply");
    const std::uint64_t at = pos;
    const auto tag = static_cast<unsigned char>(data_[pos++]);
    switch (tag) {
      case sf::null_tag:
        out_ << "null\n";
        return true;
      case sf::reference_tag: {
        std::uint32_t id = 0;
        if (!word(pos, end, id)) return false;
        out_ << "-> #" << id;
        if (id < classes_.size()) {
          out_ << " (" << classes_[id] << ")\n";
          return true;
        }
        out_ << '\n';
        return fail(at, "reference to an object not in the stream");
      }
      case sf::object_tag:
      case sf::scoped_object_tag: {
        if (tag == sf::scoped_object_tag) {
          if (depth > 0) return fail(at, "self-contained record inside another object");
          classes_.clear();
        }
        std::string name;
        std::uint32_t name_length = 0, version = 0, length = 0;
        if (!word(pos, end, name_length)) return false;
        if (name_length == 0 || name_length > sf::max_class_name || name_length > end - pos) {
          return fail(at, "bad class name length");
        }
        name = data_.substr(pos, name_length);
        pos += name_length;
        if (!word(pos, end, version) || !word(pos, end, length)) return false;
        if (length > end - pos) return fail(at, "record of '" + name + "' runs past its end");
        const std::size_t id = classes_.size();
        classes_.push_back(name);
        out_ << "#" << id << ' ' << escaped(name) << " v" << version << ", " << length << " bytes"
             << (tag == sf::scoped_object_tag ? " (self-contained)" : "") << '\n';
        const std::uint64_t body_end = pos + length;
        while (pos < body_end) {
          indent(depth + 1);
          if (static_cast<unsigned char>(data_[pos]) == sf::data_tag) {
            std::uint32_t n = 0;
            const std::uint64_t seg = pos++;
            if (!word(pos, body_end, n)) return false;
            if (n == 0 || n > body_end - pos) return fail(seg, "bad data segment length");
            out_ << "data " << n << " bytes\n";
            pos += n;
          } else if (!item(pos, body_end, depth + 1)) {
            return false;
          }
        }
        return true;
      }
      default:
        return fail(at, "unknown tag " + std::to_string(tag));
    }
  }

  const std::string& data_;
  std::ostream& out_;
  std::string error_;
  std::vector<std::string> classes_;
};

int inspect(const std::string& name, const streams& io) {
  const std::string path = native_path(name);
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) {
    io.err << "kyo inspect: cannot open '" << name << "': " << std::strerror(errno) << '\n';
    return exit_failure;
  }
  if (!S_ISREG(st.st_mode)) {
    io.err << "kyo inspect: '" << name << "' is not a regular file\n";
    return exit_failure;
  }
  if (std::uint64_t(st.st_size) > max_file_size) {
    io.err << "kyo inspect: '" << name << "' is larger than 512 MiB\n";
    return exit_failure;
  }
  std::ifstream file(path, std::ios::binary);
  std::string data(static_cast<std::size_t>(st.st_size), '\0');
  if (!file || !file.read(data.data(), st.st_size) || file.peek() != EOF) {
    io.err << "kyo inspect: cannot read '" << name << "' (it changed while being read?)\n";
    return exit_failure;
  }

  std::ostream& out = io.out;
  out << "file: " << name << " (" << data.size() << " bytes)\n";
  lister list(data, out);
  std::uint64_t pos = 0;
  const std::optional<std::uint64_t> behind = list.header();
  if (behind) {
    pos = *behind;
  } else {
    out << "header: none\n";
  }

  // A shape library keeps the position of its index in the 4 bytes behind the header. A first
  // byte that is no record tag, and a position that lies inside the file, make that the guess.
  std::uint64_t index_at = 0;
  if (pos > 0 && data.size() >= pos + 4 && static_cast<unsigned char>(data[pos]) > 3) {
    std::uint64_t p = pos;
    std::uint32_t at = 0;
    if (list.word(p, data.size(), at) && at >= pos + 4 && at <= data.size()) {
      out << "layout: shape library (index position behind the header, objects, index at " << at
          << ")\n";
      index_at = at;
      pos += 4;
    }
  }
  if (index_at == 0) out << "layout: configuration file (objects behind the header)\n";

  const std::uint64_t start = pos;
  const std::uint64_t end = index_at != 0 ? index_at : data.size();
  pos = list.items(pos, end);
  bool damaged = !list.error().empty();
  if (!damaged && index_at != 0 && pos == index_at) {
    damaged = !list.library_index(index_at);
  } else if (!damaged && pos < data.size()) {
    out << "unrecognised data: " << data.size() - pos << " bytes at offset " << pos << '\n';
    damaged = true;
  }
  if (!list.error().empty()) io.err << "kyo inspect: " << list.error() << '\n';
  if (!behind && pos == start) {
    io.err << "kyo inspect: '" << name << "' holds no configuration header and no object stream\n";
    return exit_failure;
  }
  if (damaged) {
    if (list.error().empty()) io.err << "kyo inspect: '" << name << "' is damaged\n";
    return exit_failure;
  }
  return exit_ok;
}

}  // namespace

void add_inspect(CLI::App& kyo, const streams& io, action& run) {
  CLI::App* sub = kyo.add_subcommand("inspect", inspect_about);
  sub->footer(inspect_footer);
  sub->positionals_at_end();
  auto file = std::make_shared<std::string>();
  sub->add_option("FILE", *file, "the file to show")->required();
  sub->callback([&run, &io, file] { run = [&io, file] { return inspect(*file, io); }; });
}

}  // namespace kyo::cli
