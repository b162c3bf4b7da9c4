#include <kyo/platform/profile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

#include <kyo/platform/ascii.h>
#include <kyo/platform/local_time.h>
#include <kyo/platform/path_map.h>

#include "platform/native_file.h"
#include "platform/profile_store.h"

namespace kyo {

namespace {

// Parsed form. The file is kept as its lines, byte for byte, so that a write
// changes only the lines it must; the sections and keys index into them.

// Files from older systems end their lines with a lone CR.
enum class line_end : std::uint8_t { none, lf, crlf, cr };

struct line {
  std::string text;  // without the line end
  line_end end = line_end::none;
};

struct key_entry {
  std::string key;
  std::string value;  // trimmed and unquoted
  std::size_t line = 0;
};

struct section_index {
  std::string name;
  std::size_t header = 0;  // line of "[name]"
  std::size_t end = 0;     // first line after the section
  std::vector<key_entry> entries;
  std::unordered_map<std::string, std::size_t> first_entry;  // lower-case key -> entry
};

struct parsed_file {
  std::vector<line> lines;
  std::vector<section_index> sections;
  std::unordered_map<std::string, std::size_t> first_section;  // lower-case name -> section
  line_end style = line_end::crlf;                             // for lines we add
};

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view trim(std::string_view s) {
  while (!s.empty() && is_blank(s.front()))
    s.remove_prefix(1);
  while (!s.empty() && is_blank(s.back()))
    s.remove_suffix(1);
  return s;
}

std::string_view unquote(std::string_view value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    return value.substr(1, value.size() - 2);
  }
  return value;
}

std::vector<line> split_lines(std::string_view bytes) {
  std::vector<line> lines;
  std::size_t start = 0;
  while (start < bytes.size()) {
    const std::size_t brk = bytes.find_first_of("\r\n", start);
    if (brk == std::string_view::npos) {
      lines.push_back({std::string(bytes.substr(start)), line_end::none});
      break;
    }
    line_end end = line_end::lf;
    if (bytes[brk] == '\r') {
      end = brk + 1 < bytes.size() && bytes[brk + 1] == '\n' ? line_end::crlf : line_end::cr;
    }
    lines.push_back({std::string(bytes.substr(start, brk - start)), end});
    start = brk + (end == line_end::crlf ? 2 : 1);
  }
  return lines;
}

void index_lines(parsed_file& file) {
  file.sections.clear();
  file.first_section.clear();
  file.style = line_end::crlf;
  for (const line& l : file.lines) {
    if (l.end != line_end::none) {
      file.style = l.end;
      break;
    }
  }
  section_index* current = nullptr;
  for (std::size_t i = 0; i < file.lines.size(); ++i) {
    const std::string& text = file.lines[i].text;
    if (text.size() > profile_max_line_length) continue;
    const std::string_view t = trim(text);
    if (t.empty() || t.front() == ';') continue;
    if (t.front() == '[') {
      const std::size_t close = t.find(']');
      if (close == std::string_view::npos) continue;
      if (current != nullptr) current->end = i;
      section_index s;
      s.name = std::string(trim(t.substr(1, close - 1)));
      s.header = i;
      file.first_section.emplace(ascii_lower(s.name), file.sections.size());
      file.sections.push_back(std::move(s));
      current = &file.sections.back();
      continue;
    }
    if (current == nullptr) continue;
    const std::size_t eq = t.find('=');
    if (eq == std::string_view::npos) continue;
    const std::string_view key = trim(t.substr(0, eq));
    current->first_entry.emplace(ascii_lower(key), current->entries.size());
    current->entries.push_back({std::string(key), std::string(unquote(trim(t.substr(eq + 1)))), i});
  }
  if (current != nullptr) current->end = file.lines.size();
}

std::string serialize(const std::vector<line>& lines) {
  std::size_t total = 0;
  for (const line& l : lines)
    total += l.text.size() + 2;
  std::string out;
  out.reserve(total);
  for (const line& l : lines) {
    out += l.text;
    if (l.end == line_end::crlf) out += "\r\n";
    if (l.end == line_end::lf) out += '\n';
    if (l.end == line_end::cr) out += '\r';
  }
  return out;
}

const section_index* find_section(const parsed_file& file, std::string_view name) {
  const auto it = file.first_section.find(ascii_lower(trim(name)));
  return it == file.first_section.end() ? nullptr : &file.sections[it->second];
}

const key_entry* find_entry(const section_index& s, std::string_view key) {
  const auto it = s.first_entry.find(ascii_lower(trim(key)));
  return it == s.first_entry.end() ? nullptr : &s.entries[it->second];
}

// Reading files through the cache. One mutex guards the cache and every write,
// so a read never sees a half-applied write of this process.

struct file_identity {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  std::int64_t mtime_ns = 0;

