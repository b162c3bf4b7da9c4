// kyo replay: a survey navigation run on NMEA data, as a survey application drives the library.
// From a log it replays under artificial time, one clock tick per epoch (a new time stamp in the
// data); from a TCP or gpsd source it runs live on the real clock until interrupted. Every tick
// writes the custom output lines to their time-named files and checks the alarms, whose changes
// go to the message log, which the print manager copies into a time-named text file. At the end
// it generates a report from a template with the project details and the last numerics, draws
// the track with the vessel outline into an SVG plot and prints a summary.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <kyo/alarms/alarm_list.h>
#include <kyo/core/numbers.h>
#include <kyo/graphics/mobile_shape_library.h>
#include <kyo/graphics/svg_surface.h>
#include <kyo/graphics/viewport.h>
#include <kyo/nmea/line_source.h>
#include <kyo/nmea/nmea_server.h>
#include <kyo/nmea/sentence.h>
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/message_handler.h>
#include <kyo/output/custom_output.h>
#include <kyo/output/output_file.h>
#include <kyo/output/print_manager.h>
#include <kyo/output/report.h>
#include <kyo/platform/path_map.h>
#include <kyo/platform/profile.h>
#include <kyo/platform/ui_hooks.h>
#include <kyo/settings/project_details.h>
#include <kyo/time/clock_tick.h>
#include <kyo/time/time_manager.h>

#include "kyo/commands.h"
#include "kyo/data_dir.h"

namespace kyo::cli {

namespace {

namespace fs = std::filesystem;

constexpr double earth_radius_m = 6371008.8;
constexpr const char* section = "Replay";

std::atomic<bool> interrupted{false};

extern "C" void on_interrupt(int) {
  interrupted.store(true);
}

/// Catches Ctrl-C (and a termination request) for its lifetime, so that a run ends cleanly.
class interrupt_guard {
 public:
  interrupt_guard() {
    interrupted.store(false);
    struct sigaction sa {};
    sa.sa_handler = on_interrupt;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, &old_int_);
    sigaction(SIGTERM, &sa, &old_term_);
  }
  ~interrupt_guard() {
    sigaction(SIGINT, &old_int_, nullptr);
    sigaction(SIGTERM, &old_term_, nullptr);
  }
  interrupt_guard(const interrupt_guard&) = delete;
  interrupt_guard& operator=(const interrupt_guard&) = delete;

 private:
  struct sigaction old_int_ {};
  struct sigaction old_term_ {};
};

/// What the replay tells the user through the library's hooks: the results of an earlier run in
/// the output folder are replaced without asking, and sounds are counted rather than played
/// (a replay runs unattended, often faster than real time).
class replay_hooks final : public ui_hooks, public sound_hooks {
 public:
  explicit replay_hooks(std::ostream& err)
      : err_(err), previous_ui_(set_ui_hooks(this)), previous_sound_(set_sound_hooks(this)) {}
  ~replay_hooks() override {
    set_ui_hooks(previous_ui_);
    set_sound_hooks(previous_sound_);
  }
  replay_hooks(const replay_hooks&) = delete;
  replay_hooks& operator=(const replay_hooks&) = delete;

  int message_box(std::string_view text, std::string_view caption, unsigned style) override {
    if ((style & mb_typemask) == mb_yesno) return id_yes;
    err_ << "kyo replay: " << caption << ": " << text << '\n';
    return id_ok;
  }
  void beep(unsigned) override {}
  void play_sound(const std::string&, unsigned) override { ++sounds_; }
  [[nodiscard]] int sounds() const noexcept { return sounds_; }

 private:
  std::ostream& err_;
  ui_hooks* previous_ui_;
  sound_hooks* previous_sound_;
  int sounds_ = 0;
};

/// Counts the alarms that turn Yellow or Red.
class alarm_counter final : public client {
 public:
  void notify(server&, int code, long arg) override {
    if (code == alarm::state_changed && arg >= alarm::state_yellow) ++raised_;
  }
  [[nodiscard]] int raised() const noexcept { return raised_; }

 private:
  int raised_ = 0;
};

struct replay_args {
  std::string source;
  std::string config;
  std::string out_dir = "kyo-replay";
  double rate = 0;  // 0: as fast as possible
  bool fast = false;
};

/// One position of the track, with the heading shown at the end.
struct track_point {
  double lat = 0, lon = 0, heading = 0;
};

class replay_run {
 public:
  replay_run(const replay_args& a, const streams& io) : args_(a), io_(io) {}

