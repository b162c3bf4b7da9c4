#include <kyo/core/object_stream.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <filesystem>
#include <istream>
#include <map>
#include <mutex>
#include <ostream>
#include <typeindex>

#include <kyo/platform/path_map.h>

namespace kyo {

namespace sf = stream_format;

namespace {

// Everything on the stream is little-endian, whatever the host.
template <class U>
void store_le(unsigned char* out, U v) {
  for (std::size_t i = 0; i < sizeof(U); ++i) {
    out[i] = static_cast<unsigned char>(v >> (8 * i));
  }
}

template <class U>
U load_le(const unsigned char* in) {
  U v = 0;
  for (std::size_t i = 0; i < sizeof(U); ++i)
    v |= static_cast<U>(static_cast<U>(in[i]) << (8 * i));
  return v;
}

std::string describe_type(const std::type_info& type) {
  if (const stream_class* c = stream_registry::instance().find(type)) return "'" + c->name + "'";
  return std::string("a C++ type ") + type.name();
}

}  // namespace

streamable::~streamable() = default;

// ---------------------------------------------------------------------------
// Registry

struct stream_registry::impl {
  mutable std::mutex mutex;
  // Entries are never removed, so the pointers handed out stay valid.
  std::map<std::string, std::unique_ptr<stream_class>, std::less<>> by_name;
  std::map<std::type_index, const stream_class*> by_type;
};

stream_registry::stream_registry() : impl_(std::make_unique<impl>()) {}
stream_registry::~stream_registry() = default;

stream_registry& stream_registry::instance() {
  static stream_registry registry;
  return registry;
}

bool stream_registry::add(const stream_class& c) {
  if (c.name.empty() || c.name.size() > sf::max_class_name || c.type == nullptr) return false;
  std::lock_guard lock(impl_->mutex);
  auto named = impl_->by_name.find(c.name);
  auto typed = impl_->by_type.find(std::type_index(*c.type));
  if (named != impl_->by_name.end() || typed != impl_->by_type.end()) {
    return named != impl_->by_name.end() && typed != impl_->by_type.end() &&
           typed->second == named->second.get();
  }
  auto entry = std::make_unique<stream_class>(c);
  impl_->by_type.emplace(std::type_index(*c.type), entry.get());
  impl_->by_name.emplace(c.name, std::move(entry));
  return true;
}

const stream_class* stream_registry::find(std::string_view name) const {
  std::lock_guard lock(impl_->mutex);
  auto it = impl_->by_name.find(name);
  return it == impl_->by_name.end() ? nullptr : it->second.get();
}

const stream_class* stream_registry::find(const std::type_info& type) const {
  std::lock_guard lock(impl_->mutex);
  auto it = impl_->by_type.find(std::type_index(type));
  return it == impl_->by_type.end() ? nullptr : it->second;
}

// ---------------------------------------------------------------------------
// opstream

opstream::opstream() = default;
opstream::opstream(std::ostream& os) : os_(&os) {}

opstream::~opstream() {
  if (os_ != nullptr && frames_.empty()) os_->flush();
}

void opstream::setstate(unsigned bits, std::string_view why) {
  if (state_ == stream_good && error_.empty()) error_ = why.empty() ? "write failed" : why;
  state_ |= bits;
}

void opstream::put(const void* data, std::size_t n) {
  if (fail() || n == 0) return;
  if (frames_.empty()) {
    if (os_ == nullptr || !os_->write(static_cast<const char*>(data), std::streamsize(n))) {
      setstate(stream_hardfail, "the output could not be written");
    }
    return;
  }
  frame& f = frames_.back();
  if (f.segment_at == std::string::npos) {
    record_.push_back(char(sf::data_tag));
    f.segment_at = record_.size();
    record_.append(4, '\0');
  }
  record_.append(static_cast<const char*>(data), n);
}

void opstream::close_segment() {
  frame& f = frames_.back();
  if (f.segment_at == std::string::npos) return;
  const std::size_t length = record_.size() - f.segment_at - 4;
  if (length > UINT32_MAX) {
    setstate(stream_badbit, "a data segment is larger than 4 GiB");
    return;
  }
  store_le(reinterpret_cast<unsigned char*>(record_.data() + f.segment_at),
           static_cast<std::uint32_t>(length));
  f.segment_at = std::string::npos;
}

void opstream::writeByte(std::uint8_t v) {
  put(&v, 1);
}

void opstream::writeWord16(std::uint16_t v) {
  unsigned char b[2];
  store_le(b, v);
  put(b, 2);
}

void opstream::writeWord32(std::uint32_t v) {
  unsigned char b[4];
  store_le(b, v);
  put(b, 4);
}

void opstream::writeBytes(const void* data, std::size_t n) {
  put(data, n);
}

void opstream::writeDouble(double v) {
  unsigned char b[8];
  store_le(b, std::bit_cast<std::uint64_t>(v));
  put(b, 8);
}

void opstream::writeString(const char* s) {
  if (s == nullptr) {
    writeWord32(sf::null_string);
  } else {
    writeString(std::string_view(s));
  }
}

void opstream::writeString(std::string_view s) {
  if (s.size() >= sf::null_string) {
    setstate(stream_badbit, "a string is too long for the stream");
    return;
  }
  writeWord32(static_cast<std::uint32_t>(s.size()));
  put(s.data(), s.size());
}

void opstream::writeObject(const streamable* obj) {
  if (fail()) return;
  const bool top = frames_.empty();
  if (!top) close_segment();
  // Null pointers and references are items of their own, never data.
  auto put_item = [&](const unsigned char* bytes, std::size_t n) {
    if (top) {
      put(bytes, n);
    } else {
      record_.append(reinterpret_cast<const char*>(bytes), n);
    }
  };
  if (obj == nullptr) {
    const unsigned char tag = sf::null_tag;
    put_item(&tag, 1);
    return;
  }
  if (top && self_contained_) ids_.clear();
  if (auto it = ids_.find(dynamic_cast<const void*>(obj)); it != ids_.end()) {
    unsigned char b[5];
    b[0] = sf::reference_tag;
    store_le(b + 1, it->second);
    put_item(b, 5);
    return;
  }
  begin_object(*obj);
}

void opstream::begin_object(const streamable& obj) {
  const stream_class* cls = stream_registry::instance().find(typeid(obj));
  if (cls == nullptr || cls->write == nullptr) {
    setstate(stream_badbit,
             "cannot write " + describe_type(typeid(obj)) + ": class not registered");
    return;
  }
  if (frames_.size() >= std::size_t(sf::max_depth)) {
    setstate(stream_badbit, "objects nested too deeply");
    return;
  }
  const bool top = frames_.empty();
  if (ids_.size() >= UINT32_MAX) {
    setstate(stream_badbit, "too many objects in one stream");
    return;
  }
  // The object is numbered before its data are written, so that anything it
  // points to can refer back to it (a child's pointer to its parent).
  ids_.emplace(dynamic_cast<const void*>(&obj), static_cast<std::uint32_t>(ids_.size()));

  record_.push_back(char(top && self_contained_ ? sf::scoped_object_tag : sf::object_tag));
  unsigned char b[4];
  store_le(b, static_cast<std::uint32_t>(cls->name.size()));
  record_.append(reinterpret_cast<const char*>(b), 4);
  record_.append(cls->name);
  store_le(b, cls->version);
  record_.append(reinterpret_cast<const char*>(b), 4);
  frames_.push_back({record_.size(), std::string::npos});
  record_.append(4, '\0');

  cls->write(*this, obj);

  close_segment();
  const std::size_t length = record_.size() - frames_.back().length_at - 4;
  if (length > UINT32_MAX) setstate(stream_badbit, "an object record is larger than 4 GiB");
  store_le(reinterpret_cast<unsigned char*>(record_.data() + frames_.back().length_at),
           static_cast<std::uint32_t>(length));
  frames_.pop_back();

  if (frames_.empty()) {
    if (good() &&
        (os_ == nullptr || !os_->write(record_.data(), std::streamsize(record_.size())))) {
      setstate(stream_hardfail, "the output could not be written");
    }
    record_.clear();
  }
}

std::streampos opstream::tellp() {
  if (!frames_.empty() || os_ == nullptr) return std::streampos(-1);
  return os_->tellp();
}

opstream& opstream::seekp(std::streampos pos) {
  if (!frames_.empty() || os_ == nullptr) {
    setstate(stream_failbit, "cannot position the output inside an object");
  } else if (!os_->seekp(pos)) {
    setstate(stream_failbit, "cannot position the output");
  }
  return *this;
}

opstream& opstream::seekp(std::streamoff off, std::ios_base::seekdir dir) {
  if (!frames_.empty() || os_ == nullptr) {
    setstate(stream_failbit, "cannot position the output inside an object");
  } else if (!os_->seekp(off, dir)) {
    setstate(stream_failbit, "cannot position the output");
  }
  return *this;
}

void opstream::flush() {
  if (os_ != nullptr && frames_.empty() && !os_->flush()) {
    setstate(stream_hardfail, "the output could not be written");
  }
}

opstream& operator<<(opstream& os, const std::string& s) {
  os.writeString(std::string_view(s));
  return os;
}

// ---------------------------------------------------------------------------
// ipstream

ipstream::ipstream() = default;

ipstream::ipstream(std::istream& is) {
  attach(&is);
}

ipstream::~ipstream() = default;

void ipstream::attach(std::istream* is) {
  is_ = is;
  frames_.clear();
  objects_.clear();
  pos_ = 0;
  size_ = UINT64_MAX;
  if (is_ == nullptr || !*is_) return;
  // Knowing where the input ends bounds every count and length read from it.
  const std::streampos here = is_->tellg();
  if (here == std::streampos(-1)) {
    is_->clear();
    return;
  }
  pos_ = static_cast<std::uint64_t>(std::streamoff(here));
  if (is_->seekg(0, std::ios_base::end)) {
    const std::streampos end = is_->tellg();
    if (end != std::streampos(-1)) size_ = static_cast<std::uint64_t>(std::streamoff(end));
  }
  is_->clear();
  is_->seekg(here);
}

void ipstream::fail_at(unsigned bits, std::string_view why) {
  if (state_ == stream_good && error_.empty()) {
    error_ = std::string(why) + " (at offset " + std::to_string(pos_) + ")";
  }
  state_ |= bits;
}

void ipstream::setstate(unsigned bits, std::string_view why) {
  if (state_ == stream_good && error_.empty()) error_ = why.empty() ? "read failed" : why;
  state_ |= bits;
}

void ipstream::clear() {
  state_ = stream_good;
  error_.clear();
  frames_.clear();
  objects_.clear();
  if (is_ != nullptr) is_->clear();
}

std::uint64_t ipstream::limit() const noexcept {
  return frames_.empty() ? size_ : frames_.back().end;
}

std::uint64_t ipstream::remaining() const noexcept {
  const std::uint64_t end = limit();
  if (end == UINT64_MAX) return UINT64_MAX;
  return end > pos_ ? end - pos_ : 0;
}

bool ipstream::available(std::uint64_t n) {
  if (n <= remaining()) return true;
  // At top level the input may be a file that another stream has written to
  // since it was measured (shape libraries read and write one file at once).
  if (!frames_.empty() || size_ == UINT64_MAX || is_ == nullptr) return false;
  const std::streampos here = is_->tellg();
  if (here == std::streampos(-1) || !is_->seekg(0, std::ios_base::end)) {
    is_->clear();
    return false;
  }
  const std::streampos end = is_->tellg();
  is_->clear();
  is_->seekg(here);
  if (end != std::streampos(-1)) size_ = static_cast<std::uint64_t>(std::streamoff(end));
  return n <= remaining();
}

bool ipstream::check_count(std::uint64_t count, std::uint64_t min_bytes) {
  if (fail()) return false;
  if (count > 0 && min_bytes > 0 && count <= UINT64_MAX / min_bytes) available(count * min_bytes);
  const std::uint64_t left = remaining();
  if (left == UINT64_MAX || count == 0) return true;
  if (min_bytes == 0) min_bytes = 1;
  if (count > left / min_bytes) {
    fail_at(stream_badbit,
            "a count of " + std::to_string(count) + " is larger than what is left of the input");
    return false;
  }
  return true;
}

bool ipstream::raw(void* data, std::size_t n) {
  if (fail()) return false;
  if (n == 0) return true;
  if (!available(n)) {
    fail_at(stream_failbit | stream_badbit,
            frames_.empty() ? "unexpected end of input" : "read past the end of an object");
    return false;
  }
  if (is_ == nullptr || !is_->read(static_cast<char*>(data), std::streamsize(n))) {
    pos_ += is_ != nullptr ? static_cast<std::uint64_t>(is_->gcount()) : 0;
    fail_at(stream_failbit | stream_badbit, "unexpected end of input");
    return false;
  }
  pos_ += n;
  return true;
}

bool ipstream::take(void* data, std::size_t n) {
  if (frames_.empty()) return raw(data, n);
  auto* out = static_cast<unsigned char*>(data);
  while (n > 0) {
    frame& f = frames_.back();
    if (f.segment_left == 0) {
      unsigned char head[5];
      if (!raw(head, 1)) return false;
      if (head[0] != sf::data_tag) {
        fail_at(stream_failbit | stream_badbit, "expected data, found an object pointer");
        return false;
      }
      if (!raw(head + 1, 4)) return false;
      const std::uint32_t length = load_le<std::uint32_t>(head + 1);
      if (length == 0) {
        fail_at(stream_badbit, "an empty data segment");
        return false;
      }
      if (length > remaining()) {
        fail_at(stream_badbit, "a data segment runs past the end of its object");
        return false;
      }
      f.segment_left = length;
    }
    const std::size_t k = static_cast<std::size_t>(std::min<std::uint64_t>(n, f.segment_left));
    if (!raw(out, k)) return false;
    f.segment_left -= k;
    out += k;
    n -= k;
  }
  return true;
}

bool ipstream::skip_to(std::uint64_t target) {
  if (pos_ >= target) return true;
  const std::uint64_t n = target - pos_;
  if (is_ == nullptr || !is_->ignore(std::streamsize(n)) || is_->gcount() != std::streamsize(n)) {
    fail_at(stream_failbit | stream_badbit, "unexpected end of input");
    return false;
  }
  pos_ = target;
  return true;
}

std::uint8_t ipstream::readByte() {
  unsigned char b = 0;
  return take(&b, 1) ? b : 0;
}

std::uint16_t ipstream::readWord16() {
  unsigned char b[2];
  return take(b, 2) ? load_le<std::uint16_t>(b) : 0;
}

std::uint32_t ipstream::readWord32() {
  unsigned char b[4];
  return take(b, 4) ? load_le<std::uint32_t>(b) : 0;
}

void ipstream::readBytes(void* data, std::size_t n) {
  if (!take(data, n) && n > 0) std::memset(data, 0, n);
}

double ipstream::readDouble() {
  unsigned char b[8];
  return take(b, 8) ? std::bit_cast<double>(load_le<std::uint64_t>(b)) : 0.0;
}

std::optional<std::string> ipstream::readString() {
  const std::uint32_t length = readWord32();
  if (fail() || length == sf::null_string) return std::nullopt;
  if (!available(length)) {
    fail_at(stream_badbit, "a string of " + std::to_string(length) +
                               " bytes is longer than what is left of the input");
    return std::nullopt;
  }
  // When the input's length is unknown, grow with what actually arrives.
  std::string s;
  std::uint32_t done = 0;
  constexpr std::uint32_t chunk = 64 * 1024;
  while (done < length) {
    const std::uint32_t k = std::min(chunk, length - done);
    s.resize(done + k);
    if (!take(s.data() + done, k)) return std::nullopt;
    done += k;
  }
  return s;
}

ipstream& operator>>(ipstream& is, std::string& s) {
  s = is.readString().value_or(std::string());
  return is;
}

streamable* ipstream::read_object_record() {
  if (fail()) return nullptr;
  if (!frames_.empty() && frames_.back().segment_left != 0) {
    fail_at(stream_failbit | stream_badbit, "expected an object pointer, found data");
    return nullptr;
  }
  unsigned char tag = 0;
  if (!raw(&tag, 1)) return nullptr;
  switch (tag) {
    case sf::null_tag:
      return nullptr;
    case sf::reference_tag: {
      unsigned char b[4];
      if (!raw(b, 4)) return nullptr;
      const std::uint32_t id = load_le<std::uint32_t>(b);
      if (id >= objects_.size()) {
        fail_at(stream_badbit,
                "reference to object #" + std::to_string(id) + ", which has not been read");
        return nullptr;
      }
      if (objects_[id] == nullptr) {
        fail_at(stream_badbit, "reference to object #" + std::to_string(id) +
                                   ", which lies in data of a newer version that was skipped");
        return nullptr;
      }
      return objects_[id];
    }
    case sf::object_tag:
      return read_new_object(false);
    case sf::scoped_object_tag:
      if (!frames_.empty()) {
        fail_at(stream_badbit, "a self-contained record inside another object");
        return nullptr;
      }
      return read_new_object(true);
    default:
      fail_at(stream_badbit, "unknown record tag " + std::to_string(unsigned(tag)));
      return nullptr;
  }
}

bool ipstream::read_record_header(std::string& name, std::uint32_t& version,
                                  std::uint32_t& length) {
  unsigned char b[4];
  if (!raw(b, 4)) return false;
  const std::uint32_t name_length = load_le<std::uint32_t>(b);
  if (name_length == 0 || name_length > sf::max_class_name) {
    fail_at(stream_badbit, "bad class name length " + std::to_string(name_length));
    return false;
  }
  name.assign(name_length, '\0');
  if (!raw(name.data(), name_length) || !raw(b, 4)) return false;
  version = load_le<std::uint32_t>(b);
  if (!raw(b, 4)) return false;
  length = load_le<std::uint32_t>(b);
  if (!available(length)) {
    fail_at(stream_badbit, "the record of '" + name + "' runs past the end of the input");
    return false;
  }
  if (frames_.size() >= std::size_t(sf::max_depth)) {
    fail_at(stream_badbit, "objects nested too deeply");
    return false;
  }
  return true;
}

bool ipstream::read_body(const stream_class& cls, streamable& obj, const std::string& name,
                         std::uint32_t version, std::uint32_t length) {
  // Numbered before its data are read, so that objects it owns can point back to it.
  objects_.push_back(&obj);
  frames_.push_back({pos_ + length, 0});
  try {
    cls.read(*this, obj, version);
  } catch (const std::exception& e) {
    fail_at(stream_badbit, "reading '" + name + "' failed: " + e.what());
  }
  const frame done = frames_.back();
  frames_.pop_back();
  // What a newer version added behind what this reader knows is skipped: the rest of the data
  // segment it stopped in, then whole items.
  if (good() && (done.segment_left == 0 || skip_to(pos_ + done.segment_left))) {
    skip_items(done.end, frames_.size() + 1);
  }
  return good();
}

bool ipstream::skip_items(std::uint64_t end, std::size_t depth) {
  const auto need = [&](std::uint64_t n) {
    if (end - pos_ >= n) return true;
    fail_at(stream_badbit, "an item runs past the end of its object");
    return false;
  };
  unsigned char b[4];
  while (pos_ < end) {
    unsigned char tag = 0;
    if (!raw(&tag, 1)) return false;
    switch (tag) {
      case sf::null_tag:
        break;
      case sf::reference_tag:
        if (!need(4) || !raw(b, 4)) return false;
        break;
      case sf::data_tag: {
        if (!need(4) || !raw(b, 4)) return false;
        const std::uint32_t length = load_le<std::uint32_t>(b);
        if (length == 0 || !need(length)) {
          if (length == 0) fail_at(stream_badbit, "an empty data segment");
          return false;
        }
        if (!skip_to(pos_ + length)) return false;
        break;
      }
      case sf::object_tag: {
        if (depth >= std::size_t(sf::max_depth)) {
          fail_at(stream_badbit, "objects nested too deeply");
          return false;
        }
        std::string name;
        std::uint32_t version = 0, length = 0;
        if (!read_record_header(name, version, length) || !need(length)) return false;
        // Numbered like every object record, so that later references find the objects the
        // writer numbered after it; a reference to the placeholder itself fails.
        objects_.push_back(nullptr);
        if (!skip_items(pos_ + length, depth + 1)) return false;
        break;
      }
      default:
        fail_at(stream_badbit, "unknown record tag " + std::to_string(unsigned(tag)));
        return false;
    }
  }
  return true;
}

streamable* ipstream::read_new_object(bool scoped) {
  std::string name;
  std::uint32_t version = 0, length = 0;
  if (!read_record_header(name, version, length)) return nullptr;
  const stream_class* cls = stream_registry::instance().find(name);
  if (cls == nullptr || cls->build == nullptr || cls->read == nullptr) {
    fail_at(stream_badbit, "unknown class '" + name + "'");
    return nullptr;
  }
  if (scoped) objects_.clear();
  streamable* obj = cls->build();
  unclaimed_.push_back(obj);
  // A half-read object is never handed out; if nobody claimed it, it goes when
  // the top-level read ends.
  return read_body(*cls, *obj, name, version, length) ? obj : nullptr;
}

void ipstream::claim(const streamable* obj) noexcept {
  for (auto it = unclaimed_.rbegin(); it != unclaimed_.rend(); ++it) {
    if (*it == obj) {
      unclaimed_.erase(std::next(it).base());
      return;
    }
  }
}

void ipstream::finish_top_level() noexcept {
  if (fail()) {
    // Newest first: an object may still refer to older ones while it goes, never
    // to newer ones it did not own. Its entries in the object table die with it.
    while (!unclaimed_.empty()) {
      streamable* obj = unclaimed_.back();
      unclaimed_.pop_back();
      delete obj;
    }
    objects_.clear();
    return;
  }
  // What the caller got is the caller's; anything else nobody claimed (a parent
  // written inside its child's record) stays reachable through it.
  unclaimed_.clear();
}

void ipstream::cast_failed(const streamable& obj, const std::type_info& wanted) {
  fail_at(stream_badbit, "found " + describe_type(typeid(obj)) + " where " + describe_type(wanted) +
                             " was expected");
}

bool ipstream::read_into(streamable& obj) {
  if (fail()) return false;
  const bool top = frames_.empty();
  if (!top && frames_.back().segment_left != 0) {
    fail_at(stream_failbit | stream_badbit, "expected an object, found data");
    return false;
  }
  unsigned char tag = 0;
  if (!raw(&tag, 1)) return false;
  if (tag != sf::object_tag && !(tag == sf::scoped_object_tag && top)) {
    fail_at(stream_badbit, "expected an object record");
    return false;
  }
  std::string name;
  std::uint32_t version = 0, length = 0;
  if (!read_record_header(name, version, length)) return false;
  const stream_class* cls = stream_registry::instance().find(typeid(obj));
  if (cls == nullptr || cls->name != name) {
    fail_at(stream_badbit,
            "found '" + name + "' where " + describe_type(typeid(obj)) + " was expected");
    return false;
  }
  if (tag == sf::scoped_object_tag) objects_.clear();
  const bool ok = read_body(*cls, obj, name, version, length);
  if (top) finish_top_level();
  return ok;
}

ipstream& ipstream::seekg(std::streampos pos) {
  if (!frames_.empty() || is_ == nullptr) {
    setstate(stream_failbit, "cannot position the input inside an object");
    return *this;
  }
  is_->clear();
  if (!is_->seekg(pos)) {
    fail_at(stream_failbit, "cannot position the input");
  } else {
    pos_ = static_cast<std::uint64_t>(std::streamoff(pos));
  }
  return *this;
}

ipstream& ipstream::seekg(std::streamoff off, std::ios_base::seekdir dir) {
  if (!frames_.empty() || is_ == nullptr) {
    setstate(stream_failbit, "cannot position the input inside an object");
    return *this;
  }
  is_->clear();
  if (!is_->seekg(off, dir)) {
    fail_at(stream_failbit, "cannot position the input");
    return *this;
  }
  const std::streampos here = is_->tellg();
  if (here == std::streampos(-1)) {
    fail_at(stream_failbit, "cannot position the input");
  } else {
    pos_ = static_cast<std::uint64_t>(std::streamoff(here));
  }
  return *this;
}

// ---------------------------------------------------------------------------
// File variants

ofpstream::ofpstream() {
  attach(&file_);
}

ofpstream::ofpstream(const std::string& path, open_mode mode) : ofpstream() {
  open(path, mode);
}

ofpstream::~ofpstream() {
  close();
}

void ofpstream::open(const std::string& path, open_mode mode) {
  close();
  const std::string native = native_path(path);
  if (mode == open_mode::keep) {
    file_.open(native, std::ios_base::in | std::ios_base::out | std::ios_base::binary);
    std::error_code ec;
    // Only a file that is not there may be created: opening for output alone
    // would empty an existing file that cannot be read.
    if (!file_.is_open() && !std::filesystem::exists(native, ec) && !ec) {
      file_.clear();
      file_.open(native, std::ios_base::out | std::ios_base::binary);
    }
  } else {
    file_.open(native, std::ios_base::out | std::ios_base::trunc | std::ios_base::binary);
  }
  if (!file_.is_open()) setstate(stream_failbit | stream_hardfail, "cannot open '" + path + "'");
}

void ofpstream::close() {
  if (!file_.is_open()) return;
  if (!file_.flush()) setstate(stream_hardfail, "the output could not be written");
  file_.close();
}

ifpstream::ifpstream() = default;

ifpstream::ifpstream(const std::string& path) {
  open(path);
}

ifpstream::~ifpstream() = default;

void ifpstream::open(const std::string& path) {
  if (file_.is_open()) file_.close();
  file_.clear();
  file_.open(native_path(path), std::ios_base::in | std::ios_base::binary);
  if (!file_.is_open()) {
    attach(nullptr);
    setstate(stream_failbit | stream_hardfail, "cannot open '" + path + "'");
    return;
  }
  attach(&file_);
}

void ifpstream::close() {
  if (file_.is_open()) file_.close();
}

}  // namespace kyo