  bool operator==(const file_identity&) const = default;
};

file_identity identity_of(const struct stat& st) {
  return {st.st_dev, st.st_ino, st.st_size,
          static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec};
}

// The coarsest step of file time stamps in common use (FAT keeps even seconds).
// Another write within one step of a reading may keep both size and time stamp.
constexpr std::int64_t stamp_step_ns = 2'000'000'000;

struct cached_file {
  std::string path;
  file_identity identity;
  bool settled = false;  // read at least one stamp step after the file's time stamp
  std::shared_ptr<const parsed_file> parsed;
};

std::mutex profile_mutex;
std::list<cached_file> cache;  // most recently used first

void remember(cached_file entry) {
  cache.remove_if([&](const cached_file& c) { return c.path == entry.path; });
  cache.push_front(std::move(entry));
  while (cache.size() > profile_cache_files) {
    cache.pop_back();
  }
}

struct load_result {
  std::shared_ptr<const parsed_file> parsed;  // null on error
  std::error_code error;
};

std::error_code errno_code(int e) {
  return std::error_code(e, std::generic_category());
}

// The wall clock's time, taken before a file is looked at, so that it is never later than the
// reading.
std::int64_t now_ns() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(wall_clock_now().time_since_epoch())
      .count();
}

// Reads and parses `path`, or takes it from the cache when the file on disk is
// still the one that was parsed; `known` is the file's stat when the caller has just
// taken it (after `read_at_ns`). Called with profile_mutex held.
load_result load(const std::string& path, std::int64_t read_at_ns,
                 const struct stat* known = nullptr) {
  struct stat st;
  if (known != nullptr) {
    st = *known;
  } else if (::stat(path.c_str(), &st) != 0) {
    return {nullptr, errno_code(errno)};
  }
  const file_identity identity = identity_of(st);
  for (auto it = cache.begin(); it != cache.end(); ++it) {
    if (it->path != path) continue;
    if (it->settled && it->identity == identity) {
      cache.splice(cache.begin(), cache, it);
      return {cache.front().parsed, {}};
    }
    cache.erase(it);
    break;
  }
  if (S_ISDIR(st.st_mode)) return {nullptr, errno_code(EISDIR)};
  if (!S_ISREG(st.st_mode)) return {nullptr, profile_errc::not_a_regular_file};
  if (static_cast<std::uint64_t>(st.st_size) > profile_max_file_size) {
    return {nullptr, std::make_error_code(std::errc::file_too_large)};
  }
  // Non-blocking, so that a pipe put in the file's place since stat cannot hang the call.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return {nullptr, errno_code(errno)};
  struct stat opened;
  if (::fstat(fd, &opened) != 0) {
    const int e = errno;
    ::close(fd);
    return {nullptr, errno_code(e)};
  }
  if (!S_ISREG(opened.st_mode)) {
    ::close(fd);
    return {nullptr, profile_errc::not_a_regular_file};
  }
  // Read to the end, but never more than one byte past the limit: a file that
  // grew since fstat is read whole or refused, never cut short.
  std::string bytes;
  std::size_t got = 0;
  while (got <= profile_max_file_size) {
    if (bytes.size() == got) {
      const std::size_t wanted = got == 0 ? static_cast<std::size_t>(opened.st_size) + 1 : got * 2;
      bytes.resize(std::min(wanted, profile_max_file_size + 1));
    }
    const ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      const int e = errno;
      ::close(fd);
      return {nullptr, errno_code(e)};
    }
    if (n == 0) break;
    got += static_cast<std::size_t>(n);
  }
  ::close(fd);
  if (got > profile_max_file_size) {
    return {nullptr, std::make_error_code(std::errc::file_too_large)};
  }
  bytes.resize(got);
  auto parsed = std::make_shared<parsed_file>();
  parsed->lines = split_lines(bytes);
  index_lines(*parsed);
  // Only a file whose size matches what was read is cached; one that changed
  // while being read is parsed again next time.
  if (static_cast<std::uint64_t>(opened.st_size) == got) {
    const file_identity read = identity_of(opened);
    remember({path, read, read_at_ns - read.mtime_ns >= stamp_step_ns, parsed});
  }
  return {parsed, {}};
}

