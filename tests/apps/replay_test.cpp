// kyo replay end to end: every recorded log replays into custom output lines that agree with the
// log as read here, independently of the parser; a live run from a TCP feed and from a real gpsd
// gives the same lines as the replay; a simulated survey comes back at its own positions; bad
// input gives a clear message.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <numbers>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include <kyo/nmea/simulator.h>

#include "apps/kyo_run.h"
#include "support/temp_dir.h"

namespace kyo::test {
namespace {

namespace fs = std::filesystem;

// One custom output: the replay clock's day of the year and time (KYO Time, which shows a
// timedate 69 years late through a date numeric: the days are off, their order is not), latitude
// and longitude in decimal degrees.
const std::string config =
    "[Replay]\r\nCustomOutputs=1\r\nOutputExtension0=pos\r\n"
    "[CustomOutput0]\r\nOutputNmrcsCount=3,Pos,44\r\n"
    "OutNumeric0=KYO,1,7\r\nOutNumeric1=GPS,2,0\r\nOutNumeric2=GPS,3,0\r\n";

// The parts of `text` between the `at` characters, empty ones included; none for empty text.
std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> parts;
  std::size_t from = 0;
  for (std::size_t to; !text.empty() && (to = text.find(at, from)) != std::string::npos;
       from = to + 1)
    parts.push_back(text.substr(from, to - from));
  if (!text.empty()) parts.push_back(text.substr(from));
  return parts;
}

// The lines of the run's custom output (one .pos file, whatever its time-made name).
std::vector<std::string> output_lines(const fs::path& dir) {
  std::vector<std::string> lines;
  for (const fs::directory_entry& e : fs::directory_iterator(dir)) {
    if (e.path().extension() != ".pos") continue;
    for (std::string& l : split(read_file(e.path()), '\n'))
      lines.push_back(l.substr(0, l.find('\r')));
    if (!lines.empty() && lines.back().empty()) lines.pop_back();  // behind the last line break
  }
  return lines;
}

// Checks a line as an NMEA reader must: true when it holds a sentence with "*hh" whose digits
// are no hex pair equal to the XOR of the bytes between the start character and '*'.
bool wrong_checksum(std::string line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == ' '))
    line.pop_back();
  const std::size_t start = line.find_first_of("$!");
  const std::size_t star = line.find('*', start == std::string::npos ? line.size() : start);
  if (start == std::string::npos || line.size() - start > 255 || star == std::string::npos)
    return false;
  unsigned sum = 0;
  for (std::size_t i = start + 1; i < star; ++i)
    sum ^= static_cast<unsigned char>(line[i]);
  const std::string digits = line.substr(star + 1);
  char* end = nullptr;
  return digits.size() != 2 || std::strtoul(digits.c_str(), &end, 16) != sum || *end != '\0';
}

// "54.4600000\xB0N" as signed degrees.
double printed_degrees(const std::string& text) {
  const std::size_t sign = text.find('\xB0');
  if (sign == std::string::npos || sign + 1 >= text.size()) return NAN;
  return (text[sign + 1] == 'S' || text[sign + 1] == 'W' ? -1 : 1) * std::atof(text.c_str());
}

// The area the positions of a log cover: every "ddmm.m,N,dddmm.m,E" in the lines a reader
// takes, as GGA, RMC and GLL sentences write them.
struct area {
  double lat[2] = {90, -90}, lon[2] = {180, -180};
  explicit area(const std::string& log) {
    static const std::regex position(
        R"(,(\d\d)(\d\d\.\d+),([NS]),(\d{3})(\d\d\.\d+),([EW])(,|\*|$))");
    for (const std::string& line : split(log, '\n')) {
      if (wrong_checksum(line)) continue;
      for (std::sregex_iterator m(line.begin(), line.end(), position), end; m != end; ++m) {
        const auto at = [&](int i) {
          const double d = std::stod((*m)[i]) + std::stod((*m)[i + 1]) / 60;
          return (*m)[i + 2] == "S" || (*m)[i + 2] == "W" ? -d : d;
        };
        lat[0] = std::min(lat[0], at(1)), lat[1] = std::max(lat[1], at(1));
        lon[0] = std::min(lon[0], at(4)), lon[1] = std::max(lon[1], at(4));
      }
    }
  }
  bool holds(double la, double lo) const {
    constexpr double e = 1e-6;
    return la >= lat[0] - e && la <= lat[1] + e && lo >= lon[0] - e && lo <= lon[1] + e;
  }
};

