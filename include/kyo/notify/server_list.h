// `server_list`: an array of servers that is itself a server and a client. An owning
// list adopts its members as children and deletes them; a watching list attaches itself
// to its members as a client. Either way it passes its members' notifications on and
// reports additions and removals with the codes chosen by whoever builds it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>

namespace kyo {

/// An array of servers, owning (ownership 2) or watching (ownership 0), compact or sparse.
/// A compact list closes gaps and shifts members on insertion; a sparse list always holds
/// `limit()` slots, and removal leaves an empty slot. Array operations do not take the
/// list's lock, so no list operation holds it while it calls into a member.
class KYO_EXPORT server_list : public client, public server {
 public:
  /// Index meaning "not found".
  static constexpr int npos = 0x7FFFFFFF;
  /// Code sent by the destructor, with the list's address (to_notify_arg) as argument.
  static constexpr int destroyed_notice = 102;
  /// Ownership values.
  static constexpr int owns_members = 2;
  static constexpr int watches_members = 0;

  /// Stream support: the server part (with its version), the member count and members
  /// (null slots included), the owning flag (1 or 0) and the compact flag, 32-bit each.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const server_list& l);
    /// Reads into a list made with the (int, int, int) or streamable_init constructor.
    /// Members of an owning list must be its children and held by no other owning list; a
    /// watching list refuses itself and a member whose notifications would come back to it.
    static void Read(ipstream& is, server_list& l, std::uint32_t version);
  };

  /// An owning list named `name` (null for none) with room for `upper_bound` + 1 members;
  /// a sparse one (`compact` zero) holds that many empty slots at once. The codes are sent
  /// after a member is added, listened for from a member being destroyed, and sent when a
  /// member leaves.
  server_list(server* parent, const char* name, int upper_bound, int compact, int added_code,
              int destroyed_code, int removed_code);
  /// An empty, unnamed, owning and compact root list, ready to be read from a stream.
  server_list(int added_code, int destroyed_code, int removed_code);
  /// As the (int, int, int) constructor with all three codes 0; see set_codes.
  explicit server_list(streamable_init_t);
  server_list(const server_list&) = delete;
  server_list& operator=(const server_list&) = delete;
  /// Sends destroyed_notice, removes every member (last first), then destroys the server part.
  ~server_list() override;

  /// Replaces the three codes (for a list built by a stream reader).
  void set_codes(int added_code, int destroyed_code, int removed_code);

  /// Puts `s` at `index`. Sparse: replaces the slot (0 <= index < limit()); a watching list
  /// first sends the removed code for the slot, even an empty one, and lets go of the old
  /// member; an owning list deletes it. Compact: inserts (0 <= index <= count()). Then an
  /// owning list makes itself `s`'s parent, a watching one attaches to `s`; the list is
  /// dirty and sends the added code with the index. False, and nothing changes, for an
  /// index out of range, `s` being this list, a member already held by an owning list (an
  /// owning list only), or a loop of notifications it would close.
  bool add_at(server& s, int index);
  /// Removes the member at `index`. Watching: sends the removed code, detaches, empties or
  /// closes the slot. Owning: deletes the member; its destruction clears the slot (and sends
  /// the removed code when the member announces itself with the destroyed code). False when
  /// the slot is out of range or empty.
  bool remove(int index);
  /// Empties the array without codes of its own, deleting the members when owning and
  /// detaching from them when watching; a sparse list gets its empty slots back.
  void flush();

  /// The index of `s`, or npos.
  int find(const server& s) const;
  /// The first member, in index order, whose name equals `name`; null if none.
  server* get(const std::string& name) const;
  /// The member at `index`; null for an empty slot or an index out of range.
  server* at(int index) const;
  /// Slots in use: the member count of a compact list, always limit() for a sparse one.
  int count() const;
  /// The capacity of the array.
  int limit() const;
  /// owns_members or watches_members.
  int ownership() const;
  /// True for a compact list.
  bool is_compact() const;

  /// Where members' notifications arrive, both as a client and as their parent: the
  /// destroyed code takes `source` out of the list (removed code first, then the slot is
  /// cleared, a watching list detaches, the list is dirty); any other code is passed on
  /// unchanged to the list's parent and clients.
  virtual void do_notify(server& source, int code, long arg);

  void notify(server& source, int code, long arg) override;
  void parent_notify(server& source, int code, long arg) override;

 private:
  friend class server;

  bool owning() const { return ownership_ == owns_members; }
  void hold(server& m);
  void let_go(server& m, bool detach);
  void clear_slot(int index);
  void forget(server& m);

  std::vector<server*> items_;
  int limit_ = 0;
  int ownership_ = owns_members;
  bool compact_ = true;
  int added_code_ = 0;
  int removed_code_ = 0;
  int destroyed_code_ = 0;
};

}  // namespace kyo
