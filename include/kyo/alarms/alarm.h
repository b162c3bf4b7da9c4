// Limit alarms on numerics: an `alarm` watches one entry of a numeric server and, at each tick
// the application passes to `check`, classifies its value as Unknown, Green, Yellow (warning limit
// passed) or Red (alarm limit passed). A change of state is logged and told to the alarm's
// clients; while Yellow or Red it can sound, at most every 2,000 ticks. Alarms are kept in
// configuration files as one comma-separated text each (saveData, loadData).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_server.h>
#include <kyo/time/clock_tick.h>

namespace kyo {

class print_manager;

/// An alarm on one entry of a numeric server. Its server name is its description. It deletes
/// itself when the watched server is destroyed (after telling its clients code 610).
class KYO_EXPORT alarm : public server, public numeric_client {
 public:
  /// States, in the order of their names.
  static constexpr int state_unknown = 0;
  static constexpr int state_green = 1;
  static constexpr int state_yellow = 2;
  static constexpr int state_red = 3;
  /// Notification codes; the argument in brackets.
  static constexpr int destroyed = 610;      ///< [the alarm's address]
  static constexpr int state_notice = 613;   ///< at most once per 1,000 ticks [the state]
  static constexpr int state_changed = 614;  ///< [the new state]
  /// The least ticks between two notices and between two sounds are one more than these.
  static constexpr std::uint32_t notice_interval = 1000;
  static constexpr std::uint32_t sound_interval = 2000;
  /// The number of sounds (indexes 0 to 10).
  static constexpr int sound_count = 11;

  /// The state's name: "Unknown", "Green", "Yellow", "Red"; "" for any other number.
  [[nodiscard]] static const char* state_name(int state) noexcept;
  /// The sound file of index 0 to 10 ("Ahhhhh.wav" ... "whoosh.wav"); null for any other index.
  [[nodiscard]] static const char* sound_file(int index) noexcept;

  /// The dialog's buffer.
  struct transfer_s {
    std::string description;
    std::int32_t condition = 0;
    std::int32_t use_abs = 0;
    std::int32_t sound_on = 0;
    std::int32_t sound_index = 2;
    double alarm_limit = 0;
    double warning_limit = 0;
    bool warning_on = true;
    numeric_server* nmrc_server = nullptr;
    int nmrc_index = 0;
    /// The display settings of the value; null for none (a boolean entry has none).
    std::unique_ptr<numeric> nmrc;
  };
  enum transfer_direction : int {
    transfer_get = 0,  ///< from the alarm into the buffer
    transfer_set = 1   ///< from the buffer into the alarm
  };

  /// An alarm named `description` with the defaults: condition 0 ("<"), no absolute value, no
  /// sound, sound 2, both limits 0, warning on, no server, state Unknown, value text "???".
  explicit alarm(const std::string& description = {});
  alarm(const alarm&) = delete;
  alarm& operator=(const alarm&) = delete;
  /// Tells the clients code 610 with the alarm's address, stops watching the server and deletes
  /// the numeric.
  ~alarm() override;

  /// Evaluates the alarm at tick `t`; `pm` is not used. The value counts only when the server's
  /// value query answers 1 (fresh data) for a number entry: stale, missing or text entries give
  /// Unknown. A boolean entry is Red when its value (made an integer) equals `condition`, else
  /// Green; other entries are Red past the alarm limit, Yellow past the warning limit (when on),
  /// else Green, both by `condition`, on the absolute value when use_abs is set. A change of
  /// state is told (614) and logged as "Alarm <description> <state> <value text>" with flags 3;
  /// code 613 follows when more than notice_interval ticks passed since the last one; and while
  /// Yellow or Red with sound on, the sound plays when more than sound_interval ticks passed.
  void check(clock_tick t, print_manager& pm);
  /// Compares by `condition`: 0 <, 1 <=, 2 = (exact), 3 #, 4 >=, 5 >; false for any other.
  [[nodiscard]] bool test_limit(double value, double limit) const noexcept;
  /// Asks the server for the entry's type: is_bool when it is 4 (boolean).
  void set_bool_nmrc();
  /// sound_path = base_dir + "media\" + the file of sound_index; unchanged for an index outside
  /// 0 to 10.
  void set_sound_file();
  /// The watched entry's path (numeric::get_path(false)); without a server host text 23.
  [[nodiscard]] std::string get_path() const;

  /// Copies the settings into `t` (transfer_get; `t.nmrc` becomes a copy of the alarm's numeric)
  /// or takes them from it (transfer_set: stops watching the old server, renames the alarm, and
  /// with a server in `t` watches it and takes a copy of `t.nmrc` as its numeric, or a new one
  /// when `t.nmrc` shows another entry).
  void transfer(transfer_s& t, int direction);

  /// The configuration text: description, condition, use_abs, sound_on, sound_index,
  /// alarm_limit, warning_limit (six decimals), warning_on, the entry index and the server's
  /// full path, each followed by a comma, then the numeric's own configuration. Replaces `text`.
  void saveData(std::string& text) const;
  /// Reads a configuration text, finding the server by its path below `root`. Fields are
  /// separated by commas (empty fields are skipped, so later fields move up); what follows the
  /// path is the numeric's configuration. False, and the alarm is unchanged, when a field is
  /// missing or not a number of its kind, or the path names no server.
  bool loadData(const char* text, const numeric_server& root);

  /// Deletes the alarm (the watched server is going away).
  void nmrc_srvr_destroyed(numeric_server& s) override;
  /// New data are fetched by check: nothing to do here.
  void new_data() override;

  [[nodiscard]] int get_state() const noexcept { return state_; }
  [[nodiscard]] const std::string& get_value_text() const noexcept { return value_text_; }
  [[nodiscard]] const std::string& get_sound_path() const noexcept { return sound_path_; }
  [[nodiscard]] const std::string& get_base_dir() const noexcept { return base_dir_; }
  /// The folder in front of the sound path (DOS-style, with its trailing backslash).
  void set_base_dir(const std::string& dir) { base_dir_ = dir; }
  [[nodiscard]] bool is_bool() const noexcept { return is_bool_; }
  [[nodiscard]] numeric_server* get_nmrc_server() const noexcept { return nmrc_server_; }
  [[nodiscard]] int get_nmrc_index() const noexcept { return nmrc_index_; }
  [[nodiscard]] const numeric* get_nmrc() const noexcept { return nmrc_.get(); }

 private:
  void get_settings(transfer_s& t) const;

  int condition_ = 0;
  bool use_abs_ = false;
  bool sound_on_ = false;
  int sound_index_ = 2;
  double alarm_limit_ = 0;
  double warning_limit_ = 0;
  bool warning_on_ = true;
  numeric_server* nmrc_server_ = nullptr;
  int nmrc_index_ = 0;
  bool is_bool_ = false;
  std::unique_ptr<numeric> nmrc_;
  int state_ = state_unknown;
  std::string value_text_ = "???";
  std::string base_dir_;
  std::string sound_path_;
  clock_tick last_sound_tick_ = 0;
  clock_tick last_notify_tick_ = 0;
};

}  // namespace kyo