TEST(kyo_replay, every_recorded_log_replays_into_lines_that_agree_with_it) {
  // The recorded logs: KYO_NMEA_DIR of the environment, else of the build.
  const fs::path logs = std::getenv("KYO_NMEA_DIR") ? std::getenv("KYO_NMEA_DIR") : KYO_NMEA_DIR;
  if (!fs::is_directory(logs)) GTEST_SKIP() << "no recorded logs at " << logs;
  temp_dir dir;
  dir.write("replay.ini", config);
  int count = 0;
  for (const fs::directory_entry& e : fs::directory_iterator(logs)) {
    if (e.path().extension() != ".log") continue;
    ++count;
    SCOPED_TRACE(e.path().filename().string());
    const fs::path out = dir.path("out") / e.path().stem();
    const std::string run =
        kyo_run({"replay", e.path().string(), "--config", dir.file("replay.ini"), "--out", out});
    ASSERT_TRUE(run.starts_with("0|")) << run;
    const auto summary_number = [&](const std::string& label) {  // the number after `label`
      const std::size_t at = run.find(label);
      return at == std::string::npos ? -1 : std::atol(run.c_str() + at + label.size());
    };
    const std::string log = read_file(e.path());
    const std::vector<std::string> raw = split(log, '\n');
    EXPECT_EQ(summary_number("rejected ("), std::ranges::count_if(raw, wrong_checksum)) << run;
    const std::vector<std::string> lines = output_lines(out);
    EXPECT_EQ(static_cast<long>(lines.size()), summary_number("epochs:")) << run;
    const area covered(log);
    double last_time = -1;
    for (const std::string& line : lines) {
      const std::vector<std::string> f = split(line, ',');
      ASSERT_EQ(f.size(), 3u) << line;
      if (!f[0].empty()) {  // "D hh:mm:ss", the day of the year without leading zeros
        const char* hms = f[0].c_str() + f[0].find(' ') + 1;
        const double t = std::atof(f[0].c_str()) * 86400 + std::atof(hms) * 3600 +
                         std::atof(hms + 3) * 60 + std::atof(hms + 6);
        EXPECT_GE(t, last_time) << "replay time runs forward: " << line;
        last_time = t;
      }
      if (!f[1].empty()) {
        EXPECT_TRUE(covered.holds(printed_degrees(f[1]), printed_degrees(f[2]))) << line;
      }
    }
  }
  EXPECT_GE(count, 12);
}

// A TCP server on loopback that sends `bytes` to its first client a few hundred bytes at a time,
// as a receiver delivers its epochs, then closes.
struct feed_server {
  explicit feed_server(std::string text) : bytes(std::move(text)) {
    fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    port = listen_port(fd);
    sender = std::thread([this] {
      const int c = ::accept(fd, nullptr, nullptr);
      if (c < 0) return;
      for (std::size_t at = 0; at < bytes.size(); at += 300) {
        const std::size_t n = std::min<std::size_t>(300, bytes.size() - at);
        if (::send(c, bytes.data() + at, n, MSG_NOSIGNAL) != static_cast<ssize_t>(n)) break;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
      }
      done = true;
      ::close(c);
    });
  }
  ~feed_server() {
    ::shutdown(fd, SHUT_RDWR);
    sender.join();
    ::close(fd);
  }
  /// Binds `fd` to a free loopback port, listening when asked, and gives the port.
  static int listen_port(int fd, bool listen = true) {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&a), len), 0);
    EXPECT_TRUE(!listen || ::listen(fd, 1) == 0);
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    return ntohs(a.sin_port);
  }

  const std::string bytes;
  int fd = -1, port = 0;
  std::atomic<bool> done{false};
  std::thread sender;
};

// The lines without their first column, the clock, which in a live run is the real one.
std::vector<std::string> data_columns(std::vector<std::string> lines) {
  for (std::string& l : lines)
    l.erase(0, l.find(','));
  return lines;
}

class kyo_replay_live : public testing::Test {
 protected:
  void SetUp() override {
    dir_.write("replay.ini", config);
    log_ = read_file(fs::path(KYO_SOURCE_DIR) / "data" / "survey.nmea");
    dir_.write("survey.nmea", log_);
    ASSERT_TRUE(run("survey.nmea", "replayed").starts_with("0|"));
    replayed_ = data_columns(output_lines(dir_.path("replayed")));
    ASSERT_EQ(replayed_.size(), 411u);
  }
  std::string run(const std::string& source, const std::string& out) {
    return kyo_run({"replay", source.find(':') == std::string::npos ? dir_.file(source) : source,
                    "--config", dir_.file("replay.ini"), "--out", dir_.file(out)});
  }