  int run() {
    replay_hooks hooks(io_.err);
    hooks_ = &hooks;
    if (!set_up()) return exit_failure;
    interrupt_guard guard;
    source_->set_stop_flag(&interrupted);
    const bool progress = !source_->live() && ::isatty(STDERR_FILENO) == 1 && file_size_ > 0;
    while (std::optional<std::string> line = source_->next_line()) {
      bytes_read_ += line->size() + 1;
      std::optional<timedate> t = gps_->time_of(*line);
      sentence_times_ = sentence_times_ || t.has_value();
      // A log whose sentences carry no time stamps may have its logger's in front of them.
      if (!sentence_times_) {
        if (const std::optional<double> stamp = nmea::logger_stamp(*line)) {
          t = timedate(*stamp + seconds_1901_to_1970);
        }
      }
      if (t) advance_to(*t);
      gps_->feed(*line, tick_);
      if (progress && ++lines_since_report_ >= 500) show_progress();
    }
    if (!source_->error().empty()) io_.err << "kyo replay: " << source_->error() << '\n';
    if (epoch_open_) finish_epoch();
    if (progress) io_.err << '\r' << std::string(60, ' ') << '\r';
    const int result = finish();
    time_manager::use_artificial_time(false);
    return result;
  }

  // The members go in reverse order: the alarms first (they tell the counter and stop watching
  // the servers), the output strings before their lines, the print manager after the message
  // log has let go of it.
  ~replay_run() {
    get_msg_hndlr().set_print_mgr(nullptr);
    deAllocProjectDetails();
  }

 private:
  bool set_up() {
    std::string source = args_.source;
    config_ = args_.config;
    if (config_.empty() && source.empty()) config_ = (data_dir() / "replay.ini").string();
    if (!config_.empty()) {
      if (const std::error_code ec = profile_status(config_)) {
        io_.err << "kyo replay: cannot read the configuration '" << config_ << "'\n";
        return false;
      }
      config_dir_ = fs::path(native_path(config_)).parent_path();
    }
    if (source.empty()) source = config_path(setting("Source", "survey.nmea"));
    std::string error;
    source_ = nmea::open_source(source, error);
    if (!source_) {
      io_.err << "kyo replay: " << error << '\n';
      return false;
    }
    source_name_ = source;
    std::error_code ec;
    if (!source_->live()) file_size_ = fs::file_size(native_path(source), ec);
    if (ec) file_size_ = 0;

    fs::create_directories(args_.out_dir, ec);
    if (ec || !fs::is_directory(args_.out_dir)) {
      io_.err << "kyo replay: cannot make the output folder '" << args_.out_dir
              << "': " << ec.message() << '\n';
      return false;
    }
    root_ = std::make_unique<numeric_server>(nullptr, "", false, 0, true);
    gps_ = new nmea::nmea_server(root_.get(), "GPS", setting_int("Timeout", 3000));
    new general_numerics(root_.get(), "KYO", false, 0, true);  // the replay's clock
    // Time-of-day stamps before the first date go on the day nearest to that date, which a
    // log holds further on; live data are placed near today.
    timedate reference;
    reference.set_current();
    if (!source_->live() && source != "-") {
      if (std::unique_ptr<nmea::line_source> ahead = nmea::open_source(source, error)) {
        reference = nmea::first_dated_time(*ahead, 100000).value_or(reference);
      }
    }
    gps_->set_reference_time(reference);
    set_up_log();
    load_custom_outputs();
    load_alarms();
    allocProjectDetails();
    if (!config_.empty()) loadProjectDetails(config_);
    if (source_->live()) {
      time_manager::use_artificial_time(false);
    } else {
      tick_ = 1000;  // a replay's own clock: its ticks follow the time stamps of the log
    }
    return true;
  }

  /// The message log, printed through the print manager into "DDD-HHMM.txt" files of the output
  /// folder (named by the time of the first message, in the replay's time).
  void set_up_log() {
    printer_ = std::make_unique<print_manager>(nullptr);
    const std::string folder = args_.out_dir;
    printer_->set_file(&folder);
    printer_->activate(true);
    message_handler& log = get_msg_hndlr();
    log.set_active(false);
    log.set_active(true);  // an empty log for this run
    log.set_print_mgr(printer_.get());
  }