// Writing.

bool has_line_break(std::string_view s) {
  return s.find_first_of("\r\n") != std::string_view::npos;
}

std::error_code check_names(std::string_view section, const std::string_view* key,
                            const std::string_view* value) {
  const auto invalid = std::make_error_code(std::errc::invalid_argument);
  if (has_line_break(section) || section.find(']') != std::string_view::npos) return invalid;
  if (key != nullptr) {
    const std::string_view k = trim(*key);
    if (has_line_break(k) || k.find('=') != std::string_view::npos ||
        (!k.empty() && (k.front() == ';' || k.front() == '['))) {
      return invalid;
    }
  }
  if (value != nullptr && has_line_break(*value)) return invalid;
  return {};
}

// The file a write replaces: symbolic links are followed so that the link stays.
std::string write_target(const std::string& path) {
  std::error_code ec;
  if (!std::filesystem::is_symlink(path, ec)) return path;
  const std::filesystem::path target = std::filesystem::weakly_canonical(path, ec);
  return ec ? path : target.string();
}

enum class edit_kind { set_value, erase_key, erase_section };

struct edit {
  edit_kind kind;
  std::string_view section;
  std::string_view key;
  std::string_view value;
};

void end_last_line(parsed_file& file) {
  if (!file.lines.empty() && file.lines.back().end == line_end::none) {
    file.lines.back().end = file.style;
  }
}

// Removes the marked lines in one pass: files with many duplicates stay quick.
bool drop_lines(std::vector<line>& lines, const std::vector<bool>& doomed) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (doomed[i]) continue;
    if (kept != i) lines[kept] = std::move(lines[i]);
    ++kept;
  }
  const bool changed = kept != lines.size();
  lines.resize(kept);
  return changed;
}

// A line the reader would skip as too long would lose its key.
std::error_code check_length(const std::string& text) {
  return text.size() > profile_max_line_length ? std::make_error_code(std::errc::value_too_large)
                                               : std::error_code();
}

