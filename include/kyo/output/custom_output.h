// A `custom_output` is a user-defined output line: an ordered list of numerics whose texts at a
// clock tick are joined by a one-character separator (build_string). Entries disappear by
// themselves when the numeric server they show is destroyed. A custom output is kept in one
// section of a profile (INI) file (saveData, loadData) and edited through transfer.
// `custom_output_string` is the output string whose lines come from a custom output.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_server.h>
#include <kyo/numerics/numeric_wrapper.h>
#include <kyo/output/output_string.h>
#include <kyo/time/clock_tick.h>

namespace kyo {

/// An output line of numerics joined by a separator.
class KYO_EXPORT custom_output : public wrapper_owner {
 public:
  /// The dialog's buffer: the name, the entries' numerics (owned by the buffer) and the
  /// separator. `state` is the dialog's own and is not used here.
  struct transfer_s {
    std::string name;
    std::vector<std::unique_ptr<numeric>> numerics;
    signed char separator = 0;
    int state = 0;
  };
  enum transfer_direction : int {
    transfer_get = 0,  ///< from the custom output into the buffer
    transfer_set = 1   ///< from the buffer into the custom output
  };

  /// Profile values are read into a buffer of this size: longer values are cut at 99 characters.
  static constexpr std::size_t value_buffer = 100;

  /// An empty line called "Custom" with a blank as separator.
  custom_output();
  custom_output(const custom_output&) = delete;
  custom_output& operator=(const custom_output&) = delete;
  /// Deletes every entry (wrapper and numeric).
  virtual ~custom_output();

  /// The line for tick `t`: each entry's text (numeric::as_string without padding; a numeric
  /// without a value at t adds nothing), with the separator between two entries, none before
  /// the first or after the last, and none at all for separator code 0. "\r\n" follows when
  /// `line_break` is set and the line is not empty.
  [[nodiscard]] std::string build_string(clock_tick t, bool line_break) const;

  /// The number of entries.
  [[nodiscard]] int get_nmrcs_count() const noexcept { return static_cast<int>(numerics_.size()); }
  /// The path of entry `index`'s numeric (numeric::get_path(false)); empty outside the list.
  [[nodiscard]] std::string get_nmrcs_names(int index) const;
  /// The numeric of entry `index`; null outside the list.
  [[nodiscard]] const numeric* get_numeric(int index) const noexcept;
  /// Appends an entry showing `n`, which the custom output takes over (made with new).
  void add_numeric(numeric& n);

  /// Takes a dying wrapper out of the list (while the custom output is alive; during its
  /// destruction and transfer's rebuild the list is left alone).
  void numeric_destroyed(numeric_wrapper& w) override;

  /// Reads the custom output from section `section` of profile file `file`, finding servers by
  /// their full path below `root`. The header "OutputNmrcsCount" is "count,name,separator"
  /// (default "0,,32"); entries "OutNumeric0", "OutNumeric1"... are "path,index,options". Values
  /// are split at commas and empty fields are skipped, so "0,,32" names the line "32" and keeps
  /// the separator. A missing field stops the load where it is; so does an entry whose path
  /// names no server or whose entry makes no numeric: later entries are lost too. Only the
  /// first comma-separated field of the options reaches the numeric's read_config. Entries are
  /// appended to those already there.
  void loadData(const std::string& file, const std::string& section, const numeric_server& root);
  /// The same for section "CustomOutput<n>".
  void loadData(const std::string& file, int n, const numeric_server& root);
  /// Writes the header and one "OutNumeric<i>" per entry (the server's full path, the entry
  /// index, then the numeric's write_config); the separator is written as a signed number, so
  /// codes above 127 are negative. Keys of a longer former list stay. False when a value could
  /// not be written (an unwritable file, a name holding a line break).
  bool saveData(const std::string& file, const std::string& section) const;
  /// The same for section "CustomOutput<n>".
  bool saveData(const std::string& file, int n) const;

  /// transfer_get fills `t` with the name, the separator and a copy of each entry's numeric;
  /// transfer_set replaces every entry by one for each numeric of `t` (taking them over and
  /// leaving `t.numerics` empty; null ones are skipped) and takes name and separator. Any other
  /// direction does nothing.
  void transfer(transfer_s& t, int direction);

  /// The configuration-string protocol of persistable objects: a custom output keeps its
  /// settings in profile sections instead, so both do nothing.
  virtual void toConfigStr(char* text);
  virtual void fromConfigStr(char* text);

  [[nodiscard]] const std::string& get_name() const noexcept { return name_; }
  void set_name(const std::string& name) { name_ = name; }
  [[nodiscard]] signed char get_separator() const noexcept { return separator_; }
  void set_separator(signed char c) noexcept { separator_ = c; }

 private:
  void flush();

  std::vector<numeric_wrapper*> numerics_;
  signed char separator_ = ' ';
  bool alive_ = true;
  std::string name_ = "Custom";
};

/// An output string whose line, at each code 600, is its custom output's line for the tick
/// passed as the notification's data value, with a line break.
class KYO_EXPORT custom_output_string : public output_string {
 public:
  /// An output string called `name` that writes the lines of `line`, which it does not own and
  /// which must outlive it.
  custom_output_string(const std::string& name, const custom_output& line);

  [[nodiscard]] const custom_output& get_custom_output() const noexcept { return line_; }

 protected:
  /// build_string(data taken as a clock tick, true).
  [[nodiscard]] std::string get_line(long data) override;

 private:
  const custom_output& line_;
};

}  // namespace kyo
