#include <kyo/graphics/library_file.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <sstream>

#include <kyo/platform/path_map.h>

namespace kyo {

namespace {

// An item takes at least its name's length word, type, flag and cross-reference.
constexpr std::uint64_t min_item_bytes = 16;
constexpr std::uint64_t position_bytes = 4;
// Objects move down in pieces of this size when one is destroyed.
constexpr std::size_t move_chunk = 64 * 1024;

enum class presence { missing, regular, other };

// What is at `path`. Anything that stat cannot tell to be missing counts as present, so that it
// is never replaced by a new library.
presence find_file(const std::string& path) {
  struct stat st {};
  if (::stat(native_path(path).c_str(), &st) != 0) {
    return errno == ENOENT ? presence::missing : presence::other;
  }
  return S_ISREG(st.st_mode) ? presence::regular : presence::other;
}

}  // namespace

library_file::library_file(const std::string& description, const std::string& version,
                           document* parent)
    : document(parent), info_(std::string(), description, version) {}

library_file::~library_file() = default;

void library_file::clear_index() {
  header_end_ = 0;
  index_pos_ = 0;
  items_.clear();
  positions_.clear();
}

bool library_file::read_index(ipstream& in) {
  const std::streamoff end = in.tellg();
  if (end < 0 || end > std::numeric_limits<std::uint32_t>::max() - 4) return false;
  header_end_ = static_cast<std::uint32_t>(end);
  index_pos_ = in.readWord32();
  if (!in || index_pos_ < header_end_ + 4) return false;
  in.seekg(index_pos_);
  const std::uint32_t count = in.readWord32();
  if (!in.check_count(count, min_item_bytes)) return false;
  std::vector<library_item> items(count);
  for (library_item& item : items) {
    in >> item.name;
    item.type = static_cast<std::int32_t>(in.readWord32());
    item.flag = in.readWord32() != 0;
    item.xref = static_cast<std::int32_t>(in.readWord32());
  }
  const std::uint32_t stored = in.readWord32();
  if (!in.check_count(stored, position_bytes)) return false;
  std::vector<std::uint32_t> positions(stored);
  for (std::uint32_t& p : positions)
    p = in.readWord32();
  if (!in) return false;

  // Every item has its own object, and the objects lie one behind another between the index
  // position word and the index: destroy and load rely on both.
  if (positions.size() != items.size()) return false;
  std::vector<bool> used(positions.size(), false);
  for (const library_item& item : items) {
    if (item.xref < 0 || static_cast<std::size_t>(item.xref) >= used.size() || used[item.xref]) {
      return false;
    }
    used[item.xref] = true;
  }
  std::uint32_t next = header_end_ + 4;
  for (std::uint32_t p : positions) {
    if (p < next || p >= index_pos_) return false;
    next = p + 1;
  }
  items_ = std::move(items);
  positions_ = std::move(positions);
  return true;
}

bool library_file::Open(int /*mode*/, const char* path) {
  if (path != nullptr) set_doc_path(path);
  info_.name = get_doc_path();
  clear_index();
  const presence found = find_file(info_.name);
  if (found == presence::regular) {
    iconfig_file in(info_);
    if (!in.good()) {
      state_ = open_state::refused;
    } else if (read_index(in)) {
      state_ = open_state::opened;
    } else {
      clear_index();
      state_ = open_state::damaged;
    }
  } else if (found == presence::other) {
    state_ = open_state::refused;
  } else {
    oconfig_file out(info_);
    const std::streamoff end = out.tellp();
    if (out.good() && end >= 0) {
      header_end_ = static_cast<std::uint32_t>(end);
      index_pos_ = header_end_ + 4;
      out.writeWord32(index_pos_);
      out.writeWord32(0);
      out.writeWord32(0);
      out.close();
    }
    state_ = out.good() && end >= 0 ? open_state::created : open_state::failed;
    if (state_ == open_state::failed) clear_index();
  }
  set_dirty(false);
  notify_views(event_revert, 0);
  return true;
}

int library_file::find(const std::string& name) const {
  const auto it = std::find_if(items_.begin(), items_.end(),
                               [&](const library_item& item) { return item.name == name; });
  return it == items_.end() ? -1 : static_cast<int>(it - items_.begin());
}

std::unique_ptr<server> library_file::load(int index) const {
  if (index < 0 || index >= count()) return nullptr;
  iconfig_file in(info_);
  if (!in.good()) return nullptr;
  in.seekg(positions_[static_cast<std::size_t>(items_[static_cast<std::size_t>(index)].xref)]);
  server* s = nullptr;
  readPtr(in, s);
  if (s != nullptr && s->get_parent() != nullptr) {
    // A library object stands alone; one that brings a parent along is not what was stored.
    while (s->get_parent() != nullptr)
      s = s->get_parent();
    delete s;
    return nullptr;
  }
  return std::unique_ptr<server>(s);
}

void library_file::write_index(opstream& out) {
  const std::streamoff at = out.tellp();
  if (at < 0 || at > std::numeric_limits<std::uint32_t>::max()) {
    out.setstate(stream_failbit, "the index lies beyond 4 GiB");
    return;
  }
  index_pos_ = static_cast<std::uint32_t>(at);
  out.writeWord32(static_cast<std::uint32_t>(items_.size()));
  for (const library_item& item : items_) {
    out << item.name;
    out.writeWord32(static_cast<std::uint32_t>(item.type));
    out.writeWord32(item.flag ? 1 : 0);
    out.writeWord32(static_cast<std::uint32_t>(item.xref));
  }
  out.writeWord32(static_cast<std::uint32_t>(positions_.size()));
  for (std::uint32_t p : positions_)
    out.writeWord32(p);
  out.seekp(header_end_);
  out.writeWord32(index_pos_);
}

bool library_file::still_ours(ipstream& in) const {
  // Another program may have changed the file since it was opened: writing to it by an index
  // that no longer fits would destroy what it holds.
  return in.good() && in.tellg() == std::streampos(header_end_) && in.readWord32() == index_pos_ &&
         in.good();
}

std::unique_ptr<server> library_file::library_copy(const server& object) const {
  return std::make_unique<server>(object);
}

bool library_file::add_at(const server& object, int type, bool flag, int index) {
  if (!is_writable() || index < 0 || index > count()) return false;
  const std::unique_ptr<server> copy = library_copy(object);
  if (copy == nullptr) return false;
  // The record is made first, so that an object that cannot be streamed leaves the file alone.
  std::ostringstream record;
  {
    opstream os(record);
    os.set_self_contained(true);
    writePtr(os, copy.get());
    if (!os.good()) return false;
  }
  const std::string bytes = record.str();
  std::uint64_t index_bytes = 8 + position_bytes * (positions_.size() + 1);
  for (const library_item& item : items_)
    index_bytes += min_item_bytes + item.name.size();
  index_bytes += min_item_bytes + object.get_name().size();
  if (index_pos_ + bytes.size() + index_bytes > std::numeric_limits<std::uint32_t>::max()) {
    return false;
  }

  {
    iconfig_file in(info_);
    if (!still_ours(in)) return false;
  }
  oconfig_file out(info_);
  if (out.fail()) return false;
  const std::uint32_t old_index = index_pos_;
  out.seekp(old_index);
  out.writeBytes(bytes.data(), bytes.size());
  const auto at = items_.begin() + index;
  items_.insert(at, {object.get_name(), type, flag, static_cast<std::int32_t>(positions_.size())});
  positions_.push_back(old_index);
  write_index(out);
  out.close();
  if (out.fail()) {
    // Put the old index back where it was, so that the library reads as before; when even that
    // fails, nothing more is written to the file.
    items_.erase(items_.begin() + index);
    positions_.pop_back();
    index_pos_ = old_index;
    oconfig_file again(info_);
    again.seekp(old_index);
    write_index(again);
    again.close();
    if (again.fail()) state_ = open_state::damaged;
    return false;
  }
  set_dirty(false);
  notify_views(event_added, index);
  return true;
}

bool library_file::destroy(int index) {
  if (!is_writable()) return false;
  if (index < 0 || index >= count()) return true;
  iconfig_file in(info_);
  if (!still_ours(in)) return false;
  oconfig_file out(info_);
  if (out.fail()) return false;
  notify_views(event_removed, index);

  const auto x = static_cast<std::size_t>(items_[static_cast<std::size_t>(index)].xref);
  const std::uint32_t start = positions_[x];
  const std::uint32_t end = x + 1 < positions_.size() ? positions_[x + 1] : index_pos_;
  const std::uint32_t removed = end - start;

  // The objects behind the removed one move down over it as stored bytes, in file order; each
  // is a self-contained record, so it reads on its own at its new place.
  std::string chunk;
  for (std::uint32_t from = end; from < index_pos_ && in.good() && out.good();) {
    chunk.resize(std::min<std::size_t>(move_chunk, index_pos_ - from));
    in.seekg(from);
    in.readBytes(chunk.data(), chunk.size());
    out.seekp(from - removed);
    out.writeBytes(chunk.data(), chunk.size());
    from += static_cast<std::uint32_t>(chunk.size());
  }
  for (std::size_t j = x + 1; j < positions_.size(); ++j)
    positions_[j] -= removed;
  for (library_item& item : items_)
    adjust_xref(item, static_cast<std::int32_t>(x));
  items_.erase(items_.begin() + index);
  positions_.erase(positions_.begin() + static_cast<std::ptrdiff_t>(x));
  out.seekp(index_pos_ - removed);
  write_index(out);
  out.close();
  if (!in.good() || out.fail()) {
    // Part of the file may have moved: nothing more is written to it.
    state_ = open_state::damaged;
    return false;
  }
  set_dirty(false);
  return true;
}

void library_file::adjust_xref(library_item& item, std::int32_t removed) {
  if (item.xref > removed) --item.xref;
}

void library_file::do_add_name_to_list(const library_item& item, string_array& list) {
  list.add(item.name);
}

string_array library_file::name_list() const {
  string_array list(9, 0, 8);
  for (const library_item& item : items_)
    do_add_name_to_list(item, list);
  return list;
}

string_array library_file::name_list(bool flag) const {
  string_array list(9, 0, 8);
  for (const library_item& item : items_) {
    if (item.flag == flag) do_add_name_to_list(item, list);
  }
  return list;
}

string_array library_file::name_list_by_type(int type) const {
  string_array list(9, 0, 8);
  for (const library_item& item : items_) {
    if (item.type == type) do_add_name_to_list(item, list);
  }
  return list;
}

}  // namespace kyo
