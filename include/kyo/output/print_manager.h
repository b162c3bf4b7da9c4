// The application's single front end for printed logging: it owns one printer output and one
// text-file output ("txt" files in a folder), holds them in its output list and, while active,
// copies every write to both. Each activation of the printer output is one raw spooler job.
// It is the printer of the message log (message_printer).
#pragma once

#include <cstdint>
#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>
#include <kyo/numerics/message_handler.h>
#include <kyo/output/output_file.h>
#include <kyo/output/output_list.h>
#include <kyo/output/output_printer.h>

namespace kyo {

class printer;

/// Fans writes out to a printer output and a file output. Takes its own lock in every operation,
/// so that the message log may print from any thread while the application reconfigures it.
class KYO_EXPORT print_manager : public server, public message_printer {
 public:
  /// The name of every raw job.
  static constexpr const char* document_name = "KYO II printout";
  /// The extension of the file output.
  static constexpr const char* file_ext = "txt";

  /// What a dialog reads (get_data).
  struct transfer_s {
    int printer_on = 0;
    int file_on = 0;     ///< whether a file output exists
    std::string folder;  ///< the file output's folder, else the folder last given
  };

  /// Stream support: the server part (behind its version word), printer_on as a 32-bit word, the
  /// file output as an object pointer (null for none) and the folder last given. Reading adds the
  /// file output read; the printer output is not streamed (the owner calls set_printer again).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const print_manager& m);
    static void Read(ipstream& is, print_manager& m, std::uint32_t version);
  };

  /// An inactive manager without outputs, made a child of `parent` when that is not null.
  explicit print_manager(server* parent);
  explicit print_manager(streamable_init_t);
  print_manager(const print_manager&) = delete;
  print_manager& operator=(const print_manager&) = delete;
  /// Deletes both outputs (ending a raw job that is open).
  ~print_manager() override;

  /// Unless `force` is set, nothing happens while printing is off. Printing is on when `p` is not
  /// null. A printer with a driver name replaces the printer output by a new one for `p` (which
  /// must outlive it), opened at once when the manager is active; an empty driver name changes
  /// nothing more. Null deletes the printer output. Marks the manager dirty when an output
  /// changed.
  void set_printer(printer* p, bool force);
  /// With a folder: replaces the file output by one for that folder (kept when it has that
  /// folder already) and remembers the folder. With null: deletes the file output; the folder is
  /// remembered still. Marks the manager dirty when an output changed.
  void set_file(const std::string* folder);
  /// Appends `o` to the outputs and opens it when the manager is active.
  void add(output& o);
  /// When `on` differs: stores it and opens or closes every output in list order.
  void activate(bool on);
  /// Ends the present raw job and starts a new one, so that other programs' jobs waiting for
  /// the same printer can print; only while active with a printer output.
  void allow_others_to_print();
  /// While active, hands the bytes to every output in list order; results are ignored.
  void write(const char* bytes, int length) override;
  /// Fills `t` as transfer_s says.
  void get_data(transfer_s& t) const;

  [[nodiscard]] bool is_active() const;
  [[nodiscard]] bool is_printer_on() const;
  [[nodiscard]] output_printer* get_printer_output() const;
  [[nodiscard]] output_file* get_file_output() const;
  /// The outputs, in the order writes reach them. Not a child in the server tree: it lives and
  /// dies with the manager and is not streamed.
  [[nodiscard]] output_list& outputs() noexcept { return outputs_; }

 private:
  void add_locked(output& o);
  void drop_gone_locked();

  output_list outputs_{nullptr};
  bool active_ = false;
  bool printer_on_ = false;
  output_printer* printer_output_ = nullptr;
  output_file* file_output_ = nullptr;
  std::string file_dir_;
};

}  // namespace kyo
