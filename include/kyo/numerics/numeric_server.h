// Numeric servers: named sources of live quantities, each entry readable as a `double` in its
// base unit (or as text for type-0 entries) at a clock tick. Servers form a tree of their own in
// which a parent owns its children and every server has a dotted path; `numeric_client`s are told
// when new data arrive and when a server dies. `nmrc_info` describes one entry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/core/child_list.h>
#include <kyo/core/object_stream.h>
#include <kyo/core/tree_stream.h>
#include <kyo/kyoutils_export.h>
#include <kyo/time/clock_tick.h>

namespace kyo {

class numeric_server;

/// The status an entry's value query returns (and get_numeric_status computes).
namespace numeric_status {
inline constexpr int no_data = 0;  ///< no value: callers leave their text unchanged
inline constexpr int fresh = 1;    ///< the value is younger than the server's timeout
inline constexpr int stale = 2;    ///< the value is older than the timeout
}  // namespace numeric_status

/// The description of one entry of a numeric server.
struct nmrc_info {
  /// The numeric type id (see numeric_type in numeric.h) in the low byte; the bits above it may
  /// hold flags of the server's own (general_numerics stores 0x10 there).
  int type = 0;
  int width = 0;      ///< field width in characters; -1 asks for the default
  int precision = 0;  ///< decimals; negative asks for the kind's default

  /// The type id alone, 0 to 255.
  [[nodiscard]] constexpr int type_id() const noexcept { return type & 0xFF; }
};

/// An observer of numeric servers. Attach it with numeric_server::attach_nmrc_client and detach
/// it before it is destroyed: servers hold their clients by address and never own them.
class KYO_EXPORT numeric_client : public virtual streamable {
 public:
  ~numeric_client() override;

  /// Called (through set_update_time) after a server this client watches got new data.
  virtual void new_data() = 0;
  /// Called from the destructor of a watched server, whose own parts beyond numeric_server are
  /// already destroyed; the client may detach itself or delete itself here.
  virtual void nmrc_srvr_destroyed(numeric_server& s) = 0;

  /// Stream support for derived classes: a numeric client writes no data of its own.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const numeric_client& c);
    static void Read(ipstream& is, numeric_client& c, std::uint32_t version);
  };

 protected:
  numeric_client() = default;
  numeric_client(const numeric_client&) = default;
  numeric_client& operator=(const numeric_client&) = default;
};

/// A named source of numeric entries in a tree of numeric servers. Entries are numbered from 1.
/// The base class publishes no entries; concrete servers override the five queries. No locks are
/// taken: every call runs on the caller's thread.
class KYO_EXPORT numeric_server : public virtual streamable {
 public:
  /// The intrusive list of a server's children, linked through each child's next-sibling field.
  /// It owns the children and deletes them last first.
  using nmrc_server_list = detail::child_list<numeric_server>;

