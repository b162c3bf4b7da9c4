// A printer of the print spooler (CUPS), and raw printing on it. A `printer` names one spooler
// destination the way the suite's settings do: the device name is the destination's name, the
// driver name its make and model, the port its device URI, and the device mode its options, kept
// as an opaque text that can be stored and installed again. Raw printing sends a line printer its
// bytes as they are, one spooler job from start_raw_print to end_raw_print.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include <kyo/core/object_stream.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

/// One spooler destination and its raw job. The server is the one libcups names for the calling
/// thread (CUPS_SERVER, client.conf); every request has short time-outs, so a missing printer or
/// a print server that does not answer fails within seconds. Safe to use from several threads:
/// the raw job's calls are serialised.
class KYO_EXPORT printer : public virtual streamable {
 public:
  /// Stream support: driver, device and port name as strings. Reading selects them with
  /// set_printer, which looks the destination up (and falls back to the default printer).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const printer& p);
    static void Read(ipstream& is, printer& p, std::uint32_t version);
  };

  /// The system's default printer (see get_default_printer).
  printer();
  /// A printer with empty names, ready to be read from a stream; asks the spooler nothing.
  explicit printer(streamable_init_t) noexcept;
  printer(const printer&) = delete;
  printer& operator=(const printer&) = delete;
  /// Cancels a raw job that is still open, so that no half job prints.
  ~printer() override;

  /// Selects the default destination: the LPDEST or PRINTER variable, the user's lpoptions, else
  /// the server's default. Without one (no printer, no server) every name and the device mode
  /// become empty.
  void get_default_printer();
  /// Selects the destination `device` with the given names. Nothing happens when `driver` and
  /// `device` equal the present ones. Otherwise the names are taken and the destination's
  /// options installed as the device mode; a destination that cannot be found selects the
  /// default printer instead.
  void set_printer(const std::string& driver, const std::string& device, const std::string& port);
  /// True when driver and device names are equal; the port is not compared.
  [[nodiscard]] bool same_printer(const printer& other) const;
  /// Takes the other printer's names and device mode, unless same_printer holds already.
  void copy_settings(const printer& other);

  [[nodiscard]] std::string driver_name() const;
  [[nodiscard]] std::string device_name() const;
  [[nodiscard]] std::string port_name() const;
  /// The destination's options as an opaque text (name, NUL, value, NUL for each option).
  [[nodiscard]] std::string device_mode() const;
  /// Installs a device mode taken from device_mode(); false, and nothing changes, for a text
  /// that is not one (an unpaired or empty name).
  bool install_device_mode(std::string_view mode);

  /// Starts a raw job named `document` on the device: 0, or 3 when the destination does not
  /// exist, refuses jobs or the server cannot be reached (then no job is left behind). A job still
  /// open is ended first.
  [[nodiscard]] int start_raw_print(const std::string& document);
  /// Sends ESC '!' 5 (condensed, 12 characters per inch) and then the `length` bytes, each 0xB0
  /// (degree sign of the Windows character set) as 0xF8 (the printer's PC character set): 0, or 5
  /// when there is no job, the job has failed before, the spooler took fewer bytes, or `length`
  /// is negative. The three control bytes are not counted. Nothing prints before the job ends.
  [[nodiscard]] int raw_print(const char* bytes, int length);
  /// Ends the raw job, which then prints; 0, also without a job. Whether the spooler confirmed
  /// the job shows in last_error().
  int end_raw_print();
  /// Whether a raw job is open.
  [[nodiscard]] bool raw_job_open() const;
  /// Why the last raw job operation failed; empty after one that succeeded.
  [[nodiscard]] std::string last_error() const;

 private:
  struct raw_job;
  void select(std::string_view device, bool fall_back);
  void end_job_locked();
  void cancel_job_locked();
  int fail_locked(std::string why);

  mutable std::mutex mutex_;
  std::string driver_;
  std::string device_;
  std::string port_;
  std::string device_mode_;
  raw_job* job_ = nullptr;
  std::string error_;
};

}  // namespace kyo
