// The state of one reading of a tree of servers, shared by the server's own code and
// its stream form (private to the library).
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

namespace kyo {

class ipstream;
class server;

namespace detail {

// One reading of a tree of servers, from the start of the outermost server record to
// its end, on one thread. While it runs, the servers that were built but that nothing
// owns (a parent written inside its child's record, a member that only a watching list
// refers to) are remembered, so that a stream that fails half-way leaves nothing behind.
struct read_session {
  int depth = 0;
  ipstream* stream = nullptr;
  server* outermost = nullptr;
  std::vector<server*> unowned;
};

inline thread_local read_session session;

// Numbers the servers in the order their reading starts: a server whose number is above
// the count taken before a pointer was read was built by that read, not found in it.
inline std::atomic<std::uint64_t> read_counter{0};

}  // namespace detail
}  // namespace kyo
