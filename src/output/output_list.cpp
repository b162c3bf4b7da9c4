#include <kyo/output/output_list.h>

#include <algorithm>
#include <unordered_set>

namespace kyo {

namespace {

const stream_registration<output_list> output_list_registration("output_list");

constexpr const char* list_name = "output_list";

}  // namespace

output_list::output_list(server* parent) : server(parent, list_name) {}

output_list::output_list(streamable_init_t) : server(streamable_init) {}

output_list::~output_list() {
  for (int i = count() - 1; i >= 0; --i) {
    if (i >= count()) continue;
    output* o = items_[static_cast<std::size_t>(i)];
    if (o->list_owned()) {
      // Its code 430 takes it out of the list.
      delete o;
    } else {
      remove(i);
    }
  }
  for (output* o : items_)
    o->detach_client(*this);
  items_.clear();
}

// An output tells the list of its end holding its own lock, then the list's: so the list's lock
// is never held while an output's is taken (attaching, detaching), or the two could deadlock.

bool output_list::add_at(output& o, int index) {
  {
    std::lock_guard guard(lock());
    if (index < 0 || index > count() || index_of(o) >= 0) return false;
    items_.insert(items_.begin() + index, &o);
  }
  o.attach_client(*this);
  set_dirty();
  notify_clients(output_code::added, index, true);
  return true;
}

bool output_list::remove(int index) {
  output* o = nullptr;
  {
    std::lock_guard guard(lock());
    if (index < 0 || index >= count()) return false;
    o = items_[static_cast<std::size_t>(index)];
  }
  notify_clients(output_code::removed, index, true);
  {
    // A client may have changed the list while it was told.
    std::lock_guard guard(lock());
    const int now = index_of(*o);
    if (now < 0) return true;
    items_.erase(items_.begin() + now);
  }
  o->detach_client(*this);
  return true;
}

int output_list::count() const {
  std::lock_guard guard(lock());
  return static_cast<int>(items_.size());
}

output* output_list::at(int index) const {
  std::lock_guard guard(lock());
  if (index < 0 || index >= count()) return nullptr;
  return items_[static_cast<std::size_t>(index)];
}

int output_list::index_of(const output& o) const {
  std::lock_guard guard(lock());
  const auto it = std::find(items_.begin(), items_.end(), &o);
  return it == items_.end() ? -1 : static_cast<int>(it - items_.begin());
}

void output_list::for_each(void (*f)(output&, void*), void* arg) {
  std::lock_guard guard(lock());
  // By index, read afresh, so that an output leaving the list during the walk is not touched.
  for (std::size_t i = 0; i < items_.size(); ++i)
    f(*items_[i], arg);
}

output* output_list::first_that(bool (*f)(const output&, void*), void* arg) const {
  std::lock_guard guard(lock());
  for (std::size_t i = 0; i < items_.size(); ++i) {
    if (f(*items_[i], arg)) return items_[i];
  }
  return nullptr;
}

void output_list::notify(server& /*source*/, int code, long arg) {
  if (code != output_code::destroyed) {
    notify_clients(code, arg, true);
    return;
  }
  const auto* gone = from_notify_arg<output>(arg);
  std::lock_guard guard(lock());
  const auto it = std::find(items_.begin(), items_.end(), gone);
  if (it == items_.end()) return;
  const int index = static_cast<int>(it - items_.begin());
  notify_clients(output_code::removed, index, true);
  const auto again = std::find(items_.begin(), items_.end(), gone);
  if (again != items_.end()) items_.erase(again);
  set_dirty();
}

void output_list::Streamer::Write(opstream& os, const output_list& l) {
  write_base<server>(os, l);
  std::vector<const output*> owned;
  for (const output* o : l.items_) {
    if (o->list_owned()) owned.push_back(o);
  }
  os.writeWord32(static_cast<std::uint32_t>(owned.size()));
  for (const output* o : owned)
    writePtr(os, o);
}

void output_list::Streamer::Read(ipstream& is, output_list& l, std::uint32_t /*version*/) {
  if (l.count() != 0) {
    is.setstate(stream_badbit, "an output list can only be read into an empty list");
    return;
  }
  read_base<server>(is, l);
  const std::uint32_t count = is.readWord32();
  // An output is at least a five-byte reference.
  if (!is || !is.check_count(count, 5)) return;
  std::vector<output*> read;
  std::unordered_set<const output*> seen;
  for (std::uint32_t i = 0; i < count; ++i) {
    output* o = nullptr;
    readPtr(is, o);
    if (!is) return;
    if (o == nullptr || !o->list_owned() || !seen.insert(o).second) {
      is.setstate(stream_badbit, "an output list holding a null, foreign or repeated output");
      return;
    }
    read.push_back(o);
  }
  for (output* o : read) {
    is.claim(o);
    l.items_.push_back(o);
    o->attach_client(l);
  }
}

}  // namespace kyo