  /// Stream support. Layout: name, numeric parent (object pointer), hidden (32-bit), timeout
  /// (32-bit little-endian), browsable (32-bit), child count (32-bit), each child (object
  /// pointer). Clients, update time and has-data are not stored.
  /// Reading checks the tree: every child must be a numeric server that names this one as its
  /// parent, none may be listed twice or belong to another server, no server may name a parent
  /// read without it among its children, and no loop may form; otherwise the stream fails with
  /// stream_badbit. A server read on its own whose parent was written inside its record (a child
  /// written first) comes back with its whole tree, owned by the root: free the tree through its
  /// root (walk get_parent()).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const numeric_server& s);
    static void Read(ipstream& is, numeric_server& s, std::uint32_t version);
  };

  /// A server without data, clients or children, made a child of `parent` (when not null).
  /// `hidden` leaves its name out of get_path(false); `timeout` (clock ticks) is the age from
  /// which data count as stale, held as 32 bits (values beyond are clamped); `browsable` (the
  /// second flag) admits the server and everything below it to the numerics browser tree.
  numeric_server(numeric_server* parent, const std::string& name, bool hidden, long timeout,
                 bool browsable);
  /// An unnamed root, ready to be read from a stream.
  explicit numeric_server(streamable_init_t);
  numeric_server(const numeric_server&) = delete;
  numeric_server& operator=(const numeric_server&) = delete;

  /// Tells every client, in vector order, nmrc_srvr_destroyed(*this) (clients may detach
  /// themselves or others, or attach new ones, during the call; see attach_nmrc_client), then
  /// leaves the parent's list, forgets the clients and deletes the children, last first.
  ~numeric_server() override;

  /// The number of entries [0]. Entries are numbered from 1.
  [[nodiscard]] virtual int entry_count() const;
  /// Fills `info` with the description of entry `index` [all zero].
  virtual void describe(int index, nmrc_info& info) const;
  /// The name of entry `index` [empty].
  [[nodiscard]] virtual std::string entry_name(int index) const;
  /// The index of the entry called `name` (an exact, case-sensitive match), 0 when none [0].
  [[nodiscard]] virtual int entry_index(std::string_view name) const;
  /// The value query: fills `*data` with entry `index`'s value at tick `t` and returns its
  /// status (numeric_status), 0 when no value is available [0].
  /// `data` points to a `std::string` when the entry's type id is 0 (its own text) and to a
  /// `double` in the entry's base unit for every other type id. An override writes nothing when
  /// it returns 0, and writes only the one object of the entry's kind.
  virtual int get_value(int index, clock_tick t, void* data) const;

  /// Moves this server to the end of `p`'s child list, or makes it a root for null. The present
  /// parent again does nothing. A parent that would close a loop (this server or one of its
  /// descendants) is refused: false, and nothing changes.
  bool set_nmrc_parent(numeric_server* p);
  [[nodiscard]] numeric_server* get_parent() const noexcept { return parent_; }
  /// The child after `child`, or the first child for null; null at the end.
  [[nodiscard]] numeric_server* next(const numeric_server* child) const {
    return children_.next(child);
  }

  [[nodiscard]] const std::string& get_name() const noexcept { return name_; }
  void set_name(const std::string& name) { name_ = name; }
  [[nodiscard]] bool is_hidden() const noexcept { return hidden_; }
  void set_hidden(bool on) noexcept { hidden_ = on; }
  [[nodiscard]] long get_timeout() const noexcept { return timeout_; }
  /// Sets the timeout, clamped to the 32-bit range.
  void set_timeout(long timeout) noexcept;
  /// The second flag: whether the numerics browser shows this server (and what lies below it).
  [[nodiscard]] bool is_browsable() const noexcept { return browsable_; }
  void set_browsable(bool on) noexcept { browsable_ = on; }

  /// Appends `c` to the clients unless it is attached already; the vector stays compact.
  /// A client attached while the clients are being told (set_update_time, the destructor) is
  /// told in the same round, after the others.
  void attach_nmrc_client(numeric_client& c) const;
  /// Removes `c` (later clients move down one place) without skipping or repeating anyone in a
  /// round of telling that is under way; an unknown client is ignored.
  void detach_nmrc_client(numeric_client& c) const;
  /// The number of attached clients.
  [[nodiscard]] std::size_t client_count() const noexcept { return clients_.size(); }

  /// Stores `t` as the update time, marks the server as having data, and calls new_data of
  /// every client in vector order. A client must not destroy the server from new_data.
  void set_update_time(clock_tick t);
  /// The iteration callback of set_update_time: `c.new_data()`.
  static void do_notify_new_data(numeric_client& c, void* arg);
  [[nodiscard]] clock_tick get_update_time() const noexcept { return update_time_; }
  [[nodiscard]] bool has_data() const noexcept { return has_data_; }

  /// no_data before the first update; fresh when now - update time, read as a signed 32-bit
  /// difference, is below the timeout; stale otherwise (always, for a timeout of 0 or less).
  [[nodiscard]] int get_numeric_status(clock_tick now) const noexcept;

  /// The dotted path from the root: every server below the root contributes its name, except,
  /// when `full` is false, hidden ones; a '.' inside a name is written "..". A root's path is
  /// empty, its direct child's path is the child's bare name.
  [[nodiscard]] std::string get_path(bool full) const;
  /// The server at `path` below this one (this server for an empty path), null when there is
  /// none. Segments are matched against the children's names in list order, the first that fits
  /// is taken; hidden servers are not skipped, so only get_path(true) paths resolve everywhere.
  /// A run of dots of odd length holds one separator; with names that begin or end with '.' the
  /// separator's place in such a run is found by trying the children in list order.
  [[nodiscard]] numeric_server* get(std::string_view path) const;

 private:
  friend class detail::child_list<numeric_server>;
  friend class detail::tree_reader<numeric_server>;

  void tell_clients(void (*f)(numeric_client&, void*), void* arg) const;
  static void tell_destroyed(numeric_client& c, void* arg);
  // Whether `p` as this server's parent would close a loop: it is this server or below it.
  [[nodiscard]] bool would_loop(const numeric_server& p) const;
  [[nodiscard]] static detail::no_links_guard links_guard() noexcept { return {}; }

  std::string name_;
  numeric_server* parent_ = nullptr;
  nmrc_server_list children_;
  numeric_server* next_sibling_ = nullptr;
  clock_tick update_time_ = 0;
  bool has_data_ = false;
  std::int32_t timeout_ = 0;
  bool hidden_ = false;
  bool browsable_ = false;
  mutable std::vector<numeric_client*> clients_;
  // The positions of the rounds of telling under way (nested rounds each have one); a client
  // that leaves at or before a position moves that position back by one.
  mutable std::vector<std::ptrdiff_t*> cursors_;
  // Only meaningful while a stream is being read.
  detail::tree_read_phase phase_ = detail::tree_read_phase::idle;
};

}  // namespace kyo