// Applies `e` to the lines of `file`; `changed` says whether any line changed.
std::error_code apply(parsed_file& file, const edit& e, bool& changed) {
  const std::string section_name(trim(e.section));
  const std::string key(trim(e.key));
  const section_index* s = find_section(file, section_name);
  std::vector<bool> doomed;
  switch (e.kind) {
    case edit_kind::set_value: {
      std::string entry = key + "=" + std::string(e.value);
      if (s == nullptr) {
        std::string header = "[" + section_name + "]";
        if (const std::error_code ec = check_length(header)) return ec;
        if (const std::error_code ec = check_length(entry)) return ec;
        end_last_line(file);
        if (!file.lines.empty() && !trim(file.lines.back().text).empty()) {
          file.lines.push_back({"", file.style});
        }
        file.lines.push_back({std::move(header), file.style});
        file.lines.push_back({std::move(entry), file.style});
        changed = true;
        return {};
      }
      if (const key_entry* found = find_entry(*s, key)) {
        std::string& text = file.lines[found->line].text;
        // Keep the key as spelt in the file and the blanks after '=', unless the
        // value brings blanks of its own: writing it again gives the same line.
        std::size_t keep = text.find('=') + 1;
        if (e.value.empty() || !is_blank(e.value.front())) {
          while (keep < text.size() && is_blank(text[keep]))
            ++keep;
        }
        std::string updated = text.substr(0, keep) + std::string(e.value);
        if (const std::error_code ec = check_length(updated)) return ec;
        changed = updated != text;
        text = std::move(updated);
        return {};
      }
      if (const std::error_code ec = check_length(entry)) return ec;
      // After the section's last non-blank line, so blank lines before the next
      // section stay where they are.
      std::size_t at = s->header + 1;
      for (std::size_t i = s->header + 1; i < s->end; ++i) {
        if (!trim(file.lines[i].text).empty()) at = i + 1;
      }
      if (file.lines[at - 1].end == line_end::none) file.lines[at - 1].end = file.style;
      file.lines.insert(file.lines.begin() + static_cast<std::ptrdiff_t>(at),
                        {std::move(entry), file.style});
      changed = true;
      return {};
    }
    case edit_kind::erase_key: {
      if (s == nullptr) return {};
      const std::string wanted = ascii_lower(key);
      doomed.assign(file.lines.size(), false);
      for (const key_entry& en : s->entries) {
        if (ascii_lower(en.key) == wanted) doomed[en.line] = true;
      }
      break;
    }
    case edit_kind::erase_section: {
      const std::string wanted = ascii_lower(section_name);
      doomed.assign(file.lines.size(), false);
      for (const section_index& other : file.sections) {
        if (ascii_lower(other.name) != wanted) continue;
        std::fill(doomed.begin() + static_cast<std::ptrdiff_t>(other.header),
                  doomed.begin() + static_cast<std::ptrdiff_t>(other.end), true);
      }
      break;
    }
  }
  changed = drop_lines(file.lines, doomed);
  return {};
}

std::error_code modify(std::string_view dos_file, const edit& e) {
  const std::string_view* key = e.kind == edit_kind::erase_section ? nullptr : &e.key;
  const std::string_view* value = e.kind == edit_kind::set_value ? &e.value : nullptr;
  if (const std::error_code invalid = check_names(e.section, key, value)) return invalid;
  if (dos_file.empty()) return errno_code(ENOENT);
  std::lock_guard lock(profile_mutex);
  const std::int64_t read_at_ns = now_ns();
  const std::string path = write_target(native_path(dos_file));
  const load_result current = load(path, read_at_ns);
  // Never rewrite what could not be read: its contents would be lost.
  if (!current.parsed && current.error != std::errc::no_such_file_or_directory) {
    return current.error;
  }
  parsed_file updated = current.parsed ? *current.parsed : parsed_file{};
  bool changed = false;
  if (const std::error_code refused = apply(updated, e, changed)) return refused;
  if (!changed) return {};
  const std::string bytes = serialize(updated.lines);
  if (bytes.size() > profile_max_file_size) return std::make_error_code(std::errc::file_too_large);
  std::optional<std::string> old_bytes;
  if (current.parsed) old_bytes = serialize(current.parsed->lines);
  // The cached parse goes stale by itself: the write gives the file a new time stamp.
  return profile_store::store(path, old_bytes, bytes);
}

// Reading helpers shared by both faces.

std::shared_ptr<const parsed_file> parsed_or_null(std::string_view dos_file) {
  if (dos_file.empty()) return nullptr;
  const std::int64_t read_at_ns = now_ns();
  struct stat st;
  bool found = false;
  const std::string path = native_path_and_stat(dos_file, &st, &found);
  return load(path, read_at_ns, found ? &st : nullptr).parsed;
}