  temp_dir dir_;
  std::string log_;
  std::vector<std::string> replayed_;
};

TEST_F(kyo_replay_live, a_tcp_feed_gives_the_lines_of_the_replay) {
  feed_server feed(log_);
  const std::string r = run("tcp:127.0.0.1:" + std::to_string(feed.port), "live");
  ASSERT_TRUE(r.starts_with("0|")) << r;
  EXPECT_EQ(data_columns(output_lines(dir_.path("live"))), replayed_);
}

// gpsd reads the feed as a TCP device when a client asks for data, and relays its sentences.
TEST_F(kyo_replay_live, a_gpsd_daemon_gives_the_lines_of_the_replay) {
  const char* gpsd = "/usr/sbin/gpsd";
  if (::access(gpsd, X_OK) != 0) {
    if (std::getenv("CI") != nullptr) FAIL() << "gpsd is not installed (scripts/setup.sh does)";
    GTEST_SKIP() << "gpsd is not installed";
  }
  feed_server feed(log_);
  const int probe = ::socket(AF_INET, SOCK_STREAM, 0);  // a free port for gpsd, released for it
  const std::string port = std::to_string(feed_server::listen_port(probe, false));
  ::close(probe);
  std::string sock = dir_.file("gpsd.sock"),
              device = "tcp://127.0.0.1:" + std::to_string(feed.port);
  std::string args[] = {gpsd, "-N", "-b", "-S", port, "-F", sock, device};
  std::vector<char*> argv;
  for (std::string& s : args)
    argv.push_back(s.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  ASSERT_EQ(::posix_spawn(&pid, gpsd, nullptr, nullptr, argv.data(), environ), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));  // gpsd listening
  std::string r;
  std::thread live([&] { r = run("gpsd:127.0.0.1:" + port, "live"); });
  // The run lasts until stopped: wait for the feed to end and gpsd to pass the rest on.
  for (int i = 0; i < 300 && !feed.done; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  cli::stop_replay();
  live.join();
  ::kill(pid, SIGTERM);
  ::waitpid(pid, nullptr, 0);
  ASSERT_TRUE(r.starts_with("0|")) << r;
  EXPECT_EQ(data_columns(output_lines(dir_.path("live"))), replayed_);
}

// The replay reads the simulated positions back to the printed precision: the log's millionths
// of a minute and the output's seven decimals of a degree, half a unit of each.
TEST_F(kyo_replay_live, a_simulated_survey_comes_back_at_its_positions) {
  ASSERT_EQ(kyo_run({"simulate", "--lines", "2", "--length", "150", "-o", dir_.file("sim.nmea")}),
            "0||");
  ASSERT_TRUE(run("sim.nmea", "out").starts_with("0|"));
  nmea::survey_plan plan;
  plan.line_count = 2;
  plan.line_length_m = 150;
  const nmea::survey_simulator sim(plan);
  const std::vector<std::string> lines = output_lines(dir_.path("out"));
  ASSERT_EQ(static_cast<std::int64_t>(lines.size()), sim.epoch_count());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::vector<std::string> f = split(lines[i], ',');
    const nmea::vessel_state v = sim.state(static_cast<std::int64_t>(i));
    constexpr double printed = 0.5e-7 + 0.5e-6 / 60 + 1e-12;
    ASSERT_NEAR(printed_degrees(f[1]), v.lat_rad * 180 / std::numbers::pi, printed) << i;
    ASSERT_NEAR(printed_degrees(f[2]), v.lon_rad * 180 / std::numbers::pi, printed) << i;
  }
}

TEST_F(kyo_replay_live, bad_input_gets_a_clear_message) {
  dir_.write("junk.nmea", std::string("\x01\xFF\x00$\x80 binary junk\n", 18));
  EXPECT_TRUE(run("missing.nmea", "out").starts_with("1||kyo replay: cannot open"));
  const std::string junk = run("junk.nmea", "out");
  EXPECT_TRUE(junk.starts_with("1|") && junk.find("epochs:     0") != std::string::npos) << junk;
}

}  // namespace
}  // namespace kyo::test
