#include <kyo/platform/path_map.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <vector>

#include <kyo/platform/ascii.h>

#include "platform/native_file.h"

namespace kyo {

namespace {

std::mutex mapping_mutex;
std::array<std::string, 26> drive_roots;

int drive_index(char drive) {
  if (drive >= 'a' && drive <= 'z') return drive - 'a';
  if (drive >= 'A' && drive <= 'Z') return drive - 'A';
  return -1;
}

bool exists(const std::string& path) {
  struct stat st;
  return ::lstat(path.c_str(), &st) == 0;
}

// The name in `folder` that equals `name` ignoring case; empty when there is none.
std::string find_ignoring_case(const std::string& folder, std::string_view name) {
  DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
  if (dir == nullptr) return {};
  std::vector<std::string> matches;
  while (const dirent* entry = ::readdir(dir)) {
    if (ascii_iequal(entry->d_name, name)) matches.emplace_back(entry->d_name);
  }
  ::closedir(dir);
  if (matches.empty()) return {};
  return *std::min_element(matches.begin(), matches.end());
}

// `fixed` and the components of `rest` joined as resolve_case joins them when every component
// exists as given.
std::string joined(std::string fixed, std::string_view rest) {
  std::string result = std::move(fixed);
  std::size_t start = 0;
  while (start <= rest.size()) {
    std::size_t end = rest.find('/', start);
    if (end == std::string_view::npos) end = rest.size();
    if (!result.empty() && result.back() != '/') result.push_back('/');
    result.append(rest.substr(start, end - start));
    if (end == rest.size()) break;
    start = end + 1;
  }
  return result;
}

// Resolves each component after `fixed` (which is taken as it is) against the disk. When the
// path as given names something, every component on the way exists as given too: one stat
// (kept in `*st` for the caller, `*found` set) answers for all of them.
std::string resolve_case(std::string fixed, std::string_view rest, struct stat* st, bool* found) {
  std::string as_given = joined(fixed, rest);
  struct stat ignored;
  if (::stat(as_given.c_str(), st != nullptr ? st : &ignored) == 0) {
    if (found != nullptr) *found = true;
    return as_given;
  }
  std::string result = std::move(fixed);
  bool resolving = true;
  std::size_t start = 0;
  while (start <= rest.size()) {
    std::size_t end = rest.find('/', start);
    if (end == std::string_view::npos) end = rest.size();
    const std::string_view component = rest.substr(start, end - start);
    const bool last = end == rest.size();
    const std::string folder = result;
    if (!result.empty() && result.back() != '/') result.push_back('/');
    if (component.empty() || component == "." || component == "..") {
      result.append(component);
    } else if (!resolving) {
      result.append(component);
    } else {
      std::string candidate = result;
      candidate.append(component);
      if (exists(candidate)) {
        result = std::move(candidate);
      } else {
        const std::string match = find_ignoring_case(folder.empty() ? "." : folder, component);
        result.append(match.empty() ? std::string(component) : match);
        // Nothing below a missing name can exist; keep the rest as given.
        if (match.empty()) resolving = false;
      }
    }
    if (last) break;
    start = end + 1;
  }
  return result;
}

}  // namespace

std::string native_path_and_stat(std::string_view dos_path, struct stat* st, bool* found) {
  if (found != nullptr) *found = false;
  std::string path(dos_path);
  std::replace(path.begin(), path.end(), '\\', '/');
  std::string_view rest = path;
  if (path.size() >= 2 && path[1] == ':' && drive_index(path[0]) >= 0) {
    std::string root;
    {
      std::lock_guard lock(mapping_mutex);
      root = drive_roots[drive_index(path[0])];
    }
    rest.remove_prefix(2);
    if (!root.empty()) {
      while (!rest.empty() && rest.front() == '/')
        rest.remove_prefix(1);
      if (rest.empty()) return root;
      return resolve_case(std::move(root), rest, st, found);
    }
  }
  if (!rest.empty() && rest.front() == '/') {
    return resolve_case("/", rest.substr(1), st, found);
  }
  if (rest.empty()) return {};
  return resolve_case("", rest, st, found);
}

std::string native_path(std::string_view dos_path) {
  return native_path_and_stat(dos_path, nullptr, nullptr);
}

void set_drive_mapping(char drive, std::string native_root) {
  const int index = drive_index(drive);
  if (index < 0) return;
  std::lock_guard lock(mapping_mutex);
  drive_roots[index] = std::move(native_root);
}

void clear_drive_mappings() {
  std::lock_guard lock(mapping_mutex);
  for (std::string& root : drive_roots)
    root.clear();
}

}  // namespace kyo
