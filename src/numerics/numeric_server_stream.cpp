// The stream form of numeric servers: the tree links through the shared tree reader, and the
// server's own fields between its parent pointer and its child list.
#include <kyo/core/tree_stream.h>
#include <kyo/numerics/numeric_server.h>

namespace kyo {

void numeric_server::Streamer::Write(opstream& os, const numeric_server& s) {
  os << s.name_;
  writePtr(os, s.parent_);
  os.writeWord32(s.hidden_ ? 1 : 0);
  os.writeWord32(static_cast<std::uint32_t>(s.timeout_));
  os.writeWord32(s.browsable_ ? 1 : 0);
  std::uint32_t count = 0;
  for (const numeric_server* c = s.children_.next(nullptr); c != nullptr; c = c->next_sibling_)
    ++count;
  os.writeWord32(count);
  for (const numeric_server* c = s.children_.next(nullptr); c != nullptr; c = c->next_sibling_)
    writePtr(os, c);
}

void numeric_server::Streamer::Read(ipstream& is, numeric_server& s, std::uint32_t /*version*/) {
  detail::tree_reader<numeric_server>::read(is, s, "numeric server", [&s](ipstream& in) {
    const bool hidden = in.readWord32() != 0;
    const auto timeout = static_cast<std::int32_t>(in.readWord32());
    const bool browsable = in.readWord32() != 0;
    if (!in) return false;
    s.hidden_ = hidden;
    s.timeout_ = timeout;
    s.browsable_ = browsable;
    return true;
  });
}

}  // namespace kyo
