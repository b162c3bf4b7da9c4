#include "support/cupsd_fixture.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <utility>

namespace kyo::test {

namespace fs = std::filesystem;

namespace {

constexpr const char* cupsd_program = "/usr/sbin/cupsd";
constexpr const char* cups_exec = "/usr/lib/cups/daemon/cups-exec";

// Writes each job's bytes to <folder of the URI>/job-<id>.prn, renamed into place when complete.
constexpr const char* capture_backend = R"(#!/bin/sh
[ $# -eq 0 ] && { echo 'direct capture "Unknown" "Test capture"'; exit 0; }
dir=${DEVICE_URI#capture:}
tmp="$dir/.job-$1.part"
if [ -n "${6:-}" ]; then cat -- "$6" > "$tmp"; else cat > "$tmp"; fi || exit 1
mv -f "$tmp" "$dir/job-$1.prn" || exit 1
)";

bool write_text(const fs::path& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  return static_cast<bool>(out);
}

// Runs a program with its output captured; the exit status, or -1 when it could not run.
int run(const std::vector<std::string>& args, std::string& output) {
  int fds[2];
  if (::pipe(fds) != 0) return -1;
  const pid_t child = ::fork();
  if (child < 0) return -1;
  if (child == 0) {
    ::dup2(fds[1], 1);
    ::dup2(fds[1], 2);
    ::close(fds[0]);
    ::close(fds[1]);
    const int devnull = ::open("/dev/null", O_RDONLY);
    if (devnull >= 0) ::dup2(devnull, 0);
    std::vector<char*> argv;
    for (const std::string& a : args)
      argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
  }
  ::close(fds[1]);
  char buffer[512];
  ssize_t n = 0;
  while ((n = ::read(fds[0], buffer, sizeof buffer)) > 0)
    output.append(buffer, static_cast<std::size_t>(n));
  ::close(fds[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

bool under_ci() {
  const char* ci = std::getenv("CI");
  return ci != nullptr && std::string(ci) == "true";
}

private_cupsd::private_cupsd(const std::vector<std::string>& queues) {
  // One folder per process: libcups keeps the server it first read for each thread, so every
  // fixture of a test program must listen on the same socket.
  dir_ = "/tmp/kyo-cups-" + std::to_string(::getpid());
  if (!start(queues)) stop();
}

private_cupsd::~private_cupsd() {
  stop();
  std::error_code ec;
  fs::remove_all(dir_, ec);
}

std::string private_cupsd::device_uri(const std::string& queue) const {
  return "capture:" + dir_ + "/out/" + queue;
}

bool private_cupsd::start(const std::vector<std::string>& queues) {
  if (::access(cupsd_program, X_OK) != 0 || ::access(cups_exec, X_OK) != 0) {
    failure_ = "cupsd is not installed (packages cups-daemon, cups-client)";
    return false;
  }
  std::error_code ec;
  fs::remove_all(dir_, ec);
  const fs::path root(dir_);
  for (const char* sub : {"etc", "spool/tmp", "log", "cache", "state", "out", "serverbin/backend",
                          "serverbin/daemon"}) {
    fs::create_directories(root / sub, ec);
  }
  const std::string sock = dir_ + "/cupsd.sock";
  fs::create_symlink(cups_exec, root / "serverbin/daemon/cups-exec", ec);
  const fs::path backend = root / "serverbin/backend/capture";
  // Neither group- nor world-writable, or cupsd refuses it; owner-only runs it as its owner.
  const std::string d = dir_;
  const std::string files_conf =
      "ServerRoot " + d + "/etc\nServerBin " + d + "/serverbin\nRequestRoot " + d +
      "/spool\nTempDir " + d + "/spool/tmp\nCacheDir " + d + "/cache\nStateDir " + d +
      "/state\nErrorLog " + d + "/log/error_log\nAccessLog " + d + "/log/access_log\nPageLog " + d +
      "/log/page_log\nSystemGroup root\nLogFileGroup root\n";
  const std::string cupsd_conf =
      "LogLevel info\nListen " + sock +
      "\nBrowsing No\nBrowseLocalProtocols none\nDefaultAuthType None\nWebInterface No\n"
      "ErrorPolicy abort-job\nPreserveJobFiles No\n<Location />\n  Order allow,deny\n"
      "  Allow localhost\n</Location>\n<Policy default>\n  JobPrivateAccess all\n"
      "  JobPrivateValues none\n  <Limit All>\n    Order deny,allow\n  </Limit>\n</Policy>\n";
  if (ec || !write_text(backend, capture_backend) || ::chmod(backend.c_str(), 0700) != 0 ||
      !write_text(root / "etc/cups-files.conf", files_conf) ||
      !write_text(root / "etc/cupsd.conf", cupsd_conf)) {
    failure_ = "cannot write the server's files in " + dir_;
    return false;
  }

  const std::string conf = dir_ + "/etc/cupsd.conf";
  const std::string files = dir_ + "/etc/cups-files.conf";
  const std::string out = dir_ + "/log/cupsd.out";
  const pid_t child = ::fork();
  if (child < 0) {
    failure_ = "cannot fork";
    return false;
  }
  if (child == 0) {
    const int in = ::open("/dev/null", O_RDONLY);
    const int log = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in >= 0) ::dup2(in, 0);
    if (log >= 0) {
      ::dup2(log, 1);
      ::dup2(log, 2);
    }
    ::execl(cupsd_program, "cupsd", "-f", "-c", conf.c_str(), "-s", files.c_str(), nullptr);
    ::_exit(127);
  }
  pid_ = child;

  bool ready = false;
  for (int i = 0; i < 100 && !ready; ++i) {
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      failure_ = "cupsd ended at once; see " + out + " and " + dir_ + "/log/error_log";
      return false;
    }
    std::string text;
    run({"lpstat", "-h", sock, "-r"}, text);
    ready = text.find("scheduler is running") != std::string::npos;
    if (!ready) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  if (!ready) {
    failure_ = "cupsd did not answer within 10 s";
    return false;
  }
  for (const std::string& q : queues) {
    fs::create_directories(root / "out" / q, ec);
    std::string text;
    // -E after -p enables the queue and lets it accept jobs.
    if (run({"lpadmin", "-h", sock, "-p", q, "-v", device_uri(q), "-E"}, text) != 0) {
      failure_ = "lpadmin cannot add queue " + q + ": " + text;
      return false;
    }
  }
  std::string text;
  if (!queues.empty() && run({"lpadmin", "-h", sock, "-d", queues.front()}, text) != 0) {
    failure_ = "lpadmin cannot set the default: " + text;
    return false;
  }
  env_.push_back(std::make_unique<scoped_env>("CUPS_SERVER", sock));
  env_.push_back(std::make_unique<scoped_env>("CUPS_SERVERROOT", dir_ + "/etc"));
  env_.push_back(std::make_unique<scoped_env>("HOME", dir_));
  env_.push_back(std::make_unique<scoped_env>("LPDEST", std::nullopt));
  env_.push_back(std::make_unique<scoped_env>("PRINTER", std::nullopt));
  return true;
}

std::vector<std::string> private_cupsd::jobs(const std::string& queue, std::size_t count) const {
  const fs::path folder = fs::path(dir_) / "out" / queue;
  std::vector<std::pair<long, fs::path>> files;
  for (int i = 0; i < 1000; ++i) {
    files.clear();
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
      const std::string name = entry.path().filename().string();
      if (name.rfind("job-", 0) == 0 && name.size() > 8 && name.ends_with(".prn")) {
        files.emplace_back(std::atol(name.c_str() + 4), entry.path());
      }
    }
    if (files.size() >= count) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> contents;
  for (const auto& [id, path] : files) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream bytes;
    bytes << in.rdbuf();
    contents.push_back(bytes.str());
  }
  return contents;
}

void private_cupsd::stop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  int status = 0;
  bool ended = false;
  for (int i = 0; i < 200 && !ended; ++i) {
    ended = ::waitpid(pid_, &status, WNOHANG) == pid_;
    if (!ended) std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
  if (!ended) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, &status, 0);
  }
  pid_ = -1;
}

}  // namespace kyo::test
