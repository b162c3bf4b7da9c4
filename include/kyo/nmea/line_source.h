// Where NMEA lines come from: a recorded log file, standard input, a TCP connection to a receiver
// or an NMEA multiplexer, or a gpsd daemon asked for raw NMEA with its WATCH command. Every
// source gives whole lines without their line breaks, bounded in length, and can be stopped
// from a signal handler through a flag.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include <kyo/kyoutils_export.h>

namespace kyo::nmea {

/// A stream of text lines.
class KYO_EXPORT line_source {
 public:
  virtual ~line_source();

  /// The next line without its line break (CR LF or LF); nothing at the end of the input, when
  /// the stop flag is set or when reading fails (error() then says why). Waits for live data.
  /// A line longer than max_line is cut there and the rest of it skipped.
  virtual std::optional<std::string> next_line() = 0;
  /// True for live sources (TCP, gpsd), whose data run on the real clock.
  [[nodiscard]] virtual bool live() const noexcept = 0;

  /// A flag that makes next_line give up at once; checked at least every 200 ms while waiting.
  void set_stop_flag(const std::atomic<bool>* stop) noexcept { stop_ = stop; }
  /// Why the last next_line gave nothing, empty at a plain end of input.
  [[nodiscard]] const std::string& error() const noexcept { return error_; }

  static constexpr std::size_t max_line = 4096;

 protected:
  [[nodiscard]] bool stopped() const noexcept { return stop_ != nullptr && stop_->load(); }
  std::string error_;

 private:
  const std::atomic<bool>* stop_ = nullptr;
};

/// Opens the source that `spec` names: "-" standard input; "tcp:HOST:PORT" a TCP connection;
/// "gpsd:HOST" or "gpsd:HOST:PORT" (port 2947 when left out) a gpsd daemon, whose JSON reports
/// are skipped; anything else a file path (DOS-style paths are mapped). Connections wait at
/// most `connect_timeout_ms`. Null, with `error` saying why, when the source cannot be opened.
[[nodiscard]] KYO_EXPORT std::unique_ptr<line_source> open_source(const std::string& spec,
                                                                  std::string& error,
                                                                  int connect_timeout_ms = 5000);

}  // namespace kyo::nmea
