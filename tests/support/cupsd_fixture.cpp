#include "support/cupsd_fixture.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "support/temp_dir.h"

namespace kyo::test {

namespace fs = std::filesystem;

namespace {

constexpr const char* cupsd_program = "/usr/sbin/cupsd";
constexpr const char* cups_exec = "/usr/lib/cups/daemon/cups-exec";

// Writes the file `name` of the fixture's folder (tests/support/cupsd) to `to`, with every "@DIR@"
// in it replaced by the server's folder `dir`.
bool install(const std::string& name, const std::string& to, const std::string& dir) {
  std::string text = read_file(fs::path(KYO_CUPSD_FILES) / name);
  for (std::size_t at; (at = text.find("@DIR@")) != std::string::npos;)
    text.replace(at, 5, dir);
  std::ofstream out(to, std::ios::binary | std::ios::trunc);
  return !text.empty() && out << text;
}

// Runs a shell command (our own paths and names only) and gives its exit status and output.
int run(const std::string& command, std::string& output) {
  FILE* pipe = ::popen((command + " </dev/null 2>&1").c_str(), "r");
  if (pipe == nullptr) return -1;
  char buffer[512];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    output.append(buffer, n);
  const int status = ::pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

bool under_ci() {
  const char* ci = std::getenv("CI");
  return ci != nullptr && std::string(ci) == "true";
}

private_cupsd::private_cupsd(const std::string& queue) {
  // One folder per process: libcups keeps the server it first read for each thread, so every
  // fixture of a test program must listen on the same socket.
  dir_ = "/tmp/kyo-cups-" + std::to_string(::getpid());
  if (!start(queue)) stop();
}

private_cupsd::~private_cupsd() {
  stop();
  std::error_code ec;
  fs::remove_all(dir_, ec);
}

std::string private_cupsd::device_uri(const std::string& queue) const {
  return "capture:" + dir_ + "/out/" + queue;
}

bool private_cupsd::start(const std::string& queue) {
  if (::access(cupsd_program, X_OK) != 0 || ::access(cups_exec, X_OK) != 0) {
    failure_ = "cupsd is not installed (packages cups-daemon, cups-client)";
    return false;
  }
  std::error_code ec;
  fs::remove_all(dir_, ec);
  const std::string& d = dir_;
  for (const std::string& sub :
       std::vector<std::string>{"etc", "spool/tmp", "log", "cache", "state", "out/" + queue,
                                "serverbin/backend", "serverbin/daemon"})
    fs::create_directories(d + "/" + sub, ec);
  const std::string sock = d + "/cupsd.sock", backend = d + "/serverbin/backend/capture";
  fs::create_symlink(cups_exec, d + "/serverbin/daemon/cups-exec", ec);
  // The backend must be neither group- nor world-writable, or cupsd refuses it; owner-only runs
  // it as its owner.
  if (ec || !install("capture", backend, d) || ::chmod(backend.c_str(), 0700) != 0 ||
      !install("cups-files.conf", d + "/etc/cups-files.conf", d) ||
      !install("cupsd.conf", d + "/etc/cupsd.conf", d)) {
    failure_ = "cannot write the server's files in " + d;
    return false;
  }
  const std::string conf = d + "/etc/cupsd.conf", files = d + "/etc/cups-files.conf";
  const std::string out = d + "/log/cupsd.out";
  pid_ = ::fork();
  if (pid_ == 0) {
    const int in = ::open("/dev/null", O_RDONLY);
    const int log = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(in, 0);
    ::dup2(log, 1);
    ::dup2(log, 2);
    ::execl(cupsd_program, "cupsd", "-f", "-c", conf.c_str(), "-s", files.c_str(), nullptr);
    ::_exit(127);
  }
  std::string text;
  for (int i = 0; i < 100 && text.find("scheduler is running") == std::string::npos; ++i) {
    if (pid_ < 0 || ::waitpid(pid_, nullptr, WNOHANG) == pid_) {
      pid_ = -1;
      failure_ = "cupsd did not start; see " + out + " and " + d + "/log/error_log";
      return false;
    }
    if (i > 0) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    text.clear();
    run("lpstat -h " + sock + " -r", text);
  }
  if (text.find("scheduler is running") == std::string::npos) {
    failure_ = "cupsd did not answer within 10 s";
    return false;
  }
  text.clear();
  // -E after -p enables the queue and lets it accept jobs; -d makes it the default.
  if (run("lpadmin -h " + sock + " -p " + queue + " -v " + device_uri(queue) + " -E", text) != 0 ||
      run("lpadmin -h " + sock + " -d " + queue, text) != 0) {
    failure_ = "lpadmin cannot add queue " + queue + ": " + text;
    return false;
  }
  for (const auto& [name, value] :
       std::map<std::string, std::optional<std::string>>{{"CUPS_SERVER", sock},
                                                         {"CUPS_SERVERROOT", d + "/etc"},
                                                         {"HOME", d},
                                                         {"LPDEST", std::nullopt},
                                                         {"PRINTER", std::nullopt}})
    env_.push_back(std::make_unique<scoped_env>(name, value));
  return true;
}

std::vector<std::string> private_cupsd::jobs(const std::string& queue, std::size_t count) const {
  std::map<long, std::string> files;  // by job id
  for (int i = 0; i < 1000 && files.size() < count; ++i) {
    if (i > 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    files.clear();
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir_ + "/out/" + queue, ec)) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with("job-") && name.ends_with(".prn"))
        files[std::atol(name.c_str() + 4)] = entry.path();
    }
  }
  std::vector<std::string> contents;
  for (const auto& [id, path] : files)
    contents.push_back(read_file(path));
  return contents;
}

void private_cupsd::stop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  ::waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

}  // namespace kyo::test
