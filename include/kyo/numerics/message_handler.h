// The operator message log: one process-wide list of time-stamped messages, newest first. A
// message that repeats within 950 ticks is kept once; every change is told to the log's clients
// (the message windows, codes 520 to 526), and announced messages are printed through a
// message_printer (the print manager) when one is set. Any thread may log.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>
#include <kyo/time/clock_tick.h>

namespace kyo {

/// Where the log prints: the print manager implements it; the application connects the two.
class KYO_EXPORT message_printer {
 public:
  virtual ~message_printer();
  /// Prints `length` bytes from `bytes`.
  virtual void write(const char* bytes, int length) = 0;

 protected:
  message_printer() = default;
  message_printer(const message_printer&) = default;
  message_printer& operator=(const message_printer&) = default;
};

/// One message of the log: its text and the tick it was stamped with.
class KYO_EXPORT message {
 public:
  /// An empty message stamped with the present tick.
  message();
  /// A message of `text` stamped with the present tick.
  explicit message(const std::string& text);

  /// The local time of day of the tick, "hh:mm:ss", a blank, then the text.
  [[nodiscard]] std::string get_time_and_text() const;

  std::string text;
  clock_tick time;
};

/// The message log. Every operation holds the log's lock for its whole run, notifications
/// included: clients are told with the lock held and must not wait for another thread that
/// wants to log.
class KYO_EXPORT message_handler : public server {
 public:
  /// Flags of add_message.
  static constexpr unsigned keep = 1;      ///< keep the message in the list
  static constexpr unsigned announce = 2;  ///< tell clients (code 526) and print it
  /// Notification codes; the argument in brackets.
  static constexpr int added = 520;       ///< add_at [address of the message in the list]
  static constexpr int destroyed = 521;   ///< destroy [index of the message being removed]
  static constexpr int restamping = 522;  ///< [address of a pointer to the message in the list]
  static constexpr int restamped = 523;   ///< [address of the new message]
  static constexpr int cleared = 524;     ///< null_message [0]
  static constexpr int announced = 526;   ///< [address of the new message]
  /// A repeat of a kept text no more than this many ticks after it is not listed again.
  static constexpr std::uint32_t repeat_window = 950;
  /// How printed copies are stamped.
  static constexpr const char* print_stamp = "%d-%1N-%Y %02H:%02M:%02S";

  /// An active, empty log with room for 100 messages. The process has one (get_msg_hndlr).
  message_handler();
  message_handler(const message_handler&) = delete;
  message_handler& operator=(const message_handler&) = delete;
  ~message_handler() override;

  /// Logs `text` with the present tick. Nothing happens while the log is off. With `keep`: a new
  /// text goes to the top; a text already listed is left alone when this repeat comes no more
  /// than repeat_window ticks after it, else it is stamped anew (codes 522, 523) when it is the
  /// newest, or moved to the top (codes 521, 520). With `announce`: code 526, and when a printer
  /// is set, the line "d-Mon-yyyy hh:mm:ss", two blanks, the text and "\r\n" is printed.
  void add_message(const std::string& text, unsigned flags);
  /// Inserts a copy of `m` at `index` (0 to count()) and tells code 520; false out of range.
  bool add_at(const message& m, int index);
  /// Tells code 521 with `index`, then removes that message; false out of range.
  bool destroy(int index);
  /// Calls `f(message, arg)` for each message, newest first.
  void for_each(void (*f)(const message&, void*), void* arg) const;
  /// Switches the log on or off; switching it on empties the list.
  void set_active(bool on);
  [[nodiscard]] bool is_active() const;
  /// Tells code 524 with 0: clients clear their display.
  void null_message();

  /// The number of messages listed.
  [[nodiscard]] int count() const;
  /// A copy of the message at `index` (0 the newest); an empty message out of range.
  [[nodiscard]] message at(int index) const;
  /// A copy of every message, newest first.
  [[nodiscard]] std::vector<message> messages() const;

  /// Sets where announced messages are printed (null: nowhere); it is not owned and must stay
  /// alive until it is replaced or the log is done with it.
  void set_print_mgr(message_printer* p);
  [[nodiscard]] message_printer* get_print_mgr() const;

 private:
  bool active_ = true;
  std::vector<message> messages_;
  message_printer* print_mgr_ = nullptr;
};

/// The process-wide message log, made at first use.
KYO_EXPORT message_handler& get_msg_hndlr();

}  // namespace kyo
