// A `numeric` is a small, copyable, persistent view of one entry of a numeric server: which
// server and entry it shows and how the user wants it shown. Its subclasses (timedate_nmrc,
// geog_nmrc, numeric_nmrc and its unit kinds) format dates, positions and measured values;
// make_numeric builds the right one from an entry's numeric type id.
#pragma once

#include <cstdint>
#include <string>

#include <kyo/core/object_stream.h>
#include <kyo/kyoutils_export.h>
#include <kyo/numerics/numeric_server.h>
#include <kyo/time/clock_tick.h>

namespace kyo {

/// Numeric type ids: what an entry holds, in the low byte of nmrc_info::type.
namespace numeric_type {
inline constexpr int text = 0;           ///< the server's own text (numeric)
inline constexpr int date_time = 1;      ///< seconds since 1 January 1970 (timedate_nmrc)
inline constexpr int latitude = 2;       ///< radians (geog_nmrc)
inline constexpr int longitude = 3;      ///< radians (geog_nmrc)
inline constexpr int boolean = 4;        ///< a boolean quantity: make_numeric gives null
inline constexpr int number = 5;         ///< a plain number without unit (numeric_nmrc)
inline constexpr int number_alt = 6;     ///< the same as number (numeric_nmrc)
inline constexpr int distance = 7;       ///< metres (distance_nmrc)
inline constexpr int time_interval = 8;  ///< seconds (time_interval_nmrc)
inline constexpr int speed = 9;          ///< metres per second (speed_nmrc)
inline constexpr int true_bearing = 10;  ///< radians clockwise from true north (bearing_nmrc)
inline constexpr int grid_bearing = 11;  ///< radians clockwise from grid north (bearing_nmrc)
inline constexpr int angle = 12;         ///< radians (bearing_nmrc)
inline constexpr int tension = 13;       ///< newtons (tension_nmrc)
inline constexpr int pressure = 14;      ///< kilopascals (pressure_nmrc)
inline constexpr int emf = 15;           ///< volts (emf_nmrc)
inline constexpr int percentage = 16;    ///< percent (numeric_nmrc)
inline constexpr int memory = 17;        ///< bytes (memory_nmrc)
inline constexpr int count = 18;         ///< ids from here to 255 make no numeric
}  // namespace numeric_type

/// A view of entry `index` of a numeric server; as itself it shows a type-0 entry, the
/// server's own text. The server is not owned and must outlive the numeric.
class KYO_EXPORT numeric : public virtual streamable {
 public:
  /// Stream support: the server as an object pointer, then the index (32-bit). A server met for
  /// the first time in the stream is read with its whole tree, which the numeric does not own:
  /// the reader frees that tree through its root (walk get_parent()) when done with it.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const numeric& n);
    static void Read(ipstream& is, numeric& n, std::uint32_t version);
  };

  /// A numeric for entry `index` of `server`.
  numeric(const numeric_server& server, int index) noexcept;
  /// A numeric without server, ready to be read from a stream; it has no value.
  explicit numeric(streamable_init_t) noexcept;
  numeric(const numeric&) = default;
  numeric& operator=(const numeric&) = default;

  ~numeric() override;

  /// A new copy of the same class, owned by the caller.
  [[nodiscard]] virtual numeric* clone() const;

  /// Writes the entry's value at tick `t` into `out` and returns the server's status; returns 0
  /// (numeric_status::no_data) and leaves `out` untouched when there is no value, no server, or
  /// the entry holds the other kind of value (a number where text is expected or the reverse).
  /// As itself: the entry's text; when `pad` is set and |width| of the entry's description
  /// exceeds the text's length, a negative width pads the text with blanks on the right to
  /// |width|, a positive one puts `width` blanks in front of it, the whole width, so that the
  /// result is longer than the width. A width beyond +/-31, the widest field of any numeric,
  /// counts as +/-31, so that a damaged description cannot ask for gigabytes of blanks.
  virtual int as_string(clock_tick t, std::string& out, bool pad) const;

  /// Reads this class's part of the object (as written by write) from `is`.
  virtual void read(ipstream& is, std::uint32_t version);
  /// Writes this class's part of the object, base parts first.
  virtual void write(opstream& os) const;

  /// Sets the display options from a configuration string; returns the number of fields taken.
  /// Fields are taken in order up to the first that does not parse; those before it are set,
  /// the rest keep their values. A plain numeric has no options and takes none (0).
  virtual int read_config(const char* text);
  /// Appends the display options as a configuration string to `text` (nothing for a plain one).
  virtual void write_config(std::string& text) const;

  /// Two hooks without behaviour in any class, kept so that the virtual operations of every
  /// numeric stay in their fixed order.
  virtual void reserved_hook_1();
  virtual void reserved_hook_2();

  /// The server's path (get_path(full)), a '.', and the entry's name as the server reports it;
  /// empty without a server.
  [[nodiscard]] std::string get_path(bool full) const;

  [[nodiscard]] const numeric_server* get_server() const noexcept { return server_; }
  [[nodiscard]] int get_index() const noexcept { return index_; }
  /// The entry's numeric type id (0 to 255) as its server describes it; -1 without a server.
  [[nodiscard]] int type_id() const;
  /// The entry's name as its server reports it; empty without a server.
  [[nodiscard]] std::string get_name() const;
  /// The unit label shown with the value: the label of a numeric_nmrc, else empty.
  [[nodiscard]] std::string get_units() const;

 protected:
  /// Asks the server for a number: the status, with `value` filled when it is not 0. Gives 0
  /// without a server or when the entry is a type-0 (text) entry.
  int query_number(clock_tick t, double& value) const;
  /// The entry's description; all zero without a server.
  [[nodiscard]] nmrc_info describe_entry() const;

 private:
  const numeric_server* server_ = nullptr;
  int index_ = 0;
};

}  // namespace kyo