  /// The custom outputs "CustomOutput0" ... (as many as [Replay] CustomOutputs says), each
  /// writing its lines to time-named files with the extension [Replay] OutputExtension<n>
  /// ("out" when not given) in the output folder.
  void load_custom_outputs() {
    const long count = std::clamp(setting_int("CustomOutputs", 0), 0L, 100L);
    for (long i = 0; i < count; ++i) {
      auto line = std::make_unique<custom_output>();
      line->loadData(config_, static_cast<int>(i), *root_);
      if (line->get_nmrcs_count() == 0) {
        io_.err << "kyo replay: CustomOutput" << i << " shows no numerics; skipped\n";
        continue;
      }
      const std::string ext = setting(("OutputExtension" + std::to_string(i)).c_str(), "out");
      auto producer = std::make_unique<custom_output_string>(line->get_name(), *line);
      producer->outputs().add_at(*new output_file(args_.out_dir, ext.c_str()),
                                 producer->outputs().count());
      producer->set_enabled(true, true);
      lines_.push_back(std::move(line));
      producers_.push_back(std::move(producer));
    }
  }

  /// The alarms of the [Alarms] section: Count, then Alarm0, Alarm1, ... as alarm configuration
  /// texts. A text that names no server or does not read is reported and skipped.
  void load_alarms() {
    const long count = std::clamp(setting_int("Count", 0, "Alarms"), 0L, 1000L);
    for (long i = 0; i < count; ++i) {
      const std::string key = "Alarm" + std::to_string(i);
      const std::string text = setting(key.c_str(), "", "Alarms");
      auto a = std::make_unique<alarm>();
      if (!a->loadData(text.c_str(), *root_)) {
        io_.err << "kyo replay: alarm " << key << " skipped: '" << text << "' names no server or "
                << "does not read\n";
        continue;
      }
      a->attach_client(counter_);
      alarms_.add(a.release());
    }
  }

  std::string setting(const char* key, const std::string& fallback,
                      const char* in_section = section) const {
    if (config_.empty()) return fallback;
    return profile_read(config_, in_section, key).value_or(fallback);
  }
  long setting_int(const char* key, long fallback, const char* in_section = section) const {
    const std::string text = setting(key, "", in_section);
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 10);
    return text.empty() || *end != '\0' ? fallback : v;
  }
  /// A path from the configuration, taken relative to the configuration file's folder.
  std::string config_path(const std::string& p) const {
    const fs::path native = native_path(p);
    return (native.is_absolute() || config_dir_.empty() ? native : config_dir_ / native).string();
  }

  /// Moves the run to the epoch of time stamp `t`: the epoch under way is finished first. Time
  /// stamps that go back are data of the epoch under way: the replay clock never runs backwards.
  void advance_to(timedate t) {
    if (epoch_open_ && t.value() <= epoch_time_.value()) return;
    if (epoch_open_) finish_epoch();
    if (source_->live()) {
      tick_ = clock_tick::current();
    } else {
      if (epochs_ > 0) {
        const double dt = t.value() - epoch_time_.value();
        tick_ = tick_.value() + static_cast<std::uint32_t>(std::llround(dt * 1000));
        if (args_.rate > 0) {
          std::this_thread::sleep_for(std::chrono::duration<double>(dt / args_.rate));
        }
      }
      time_manager::use_artificial_time(true, t.value(), tick_);
    }
    if (epochs_ == 0) first_time_ = t;
    epoch_time_ = t;
    epoch_open_ = true;
  }

  /// The application's work for one clock tick, on the data of the epoch just completed.
  void finish_epoch() {
    ++epochs_;
    epoch_open_ = false;
    for (const std::unique_ptr<custom_output_string>& p : producers_)
      p->parent_notify(*p, output_code::new_line, static_cast<long>(tick_.value()));
    for (int i = 0; i < alarms_.count(); ++i)
      alarms_.at(i)->check(tick_, *printer_);
    double lat = 0, lon = 0, heading = 0, course = 0;
    if (gps_->get_value(nmea::entry::latitude, tick_, &lat) == numeric_status::fresh &&
        gps_->get_value(nmea::entry::longitude, tick_, &lon) == numeric_status::fresh) {
      const bool has_heading =
          gps_->get_value(nmea::entry::heading, tick_, &heading) != numeric_status::no_data ||
          gps_->get_value(nmea::entry::course, tick_, &course) != numeric_status::no_data;
      track_.push_back({lat, lon, has_heading && heading == 0 ? course : heading});
    }
  }

