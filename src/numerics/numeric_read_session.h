// The state of one reading of numeric servers from an object stream, shared by the servers'
// stream code and by the numerics that read server pointers (private to the library).
#pragma once

#include <cstdint>
#include <vector>

#include <kyo/numerics/numeric_server.h>

namespace kyo {

// One reading, from the start of the outermost read_scope to its end, on one thread. While it
// runs, the servers that were built but that nothing owns (a parent written inside its child's
// record, a server met first through a numeric) are remembered, so that a stream that fails
// half-way leaves nothing behind.
struct numeric_read_session {
  int depth = 0;
  ipstream* stream = nullptr;
  numeric_server* outermost = nullptr;
  std::vector<numeric_server*> unowned;
  // Numbers the servers in the order their reading starts: a server numbered above the count
  // taken before a pointer was read was built by that read, not found in it.
  std::uint64_t counter = 0;
};

// The library's access to the reading state of numeric servers.
struct numeric_server_access {
  static numeric_read_session& session();
  // The count to compare with built_since after reading a pointer.
  static std::uint64_t read_mark() { return session().counter; }
  static bool built_since(const numeric_server& s, std::uint64_t mark) {
    return s.read_serial_ > mark;
  }
  // Remembers `s` as built by this reading and owned by nobody yet.
  static void note_unowned(numeric_server* s);
  // Forgets `s` (it is being destroyed).
  static void forget(numeric_server* s);
  static void start_reading(numeric_server& s) { s.read_serial_ = ++session().counter; }
  static void unlink_from_parent(numeric_server& s) { s.set_nmrc_parent(nullptr); }
};

}  // namespace kyo
