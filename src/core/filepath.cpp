#include <kyo/core/filepath.h>

#include <algorithm>

#include <kyo/platform/ascii.h>

namespace kyo {

namespace {

constexpr std::string_view allowed_punctuation = ":.\\ !#$%&'()-@^_`~,";

// Decided on bytes, not through <cctype>, so that the process locale never changes a path.
bool allowed(char c) {
  const auto u = static_cast<unsigned char>(c);
  if (u >= 128) return true;
  if (is_ascii_letter(c) || is_ascii_digit(c)) return true;
  return c != '\0' && allowed_punctuation.find(c) != std::string_view::npos;
}

char to_upper(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

bool is_short_name(std::string_view component) {
  if (component.find(' ') != std::string_view::npos) return false;
  const std::size_t dot = component.find('.');
  if (dot == std::string_view::npos) return component.size() <= 8;
  return dot <= 8 && component.size() - dot <= 4;
}

// ".." as a whole leading component of a name that has been given its leading '\'.
bool starts_with_parent(std::string_view name) {
  return name.substr(0, 3) == "\\.." && (name.size() == 3 || name[3] == '\\');
}

}  // namespace

filepath::filepath() {
  init();
}

filepath::filepath(const char* path) : path_(path != nullptr ? path : "") {
  init();
}

filepath::filepath(const std::string& path) : path_(path) {
  init();
}

filepath::filepath(const std::string& directory, std::string name) {
  std::string dir = directory;
  name.insert(0, 1, '\\');
  while (starts_with_parent(name)) {
    if (!dir.empty() && dir.back() == '\\') dir.pop_back();
    const std::size_t last = dir.rfind('\\');
    if (last != std::string::npos) dir.erase(last);
    name.erase(0, 3);
  }
  if (!dir.empty() && dir.back() == '\\') dir.pop_back();
  path_ = dir + name;
  init();
}

filepath& filepath::operator=(const std::string& path) {
  path_ = path;
  init();
  return *this;
}

filepath& filepath::operator=(const char* path) {
  path_ = path != nullptr ? path : "";
  init();
  return *this;
}

void filepath::init() {
  validate();
  tidy();
}

void filepath::set_name_and_ext(const char* name) {
  path_.replace(name_start_, std::string::npos, name != nullptr ? name : "");
  validate();
}

void filepath::set_ext(const char* ext) {
  const std::string_view e = ext != nullptr ? ext : "";
  path_.erase(ext_start_);
  if (!e.empty()) {
    if (e.front() != '.') path_ += '.';
    path_ += e;
  }
  validate();
}

void filepath::validate() {
  path_.erase(std::remove_if(path_.begin(), path_.end(), [](char c) { return !allowed(c); }),
              path_.end());
  setup_indices();
}

void filepath::setup_indices() {
  const std::size_t colon = path_.find(':');
  drive_end_ = colon == std::string::npos ? 0 : colon + 1;
  const std::size_t slash = path_.rfind('\\');
  if (slash == std::string::npos) {
    has_dir_ = false;
    name_start_ = dir_end_ = drive_end_;
  } else {
    dir_end_ = slash;
    name_start_ = slash + 1;
    has_dir_ = true;
    if (slash == drive_end_) {
      ++dir_end_;
      has_dir_ = false;
    }
  }
  locate_ext();
}

void filepath::locate_ext() {
  const std::size_t dot = path_.rfind('.');
  ext_start_ = (dot == std::string::npos || dot < name_start_) ? path_.size() : dot;
}

void filepath::tidy() {
  std::size_t pos = std::min(drive_end_, path_.size());
  if (pos < path_.size() && path_[pos] == '\\') ++pos;
  while (pos < path_.size()) {
    std::size_t end = path_.find('\\', pos);
    if (end == std::string::npos) end = path_.size();
    if (end > pos && is_short_name(std::string_view(path_).substr(pos, end - pos))) {
      path_[pos] = to_upper(path_[pos]);
      for (std::size_t i = pos + 1; i < end; ++i)
        path_[i] = ascii_lower(path_[i]);
    }
    pos = end + 1;
  }
}

std::string_view filepath::part(std::size_t from, std::size_t to) const {
  to = std::min(to, path_.size());
  if (from >= to) return {};
  return std::string_view(path_).substr(from, to - from);
}

std::string_view filepath::drive() const {
  return part(0, drive_end_);
}

std::string_view filepath::directory() const {
  return part(drive_end_, dir_end_);
}

std::string_view filepath::name() const {
  return part(name_start_, ext_start_);
}

std::string_view filepath::ext() const {
  return part(ext_start_, path_.size());
}

std::string_view filepath::name_and_ext() const {
  return part(name_start_, path_.size());
}

}  // namespace kyo
