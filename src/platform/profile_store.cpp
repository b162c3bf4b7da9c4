#include "platform/profile_store.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>

#include <kyo/platform/profile.h>

namespace kyo::profile_store {

namespace {

std::error_code errno_code(int e) {
  return std::error_code(e, std::generic_category());
}

// Temporary names are random, so that files left by a process that was killed
// (even one with the same process id, as in containers) never stand in the way.
std::optional<std::string> random_suffix() {
  std::uint64_t bits = 0;
  if (::getrandom(&bits, sizeof bits, 0) != static_cast<ssize_t>(sizeof bits)) return std::nullopt;
  char text[16];
  return std::string(text, std::to_chars(text, text + sizeof text, bits, 16).ptr);
}

std::error_code write_all(int fd, std::string_view bytes, std::size_t at) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n =
        ::pwrite(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(at + done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return errno_code(n < 0 ? errno : EIO);
    done += static_cast<std::size_t>(n);
  }
  return {};
}

void close_and_remove(int fd, const std::string& path) {
  ::close(fd);
  ::unlink(path.c_str());
}

// Gives the new file the owner, group and mode of the one it replaces; false when
// this process may not (another user's file written by an ordinary user). The mode
// comes after the owner, whose change may clear the set-id bits.
bool take_identity(int fd, const struct stat& old) {
  return ::fchown(fd, old.st_uid, old.st_gid) == 0 && ::fchmod(fd, old.st_mode & 07777) == 0;
}

// Writes `bytes` to a new file beside `path` and renames it over `path`, so that a
// crash leaves the old file or the new one, never a mixture. nullopt when the
// folder takes no new file or the new one could not be what `old` is: the caller
// then writes in place.
std::optional<std::error_code> replace(const std::string& path, const struct stat* old,
                                       std::string_view bytes) {
  const std::filesystem::path target(path);
  const std::string folder =
      target.has_parent_path() ? target.parent_path().string() : std::string(".");
  int fd = -1;
  std::string temp;
  for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
    const std::optional<std::string> suffix = random_suffix();
    if (!suffix) return errno_code(errno);
    temp = folder + "/." + target.filename().string() + ".kyo-" + *suffix;
    // 0666 lets the umask decide the mode of a new file, as for any file a program creates.
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno != EEXIST) {
      const int e = errno;
      if (old != nullptr && (e == EACCES || e == EPERM)) return std::nullopt;
      return errno_code(e);
    }
  }
  if (fd < 0) return errno_code(EEXIST);
  if (old != nullptr && !take_identity(fd, *old)) {
    close_and_remove(fd, temp);
    return std::nullopt;
  }
  if (const std::error_code failed = write_all(fd, bytes, 0)) {
    close_and_remove(fd, temp);
    return failed;
  }
  if (::fsync(fd) != 0) {
    const int e = errno;
    close_and_remove(fd, temp);
    return errno_code(e);
  }
  if (::close(fd) != 0 || ::rename(temp.c_str(), path.c_str()) != 0) {
    const int e = errno;
    ::unlink(temp.c_str());
    return errno_code(e);
  }
  // Make the rename itself durable; a failure here leaves a correct file behind.
  const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    (void)::fsync(dir);
    ::close(dir);
  }
  return std::error_code{};
}

// Rewrites the file open as `fd` from its first changed byte on. Room for a longer
// file is claimed first, so that a full disk or a size limit is met before any old
// byte is overwritten; a later failure puts the old bytes back.
std::error_code write_in_place(int fd, std::string_view old, std::string_view bytes) {
  const std::size_t same = static_cast<std::size_t>(
      std::mismatch(old.begin(), old.end(), bytes.begin(), bytes.end()).first - old.begin());
  if (bytes.size() > old.size()) {
    const int r = ::posix_fallocate(fd, static_cast<off_t>(old.size()),
                                    static_cast<off_t>(bytes.size() - old.size()));
    // File systems without the call only lose the early warning.
    if (r != 0 && r != EOPNOTSUPP && r != EINVAL) {
      (void)::ftruncate(fd, static_cast<off_t>(old.size()));
      return errno_code(r);
    }
  }
  std::error_code failed = write_all(fd, bytes.substr(same), same);
  if (!failed && ::ftruncate(fd, static_cast<off_t>(bytes.size())) != 0) failed = errno_code(errno);
  if (failed) {
    (void)write_all(fd, old.substr(same), same);
    (void)::ftruncate(fd, static_cast<off_t>(old.size()));
    (void)::fsync(fd);
    return failed;
  }
  if (::fsync(fd) != 0) return errno_code(errno);
  return {};
}

}  // namespace

std::error_code store(const std::string& path, const std::optional<std::string_view>& old_bytes,
                      std::string_view bytes) {
  if (!old_bytes) return *replace(path, nullptr, bytes);
  // Opening for writing is the permission check: a file the user may not write is
  // refused, as the folder's permission alone would let a rename replace it.
  const int fd = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return errno_code(errno);
  std::error_code result;
  struct stat st;
  if (::fstat(fd, &st) != 0) {
    result = errno_code(errno);
  } else if (!S_ISREG(st.st_mode)) {
    result = profile_errc::not_a_regular_file;
  } else {
    // A rename would split a file with several names and belongs to the folder's writers.
    std::optional<std::error_code> replaced;
    if (st.st_nlink == 1) replaced = replace(path, &st, bytes);
    result = replaced ? *replaced : write_in_place(fd, *old_bytes, bytes);
  }
  if (::close(fd) != 0 && !result) result = errno_code(errno);
  return result;
}

}  // namespace kyo::profile_store