// Each section name once, at its first occurrence, which is the one reads use.
std::vector<const section_index*> first_sections(const parsed_file& file) {
  std::vector<const section_index*> sections;
  for (std::size_t i = 0; i < file.sections.size(); ++i) {
    if (file.first_section.at(ascii_lower(file.sections[i].name)) == i) {
      sections.push_back(&file.sections[i]);
    }
  }
  return sections;
}

std::vector<const key_entry*> first_entries(const section_index& s) {
  std::vector<const key_entry*> entries;
  for (std::size_t i = 0; i < s.entries.size(); ++i) {
    if (s.first_entry.at(ascii_lower(s.entries[i].key)) == i) entries.push_back(&s.entries[i]);
  }
  return entries;
}

std::size_t copy_string(std::string_view text, char* buffer, std::size_t size) {
  // A value with a NUL byte ends there for a caller that reads C strings.
  const std::size_t nul = text.find('\0');
  if (nul != std::string_view::npos) text = text.substr(0, nul);
  const std::size_t n = std::min(text.size(), size - 1);
  std::memcpy(buffer, text.data(), n);
  buffer[n] = '\0';
  return n;
}

std::size_t copy_list(const std::vector<std::string_view>& names, char* buffer, std::size_t size) {
  if (size < 2) {
    buffer[0] = '\0';
    return 0;
  }
  std::size_t at = 0;
  for (std::string_view name : names) {
    const std::size_t nul = name.find('\0');
    if (nul != std::string_view::npos) name = name.substr(0, nul);
    // An empty name would read as the end of the list.
    if (name.empty()) continue;
    if (at + name.size() + 2 > size) {
      const std::size_t room = at + 2 <= size ? size - 2 - at : 0;
      std::memcpy(buffer + at, name.data(), std::min(room, name.size()));
      buffer[size - 2] = '\0';
      buffer[size - 1] = '\0';
      return size - 2;
    }
    std::memcpy(buffer + at, name.data(), name.size());
    at += name.size();
    buffer[at++] = '\0';
  }
  buffer[at] = '\0';
  if (at == 0) buffer[1] = '\0';
  return at;
}

int parse_int(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && is_blank(text[i]))
    ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
    negative = text[i] == '-';
    ++i;
  }
  unsigned base = 10;
  if (i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) {
    base = 16;
    i += 2;
  }
  // Unsigned arithmetic wraps modulo 2^32, which gives the classic result for
  // out-of-range values without undefined behaviour.
  std::uint32_t value = 0;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    unsigned digit = 0;
    const char l = ascii_lower(c);
    if (is_ascii_digit(c)) {
      digit = static_cast<unsigned>(c - '0');
    } else if (base == 16 && l >= 'a' && l <= 'f') {
      digit = static_cast<unsigned>(l - 'a' + 10);
    } else {
      break;
    }
    value = value * base + digit;
  }
  if (negative) value = 0u - value;
  return static_cast<int>(value);
}

}  // namespace

std::size_t get_private_profile_string(const char* section, const char* key,
                                       const char* default_value, char* buffer, std::size_t size,
                                       const char* file) {
  if (buffer == nullptr || size == 0) return 0;
  std::lock_guard lock(profile_mutex);
  const std::shared_ptr<const parsed_file> parsed =
      parsed_or_null(file != nullptr ? file : std::string_view());
  if (section == nullptr) {
    std::vector<std::string_view> names;
    if (parsed) {
      for (const section_index* s : first_sections(*parsed))
        names.push_back(s->name);
    }
    return copy_list(names, buffer, size);
  }
  const section_index* s = parsed ? find_section(*parsed, section) : nullptr;
  if (key == nullptr) {
    std::vector<std::string_view> names;
    if (s != nullptr) {
      for (const key_entry* en : first_entries(*s))
        names.push_back(en->key);
    }
    return copy_list(names, buffer, size);
  }
  if (const key_entry* found = s != nullptr ? find_entry(*s, key) : nullptr) {
    return copy_string(found->value, buffer, size);
  }
  std::string_view fallback = default_value != nullptr ? default_value : "";
  while (!fallback.empty() && fallback.back() == ' ')
    fallback.remove_suffix(1);
  return copy_string(fallback, buffer, size);
}

