#include <kyo/nmea/line_source.h>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include <kyo/platform/message_format.h>
#include <kyo/platform/path_map.h>

namespace kyo::nmea {

line_source::~line_source() = default;

namespace {

constexpr int poll_step_ms = 200;
constexpr const char* gpsd_default_port = "2947";
// Asks gpsd for the receivers' own sentences; its JSON reports keep coming and are skipped.
constexpr std::string_view gpsd_watch = "?WATCH={\"enable\":true,\"nmea\":true};\n";

/// Reads lines from a file descriptor, which it owns unless it is standard input.
class fd_source final : public line_source {
 public:
  fd_source(int fd, bool live, bool skip_json) : fd_(fd), live_(live), skip_json_(skip_json) {}
  ~fd_source() override {
    if (fd_ != STDIN_FILENO) ::close(fd_);
  }
  fd_source(const fd_source&) = delete;
  fd_source& operator=(const fd_source&) = delete;

  std::optional<std::string> next_line() override {
    for (;;) {
      std::optional<std::string> line = take_line();
      if (!line) return std::nullopt;
      if (skip_json_ && !line->empty() && (*line)[0] == '{') continue;
      return line;
    }
  }

  bool live() const noexcept override { return live_; }

 private:
  std::optional<std::string> take_line() {
    std::string line;
    bool cut = false;
    for (;;) {
      const std::size_t nl = buffer_.find('\n');
      const std::size_t end = nl == std::string::npos ? buffer_.size() : nl;
      const std::size_t room = max_line - line.size();
      if (!cut) line.append(buffer_, 0, std::min(end, room));
      if (end > room) cut = true;
      if (nl != std::string::npos) {
        buffer_.erase(0, nl + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return line;
      }
      buffer_.clear();
      if (!fill()) {
        // The last line of a file may lack its line break.
        if (at_end_ && !line.empty() && error_.empty()) {
          if (line.back() == '\r') line.pop_back();
          return line;
        }
        return std::nullopt;
      }
    }
  }

  // Reads more bytes into the buffer; false at the end, on failure or when stopped.
  bool fill() {
    char chunk[8192];
    for (;;) {
      if (stopped()) return false;
      pollfd p{fd_, POLLIN, 0};
      const int ready = ::poll(&p, 1, poll_step_ms);
      if (ready < 0 && errno != EINTR) return fail("cannot wait for data");
      if (ready <= 0) continue;
      const ssize_t n = ::read(fd_, chunk, sizeof chunk);
      if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
      if (n < 0) return fail("cannot read");
      if (n == 0) {
        at_end_ = true;
        return false;
      }
      buffer_.append(chunk, static_cast<std::size_t>(n));
      return true;
    }
  }

  bool fail(const char* what) {
    error_ = std::string(what) + ": " + system_error_text(errno);
    return false;
  }

  int fd_;
  bool live_;
  bool skip_json_;
  bool at_end_ = false;
  std::string buffer_;
};

// Connects to host:port within the timeout; -1 with `error` set when it cannot.
int connect_tcp(const std::string& host, const std::string& port, int timeout_ms,
                std::string& error) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (const int rc = ::getaddrinfo(host.c_str(), port.c_str(), &hints, &found); rc != 0) {
    error = "cannot find " + host + ":" + port + ": " + ::gai_strerror(rc);
    return -1;
  }
  int fd = -1;
  error = "cannot connect to " + host + ":" + port;
  for (addrinfo* a = found; a != nullptr && fd < 0; a = a->ai_next) {
    fd = ::socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, a->ai_protocol);
    if (fd < 0) continue;
    int rc = ::connect(fd, a->ai_addr, a->ai_addrlen);
    if (rc < 0 && errno == EINPROGRESS) {
      pollfd p{fd, POLLOUT, 0};
      int so_error = ETIMEDOUT;
      socklen_t len = sizeof so_error;
      if (::poll(&p, 1, timeout_ms) == 1) ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &so_error, &len);
      rc = so_error == 0 ? 0 : -1;
      errno = so_error;
    }
    if (rc < 0) {
      error += std::string(": ") + system_error_text(errno);
      ::close(fd);
      fd = -1;
    }
  }
  ::freeaddrinfo(found);
  return fd;
}

// Splits "HOST:PORT"; a host in brackets may hold colons ("[::1]:2947").
bool split_host_port(std::string_view text, std::string& host, std::string& port) {
  std::size_t colon = std::string_view::npos;
  if (!text.empty() && text[0] == '[') {
    const std::size_t close = text.find(']');
    if (close == std::string_view::npos) return false;
    host = text.substr(1, close - 1);
    if (close + 1 < text.size()) {
      if (text[close + 1] != ':') return false;
      port = text.substr(close + 2);
    }
    return !host.empty();
  }
  colon = text.rfind(':');
  host = text.substr(0, colon);
  if (colon != std::string_view::npos) port = text.substr(colon + 1);
  return !host.empty() && (colon == std::string_view::npos || !port.empty());
}

}  // namespace

std::unique_ptr<line_source> open_source(const std::string& spec, std::string& error,
                                         int connect_timeout_ms) {
  error.clear();
  const std::string_view s = spec;
  if (s == "-") return std::make_unique<fd_source>(STDIN_FILENO, false, false);
  const bool tcp = s.starts_with("tcp:");
  const bool gpsd = s.starts_with("gpsd:");
  if (tcp || gpsd) {
    std::string host, port;
    if (!split_host_port(s.substr(tcp ? 4 : 5), host, port) || (tcp && port.empty())) {
      error = "'" + spec + "' is not " + (tcp ? "tcp:HOST:PORT" : "gpsd:HOST[:PORT]");
      return nullptr;
    }
    if (port.empty()) port = gpsd_default_port;
    const int fd = connect_tcp(host, port, connect_timeout_ms, error);
    if (fd < 0) return nullptr;
    if (gpsd && ::send(fd, gpsd_watch.data(), gpsd_watch.size(), MSG_NOSIGNAL) !=
                    static_cast<ssize_t>(gpsd_watch.size())) {
      error = "cannot ask gpsd for NMEA: " + system_error_text(errno);
      ::close(fd);
      return nullptr;
    }
    error.clear();
    return std::make_unique<fd_source>(fd, true, gpsd);
  }
  const std::string path = native_path(spec);
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    error = "cannot open '" + spec + "': " + system_error_text(errno);
    return nullptr;
  }
  return std::make_unique<fd_source>(fd, false, false);
}

}  // namespace kyo::nmea