  void show_progress() {
    lines_since_report_ = 0;
    const int percent =
        static_cast<int>(std::min<std::uint64_t>(100, bytes_read_ * 100 / file_size_));
    const int filled = percent * 30 / 100;
    io_.err << "\r[" << std::string(filled, '#') << std::string(30 - filled, ' ') << "] " << percent
            << "% " << epochs_ << " epochs" << std::flush;
  }

  int finish() {
    for (const std::unique_ptr<custom_output_string>& p : producers_)
      p->activate(false);
    printer_->activate(false);
    write_report();
    draw_plot((fs::path(args_.out_dir) / "track.svg").string());
    summary();
    return epochs_ == 0 ? exit_failure : exit_ok;
  }

  /// The report of [Replay] Template (survey-report.html) for the last tick, with the project
  /// details and the numerics, into [Replay] Report (the template's name) in the output folder.
  void write_report() {
    const std::string name = setting("Template", "survey-report.html");
    const std::string path = config_path(name);
    if (config_.empty() || !fs::exists(native_path(path))) return;
    const std::string target =
        (fs::path(args_.out_dir) / fs::path(setting("Report", name)).filename()).string();
    std::ofstream out(target, std::ios::binary | std::ios::trunc);
    default_report r(path, GetProjecDetails());
    r.set_numerics_root(root_.get());
    if (!out || !r.generate(out, tick_) || !out.flush()) {
      io_.err << "kyo replay: the report '" << target << "' could not be written whole\n";
    }
  }

  /// The track in local metres east and north of its first point, the vessel at its end.
  bool draw_plot(const std::string& path) {
    if (track_.empty()) return false;
    const double lat0 = track_.front().lat, lon0 = track_.front().lon;
    const auto local = [&](const track_point& p) {
      return dpoint{(p.lon - lon0) * earth_radius_m * std::cos(lat0),
                    (p.lat - lat0) * earth_radius_m};
    };
    drect extent{0, 0, 0, 0};
    for (const track_point& p : track_) {
      const dpoint q = local(p);
      extent.x1 = std::min(extent.x1, q.x);
      extent.x2 = std::max(extent.x2, q.x);
      extent.y1 = std::min(extent.y1, q.y);
      extent.y2 = std::max(extent.y2, q.y);
    }
    const double margin = std::max({extent.x2 - extent.x1, extent.y2 - extent.y1, 50.0}) * 0.1;
    const int size = 800;
    svg_surface svg(size, size);
    viewport v;
    v.begin_paint(svg, irect{0, 0, size, size});
    v.set_window(
        drect{extent.x1 - margin, extent.y2 + margin, extent.x2 + margin, extent.y1 - margin},
        true);
    v.inflate_bounds(isize{-12, -12}, false);
    svg.set_pen(colour::light_gray);
    const double spacing = auto_scale((extent.x2 - extent.x1 + 2 * margin) / 8);
    v.grid(spacing, false, 0);
    svg.set_pen(colour::black);
    const range_circle circles[] = {{spacing * 2, true}};
    v.axes(spacing, circles, 15);
    svg.set_pen(colour::light_blue);
    v.move_abs(local(track_.front()));
    for (const track_point& p : track_)
      v.draw_abs(local(p));
    svg.set_pen(colour::light_red);
    // The vessel at its last position, to scale: its outline is in metres.
    if (const std::unique_ptr<mobile_shape> shape = vessel_shape()) {
      shape->draw(v, local(track_.back()), grid_bearing(track_.back().heading), dsize{0, 0},
                  grid_bearing(0.0), true, 1.0);
    }
    v.end_paint();
    svg.text_out({8, 4}, title(), alignment(alignment::left | alignment::top), colour::black);
    if (!svg.save(path)) {
      io_.err << "kyo replay: cannot write '" << path << "'\n";
      return false;
    }
    return true;
  }

  std::string title() const {
    return "Track " + first_time_.as_string("%G%d-%1N-%Y %02H:%02M:%02S") + " to " +
           epoch_time_.as_string("%G%02H:%02M:%02S") + " UTC, " + std::to_string(track_.size()) +
           " fixes, metres from the first";
  }