int get_private_profile_int(const char* section, const char* key, int default_value,
                            const char* file) {
  if (section == nullptr || key == nullptr || file == nullptr) return default_value;
  const std::optional<std::string> value = profile_read(file, section, key);
  if (!value || value->empty()) return default_value;
  return parse_int(*value);
}

bool write_private_profile_string(const char* section, const char* key, const char* value,
                                  const char* file) {
  if (section == nullptr) {
    if (key == nullptr && value == nullptr) {
      profile_flush_cache();
      return true;
    }
    return false;
  }
  if (file == nullptr) return false;
  if (key == nullptr) return !profile_erase_section(file, section);
  if (value == nullptr) return !profile_erase_key(file, section, key);
  return !profile_write(file, section, key, value);
}

std::optional<std::string> profile_read(std::string_view file, std::string_view section,
                                        std::string_view key) {
  std::lock_guard lock(profile_mutex);
  const std::shared_ptr<const parsed_file> parsed = parsed_or_null(file);
  if (!parsed) return std::nullopt;
  const section_index* s = find_section(*parsed, section);
  const key_entry* found = s != nullptr ? find_entry(*s, key) : nullptr;
  if (found == nullptr) return std::nullopt;
  return found->value;
}

std::vector<std::string> profile_sections(std::string_view file) {
  std::lock_guard lock(profile_mutex);
  const std::shared_ptr<const parsed_file> parsed = parsed_or_null(file);
  std::vector<std::string> names;
  if (parsed) {
    for (const section_index* s : first_sections(*parsed))
      names.push_back(s->name);
  }
  return names;
}

std::vector<std::pair<std::string, std::string>> profile_entries(std::string_view file,
                                                                 std::string_view section) {
  std::lock_guard lock(profile_mutex);
  std::vector<std::pair<std::string, std::string>> result;
  const std::shared_ptr<const parsed_file> parsed = parsed_or_null(file);
  const section_index* s = parsed ? find_section(*parsed, section) : nullptr;
  if (s == nullptr) return result;
  for (const key_entry* en : first_entries(*s))
    result.emplace_back(en->key, en->value);
  return result;
}

std::error_code profile_status(std::string_view file) {
  if (file.empty()) return errno_code(ENOENT);
  std::lock_guard lock(profile_mutex);
  const std::int64_t read_at_ns = now_ns();
  return load(native_path(file), read_at_ns).error;
}

std::error_code profile_write(std::string_view file, std::string_view section, std::string_view key,
                              std::string_view value) {
  return modify(file, {edit_kind::set_value, section, key, value});
}

std::error_code profile_erase_key(std::string_view file, std::string_view section,
                                  std::string_view key) {
  return modify(file, {edit_kind::erase_key, section, key, {}});
}

std::error_code profile_erase_section(std::string_view file, std::string_view section) {
  return modify(file, {edit_kind::erase_section, section, {}, {}});
}

const std::error_category& profile_category() {
  class category final : public std::error_category {
   public:
    const char* name() const noexcept override { return "kyo profile"; }
    std::string message(int code) const override {
      if (code == static_cast<int>(profile_errc::not_a_regular_file)) {
        return "not a regular file (a device, a pipe or a socket)";
      }
      return "unknown profile error";
    }
  };
  static const category instance;
  return instance;
}

void profile_flush_cache() {
  std::lock_guard lock(profile_mutex);
  cache.clear();
}

}  // namespace kyo
