// Output destinations: an `output` is a place the system sends bytes to (a file named by the time
// of day, a raw printer). Outputs are servers, so that the lists holding them hear of their end
// (code 430); all of them answer with the shared result codes below.
#pragma once

#include <cstdint>

#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>

namespace kyo {

/// Results of output and printing operations.
namespace output_result {
inline constexpr int success = 0;
inline constexpr int already_open = 2;
inline constexpr int cannot_open = 3;  ///< the file or printer could not be opened
inline constexpr int not_open = 4;
inline constexpr int write_failed = 5;  ///< the write failed or took fewer bytes than asked
}  // namespace output_result

/// Notification codes of outputs, output lists and output strings.
namespace output_code {
inline constexpr int destroyed = 430;  ///< an output is going away; argument: its address
inline constexpr int added = 431;      ///< an output list gained an output; argument: the index
inline constexpr int removed = 432;    ///< an output list lost an output; argument: its index
inline constexpr int new_line = 600;   ///< a new line is due; argument: for the line producer
}  // namespace output_code

/// The kind of an output, streamed as one byte. The application's own kinds use 1 and 3; kinds 2
/// and 3 are not owned by the lists that hold them.
enum class output_type : std::uint8_t { file = 0, printer = 2 };

/// A destination for bytes. Abstract: derived classes write. Derives from server virtually, so
/// that the application may combine it with other servers; the most-derived class constructs
/// the server part.
class KYO_EXPORT output : public virtual server {
 public:
  /// Stream support: the server part (behind its version word), the type as one byte and
  /// list_owned as a 32-bit word. Reading fails the stream (stream_badbit) when either differs
  /// from what the object being read was built with.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const output& o);
    static void Read(ipstream& is, output& o, std::uint32_t version);
  };

  output(const output&) = delete;
  output& operator=(const output&) = delete;
  /// Tells the clients output_code::destroyed with this output's address (to_notify_arg of the
  /// output pointer), so that lists drop it, then tears down.
  ~output() override;

  /// Marks the output open: already_open when it is, else success.
  [[nodiscard]] virtual int open();
  /// Marks the output closed: not_open when it is not, else success.
  virtual int close();
  /// Sends `length` bytes from `bytes`; one of the output_result codes.
  [[nodiscard]] virtual int write(const char* bytes, int length) = 0;

  [[nodiscard]] output_type type() const noexcept { return type_; }
  /// Whether an output list deletes (and streams) this output: true unless the type is 2 or 3.
  [[nodiscard]] bool list_owned() const noexcept { return list_owned_; }
  [[nodiscard]] bool is_open() const noexcept { return is_open_; }

 protected:
  explicit output(output_type type) noexcept;

 private:
  output_type type_;
  bool list_owned_;
  bool is_open_ = false;
};

}  // namespace kyo
