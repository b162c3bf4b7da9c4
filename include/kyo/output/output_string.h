// A named producer of output lines: when its parent passes it code 600, it asks the derived class
// for the line and writes it to every output of its own output list. It can be switched on only
// while enabled; switching it on and off opens and closes its outputs.
#pragma once

#include <cstdint>
#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>
#include <kyo/output/output_list.h>

namespace kyo {

/// A producer of lines for its outputs. Abstract: the application supplies get_line. Its
/// output list is a child in its server tree, streamed and deleted with it.
class KYO_EXPORT output_string : public server {
 public:
  /// Stream support: the server part (behind its version word, holding the output list as a
  /// child), `enabled` as a 32-bit word, then the output list as an object pointer. The name is
  /// not streamed and a restored output string is inactive. A list pointer that is null or names
  /// no child of this output string fails the stream (stream_badbit).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const output_string& s);
    static void Read(ipstream& is, output_string& s, std::uint32_t version);
  };

  /// Copies name, enabled and active only.
  output_string& operator=(const output_string& other);
  output_string(const output_string&) = delete;
  /// Deletes the output list (and so the file outputs it owns).
  ~output_string() override;

  [[nodiscard]] const std::string& name() const noexcept { return name_; }
  void rename(const std::string& name) { name_ = name; }
  [[nodiscard]] bool is_enabled() const noexcept { return enabled_; }
  [[nodiscard]] bool is_active() const noexcept { return active_; }
  [[nodiscard]] output_list& outputs() const noexcept { return *outputs_; }

  /// When `on` differs from the present value: stores it, activates or deactivates at once when
  /// `apply_now` is set, and marks the output string dirty.
  void set_enabled(bool on, bool apply_now);
  /// Switches on (opening every output, in list order) or off (closing them); the outputs'
  /// results are ignored. True when the state is `on` afterwards; false, and nothing changes,
  /// for switching on while not enabled.
  bool activate(bool on);

  /// output_code::new_line: asks get_line(arg) and writes a non-empty line (without a
  /// terminating zero) to every output in list order, ignoring the results. Other codes are
  /// ignored.
  void parent_notify(server& source, int code, long arg) override;

 protected:
  /// An inactive, disabled output string called `name` with an empty output list.
  explicit output_string(const std::string& name);
  /// Ready to be read from a stream: the output list comes from the stream.
  explicit output_string(streamable_init_t);

  /// The line for the data value of a code 600; empty for none.
  [[nodiscard]] virtual std::string get_line(long data) = 0;

 private:
  std::string name_;
  bool enabled_ = false;
  bool active_ = false;
  output_list* outputs_ = nullptr;
};

}  // namespace kyo