  /// The vessel outline: the configured shape of the configured library, else a plain hull.
  std::unique_ptr<mobile_shape> vessel_shape() const {
    const std::string library = config_path(setting("ShapeLibrary", "vessels.shp"));
    if (fs::exists(native_path(library))) {
      mobile_shape_library shapes;
      shapes.Open(0, library.c_str());
      const int index = shapes.find(setting("Shape", "Survey vessel"));
      if (index >= 0) {
        if (std::unique_ptr<mobile_shape> s = shapes.load(index)) return s;
      }
    }
    auto hull = std::make_unique<mobile_shape>(nullptr, "hull");
    hull->add(std::make_unique<shape_line>(
        std::vector<dpoint>{{-4, -15}, {-4, 8}, {0, 15}, {4, 8}, {4, -15}, {-4, -15}}));
    return hull;
  }

  /// The files of the output folder written during this run, by name.
  std::vector<std::string> written_files() const {
    std::vector<std::string> names;
    std::error_code ec;
    for (const fs::directory_entry& e : fs::directory_iterator(args_.out_dir, ec)) {
      if (e.is_regular_file(ec) && e.last_write_time(ec) >= started_) {
        names.push_back(e.path().filename().string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  void summary() {
    const nmea::line_counts& c = gps_->counts();
    std::ostream& out = io_.out;
    out << "source:     " << source_name_ << '\n'
        << "epochs:     " << epochs_ << '\n'
        << "sentences:  " << c.used + c.unused << " valid, " << c.rejected() << " rejected ("
        << c.bad_checksum << " bad checksums), " << c.no_sentence << " other lines\n";
    if (epochs_ > 0) {
      out << "time span:  " << first_time_.as_string("%G%d-%1N-%Y %02H:%02M:%02S") << " to "
          << epoch_time_.as_string("%G%02H:%02M:%02S") << " UTC ("
          << static_cast<long long>(std::llround(epoch_time_.value() - first_time_.value()))
          << " s)\n";
    }
    out << "positions:  " << track_.size() << '\n'
        << "alarms:     " << alarms_.count() << " watched, " << counter_.raised() << " raised, "
        << hooks_->sounds() << " sounds, " << get_msg_hndlr().count() << " log messages\n";
    if (interrupted.load()) out << "interrupted: the run stopped early\n";
    out << "files in " << args_.out_dir << ":\n";
    for (const std::string& f : written_files())
      out << "  " << f << '\n';
  }

  const replay_args& args_;
  const streams& io_;
  std::string config_;
  fs::path config_dir_;
  std::unique_ptr<nmea::line_source> source_;
  std::string source_name_;
  std::uintmax_t file_size_ = 0;
  std::uint64_t bytes_read_ = 0;
  int lines_since_report_ = 0;
  std::unique_ptr<numeric_server> root_;
  nmea::nmea_server* gps_ = nullptr;  // owned by root_
  clock_tick tick_ = 0;
  timedate first_time_, epoch_time_;
  bool epoch_open_ = false;
  bool sentence_times_ = false;
  std::uint64_t epochs_ = 0;
  std::vector<track_point> track_;
  replay_hooks* hooks_ = nullptr;
  std::unique_ptr<print_manager> printer_;
  std::vector<std::unique_ptr<custom_output>> lines_;
  std::vector<std::unique_ptr<custom_output_string>> producers_;
  const fs::file_time_type started_ = fs::file_time_type::clock::now();
  alarm_counter counter_;
  alarm_list alarms_;
};

}  // namespace

void stop_replay() {
  interrupted.store(true);
}

void add_replay(CLI::App& kyo, const streams& io, action& run) {
  CLI::App* sub = kyo.add_subcommand("replay",
                                     "run a survey on NMEA data: a log, - (standard "
                                     "input), tcp:HOST:PORT or gpsd:HOST[:PORT]");
  sub->footer(
      "Without SOURCE and --config, replays the shipped survey log with the shipped\n"
      "configuration. A log replays under its own time stamps; TCP and gpsd sources run\n"
      "live until Ctrl-C. Results go to the --out folder.");
  auto a = std::make_shared<replay_args>();
  sub->add_option("SOURCE", a->source, "the NMEA source");
  sub->add_option("--config", a->config, "the configuration file (INI)");
  sub->add_option("--out", a->out_dir, "the folder of the results")->capture_default_str();
  auto* rate = sub->add_option("--rate", a->rate, "replay a log N times faster than real time")
                   ->check(CLI::Range(0.001, 1e6));
  sub->add_flag("--fast", a->fast, "replay a log as fast as possible (the default)")
      ->excludes(rate);
  sub->callback([&run, &io, a] { run = [&io, a] { return replay_run(*a, io).run(); }; });
}

}  // namespace kyo::cli
