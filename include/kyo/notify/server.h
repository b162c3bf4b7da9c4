// The observer framework: a `server` is a named, persistent object that tells its
// attached `client`s (and, on request, its parent) when it changes. Servers form a
// tree: each has at most one parent, which owns it through its `child_server_list`.
// Every server carries one recursive lock (`server_lock`, a virtual base).
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include <kyo/core/child_list.h>
#include <kyo/core/object_stream.h>
#include <kyo/core/tree_stream.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

class server;
class server_list;

// Notification arguments sometimes carry an address (a server list sends its own
// address with code 102, an output its own with code 430), so `long` must hold one.
static_assert(sizeof(long) >= sizeof(void*), "a notification argument must hold an address");

/// The notification argument that carries the address `p`.
inline long to_notify_arg(const void* p) noexcept {
  return static_cast<long>(reinterpret_cast<std::intptr_t>(p));
}

/// The address carried by the notification argument `arg` (see to_notify_arg).
template <class T>
T* from_notify_arg(long arg) noexcept {
  return reinterpret_cast<T*>(static_cast<std::intptr_t>(arg));
}

/// An observer of servers: attached to a server, it is called back on every notification.
class KYO_EXPORT client {
 public:
  virtual ~client();

  /// Called by `source` with a notification code and its argument. The source's lock is
  /// held, so the client may call back into `source` but must not wait for another thread
  /// that wants it.
  virtual void notify(server& source, int code, long arg) = 0;

 protected:
  client() = default;
  client(const client&) = default;
  client& operator=(const client&) = default;
};

/// The recursive lock of one object. A virtual base of `server`, so that an object that
/// reaches `server` along several paths has a single lock; a copy gets a lock of its own.
class KYO_EXPORT server_lock {
 public:
  /// The lock itself, for classes that must hold it over several operations.
  std::recursive_mutex& lock() const noexcept { return mutex_; }

 protected:
  server_lock() = default;
  server_lock(const server_lock&) noexcept {}
  server_lock& operator=(const server_lock&) noexcept { return *this; }
  ~server_lock() = default;

 private:
  mutable std::recursive_mutex mutex_;
};

/// A named notification source in a tree of servers. The parent owns its children and
/// deletes them (last first) when it is destroyed; clients are never owned.
///
/// Locking: each operation that touches a server's fields takes that server's lock.
/// Locks are taken child before parent (a notification holds the child's lock while its
/// parent is told) and notifier before client; no operation holds a server's lock while
/// it takes the lock of one of its children.
class KYO_EXPORT server : public virtual streamable, protected virtual server_lock {
 public:
  /// The intrusive list of a server's children, linked through each child's next-sibling
  /// field. The list owns the children and deletes them last first.
  using child_server_list = detail::child_list<server>;

  /// Stream support: the name, the parent pointer, the child count and each child.
  struct KYO_EXPORT Streamer {
    /// Writes the server part; a successful write clears the dirty flag.
    static void Write(opstream& os, const server& s);
    /// Reads into a server made with the streamable_init constructor. Every child read must
    /// name this server as its parent and every server that names it must be among its
    /// children; a loop, a null child, a child listed twice or belonging to another server,
    /// or a parent already read without this child fails the stream with stream_badbit, and
    /// what the reading built is deleted again. A server read on its own whose parent was
    /// written inside its record belongs to that parent: free the tree through its root
    /// (follow get_parent()). Servers reached only through a watching list belong to the
    /// caller.
    static void Read(ipstream& is, server& s, std::uint32_t version);
  };

  /// A server named `name` (copied), without clients or children, not dirty, made a child
  /// of `parent` when that is not null.
  explicit server(server* parent = nullptr, const std::string& name = {});
  /// Copies the name only: the copy has no parent, children or clients and is not dirty.
  server(const server& other);
  /// An unnamed root, ready to be read from a stream.
  explicit server(streamable_init_t);
  /// Takes itself out of every server_list that holds it (silently), leaves the parent's
  /// child list, forgets the clients (without deleting them), then deletes the children.
  /// Sends no notification: subclasses that announce their end do so in their own destructor.
  ~server() override;

  /// Copies the name only and marks this server dirty; parent, children and clients stay.
  server& operator=(const server& other);

  /// A copy of the name.
  std::string get_name() const;
  /// Replaces the name and marks the server dirty.
  void set_name(const std::string& name);
  /// True when the name equals `name` exactly (byte for byte, case-sensitive).
  bool name_is(const std::string& name) const;

  /// The parent, null for a root.
  server* get_parent() const;
  /// Moves this server to `p`'s child list (at its end), or makes it a root for null.
  /// Setting the current parent again does nothing. A parent that would close a loop (this
  /// server, one of its descendants, or a server whose notifications reach this one) is
  /// refused: false, and nothing changes.
  bool set_parent(server* p);
  /// The child after `child`, or the first child when `child` is null; null at the end.
  server* next(const server* child) const;

  /// Attaches `c`: a client already attached stays in its slot; otherwise `c` takes the
  /// lowest empty slot or is appended. Clients are notified in slot order.
  void attach_client(client& c) const;
  /// Empties the slot that holds `c` (later slots do not move); nothing if not attached.
  void detach_client(client& c) const;
  /// Number of client slots, empty ones included.
  std::size_t client_slots() const;

  /// True when this server changed since it was last written, or when one of its
  /// children is dirty (asked in child order, after this server's lock is released).
  virtual bool is_dirty() const;
  /// Sets or clears this server's own dirty flag.
  void set_dirty(bool on = true);

  /// How a child's notification reaches this server: by default it is passed on to this
  /// server's parent, with this server as the new source.
  virtual void parent_notify(server& source, int code, long arg);

  /// Tells the parent first (when `tell_parent` is true), then each client in slot order,
  /// up to the number of slots there were at the start. Holds this server's lock throughout,
  /// so a client may call back into this server from its notify.
  void notify_clients(int code, long arg, bool tell_parent);

 private:
  friend class detail::child_list<server>;
  friend class detail::tree_reader<server>;
  friend class server_list;

  [[nodiscard]] std::lock_guard<std::recursive_mutex> links_guard() const {
    return std::lock_guard(lock());
  }

  bool would_loop(const server& p) const;
  bool has_incoming() const;
  static std::unordered_set<const server*> reachable(const server& from, const server* to);
  static bool reaches(const server& from, const server& to);
  void unlink_from_parent();
  void add_holder(server_list* list) const;
  void remove_holder(server_list* list) const;
  bool held_by_owning_list() const;

  std::string name_;
  server* parent_ = nullptr;
  child_server_list children_;
  server* next_sibling_ = nullptr;
  mutable std::vector<client*> clients_;
  mutable bool dirty_ = false;

  // Server lists whose arrays hold this server, one entry per slot: a server that is
  // destroyed without announcing it still leaves no dangling member behind.
  mutable std::vector<server_list*> holders_;
  // Only meaningful while a stream is being read.
  detail::tree_read_phase phase_ = detail::tree_read_phase::idle;
};

}  // namespace kyo
