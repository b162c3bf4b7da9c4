// Persistent object streams. `opstream` writes little-endian primitives,
// strings and polymorphic objects; `ipstream` reads them back and rebuilds the
// objects through a registry of class names. An object is written once per
// stream and referred back to afterwards, so shared objects and cycles survive
// a round trip. Every object record carries its length and marks its data, so
// a reader can skip or list records without knowing their classes. The byte
// format is described in docs/object-stream.md.
//
//   opstream out(file);
//   writePtr(out, root);              // root and everything it points to
//   ipstream in(file);
//   node* back = nullptr;
//   readPtr(in, back);                // null and in.fail() on bad input
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include <kyo/kyoutils_export.h>

namespace kyo {

class opstream;
class ipstream;

/// Base of every class that can be written to an object stream. A class that
/// reaches it along several paths inherits it virtually.
class KYO_EXPORT streamable {
 public:
  virtual ~streamable();

 protected:
  streamable() = default;
  streamable(const streamable&) = default;
  streamable& operator=(const streamable&) = default;
};

/// Selects the constructor that makes an object ready to be read from a stream.
struct streamable_init_t {
  explicit constexpr streamable_init_t() = default;
};
inline constexpr streamable_init_t streamable_init{};

/// Byte values of the stream format (see docs/object-stream.md).
namespace stream_format {
inline constexpr std::uint8_t null_tag = 0x00;           ///< null pointer
inline constexpr std::uint8_t reference_tag = 0x01;      ///< object written before: u32 number
inline constexpr std::uint8_t object_tag = 0x02;         ///< new object record
inline constexpr std::uint8_t scoped_object_tag = 0x03;  ///< new object opening its own scope
inline constexpr std::uint8_t data_tag = 0x10;           ///< data segment inside a record
inline constexpr std::uint32_t null_string = 0xFFFFFFFFu;
inline constexpr std::size_t max_class_name = 255;
inline constexpr int max_depth = 200;  ///< objects nested deeper are refused
}  // namespace stream_format

/// One persistent class as the registry knows it.
struct stream_class {
  std::string name;
  std::uint32_t version = 1;
  const std::type_info* type = nullptr;
  streamable* (*build)() = nullptr;
  void (*write)(opstream&, const streamable&) = nullptr;
  void (*read)(ipstream&, streamable&, std::uint32_t version) = nullptr;
};

/// The process-wide registry of persistent classes, by name and by type.
class KYO_EXPORT stream_registry {
 public:
  static stream_registry& instance();

  /// Registers a class. Registering the same name for the same type again is
  /// harmless; a name or type already taken by another class is refused.
  bool add(const stream_class& c);
  const stream_class* find(std::string_view name) const;
  const stream_class* find(const std::type_info& type) const;

  stream_registry(const stream_registry&) = delete;
  stream_registry& operator=(const stream_registry&) = delete;

 private:
  stream_registry();
  ~stream_registry();
  struct impl;
  std::unique_ptr<impl> impl_;
};

namespace detail {
template <class T>
constexpr std::uint32_t stream_version() {
  if constexpr (requires { T::Streamer::version; }) {
    return T::Streamer::version;
  } else {
    return 1;
  }
}
}  // namespace detail

/// Registers `T` under `name`. `T` has a constructor taking `streamable_init_t`
/// and a nested `Streamer` with
///   static void Write(opstream&, const T&);
///   static void Read(ipstream&, T&, std::uint32_t version);
/// and optionally `static constexpr std::uint32_t version` (default 1).
/// Define one static instance in the source file that defines the class's
/// destructor (or its first out-of-line virtual function): a static link that
/// uses the class at all then keeps the registration too.
template <class T>
class stream_registration {
 public:
  explicit stream_registration(const char* name) {
    stream_class c;
    c.name = name;
    c.version = detail::stream_version<T>();
    c.type = &typeid(T);
    c.build = []() -> streamable* { return new T(streamable_init); };
    c.write = [](opstream& os, const streamable& obj) {
      T::Streamer::Write(os, dynamic_cast<const T&>(obj));
    };
    c.read = [](ipstream& is, streamable& obj, std::uint32_t version) {
      T::Streamer::Read(is, dynamic_cast<T&>(obj), version);
    };
    stream_registry::instance().add(c);
  }
};

/// Stream state bits; any of them set means the stream has failed.
enum stream_state : unsigned {
  stream_good = 0,
  stream_failbit = 1,  ///< a read or write could not be done
  stream_badbit = 2,   ///< the data are not what they should be
  stream_hardfail = 4  ///< the underlying file or device failed
};

/// Writes primitives, strings and objects. Between top-level objects the
/// stream can be positioned; inside an object it buffers the record so that
/// the record's length can be written in front of it.
class KYO_EXPORT opstream {
 public:
  explicit opstream(std::ostream& os);
  opstream(const opstream&) = delete;
  opstream& operator=(const opstream&) = delete;
  virtual ~opstream();

  void writeByte(std::uint8_t v);
  void writeWord16(std::uint16_t v);
  void writeWord32(std::uint32_t v);
  void writeWord(std::uint32_t v) { writeWord32(v); }
  /// Raw bytes, as they lie in memory.
  void writeBytes(const void* data, std::size_t n);
  /// An IEEE double as 8 bytes, little-endian.
  void writeDouble(double v);
  /// A string; a null pointer is written as the null string.
  void writeString(const char* s);
  void writeString(std::string_view s);
  /// An object pointer: null, a reference to an object already written, or
  /// the object's record. The object's class must be registered.
  void writeObject(const streamable* obj);

  [[nodiscard]] bool good() const noexcept { return state_ == stream_good; }
  [[nodiscard]] bool fail() const noexcept { return state_ != stream_good; }
  explicit operator bool() const noexcept { return good(); }
  [[nodiscard]] unsigned rdstate() const noexcept { return state_; }
  /// Adds state bits; the first failure's reason is kept for error().
  void setstate(unsigned bits, std::string_view why = {});
  /// Why the stream failed, empty while it is good.
  [[nodiscard]] const std::string& error() const noexcept { return error_; }

  /// Position of the underlying stream; -1 inside an object.
  std::streampos tellp();
  opstream& seekp(std::streampos pos);
  opstream& seekp(std::streamoff off, std::ios_base::seekdir dir);
  void flush();

  /// When on, every object written at top level opens its own scope: it never
  /// refers to objects of earlier records, so it can be read on its own (files
  /// edited in place, such as shape libraries).
  void set_self_contained(bool on) noexcept { self_contained_ = on; }

 protected:
  opstream();
  void attach(std::ostream* os) noexcept { os_ = os; }

 private:
  struct frame {
    std::size_t length_at;
    std::size_t segment_at;
  };
  void put(const void* data, std::size_t n);
  void close_segment();
  void begin_object(const streamable& obj);

  std::ostream* os_ = nullptr;
  unsigned state_ = stream_good;
  std::string error_;
  std::string record_;
  std::vector<frame> frames_;
  std::unordered_map<const void*, std::uint32_t> ids_;
  bool self_contained_ = false;
};

/// Reads what an opstream wrote. Every read is bounded by the record it lies in
/// and by the input's length; on bad input the stream fails, reads return zero,
/// null or nothing, and nothing is allocated beyond what the input can hold.
/// A file that grows while it is being read (another stream writing to it) is
/// measured again when a read at top level needs more than was there.
class KYO_EXPORT ipstream {
 public:
  explicit ipstream(std::istream& is);
  ipstream(const ipstream&) = delete;
  ipstream& operator=(const ipstream&) = delete;
  virtual ~ipstream();

  std::uint8_t readByte();
  std::uint16_t readWord16();
  std::uint32_t readWord32();
  std::uint32_t readWord() { return readWord32(); }
  /// Raw bytes; on failure the destination is zero-filled.
  void readBytes(void* data, std::size_t n);
  double readDouble();
  /// A string; std::nullopt for the null string and on failure (see good()).
  std::optional<std::string> readString();

  /// An object pointer. A new object is built through the registry; a reference
  /// returns an object read before. Null for a null pointer and on failure.
  /// Ownership: an object read at top level belongs to the caller. An object
  /// read inside another object's record is the reading class's to claim (see
  /// claim()). When a top-level read fails, every object it built that nobody
  /// claimed is deleted (newest first) before the read returns, and with it
  /// whatever those objects own.
  streamable* readObject() { return read_object<streamable>(); }

  /// An object pointer checked against `T`: a pointer of another class fails
  /// the stream and yields null.
  template <class T>
  T* read_object() {
    const bool top = frames_.empty();
    T* result = nullptr;
    if (streamable* s = read_object_record()) {
      result = dynamic_cast<T*>(s);
      if (result == nullptr) cast_failed(*s, typeid(T));
    }
    if (top) finish_top_level();
    return good() ? result : nullptr;
  }

  /// Reads the record of an object into `obj`, which must be of the record's
  /// class. False and failed on a null pointer, a reference or another class.
  bool read_into(streamable& obj);

  /// Declares that the object being read has taken ownership of `obj`, a
  /// pointer read from this stream (a parent adopting a child, an owning list
  /// its member): a failed read then leaves its deletion to the owner. A class
  /// that owns a pointer it read must claim it, or a failed read deletes it
  /// twice. Claiming an object not built by the current read does nothing.
  void claim(const streamable* obj) noexcept;

  /// Checks that `count` items of at least `min_bytes` bytes each can still be
  /// in the input; fails the stream and returns false when they cannot.
  bool check_count(std::uint64_t count, std::uint64_t min_bytes);
  /// Bytes left in the current object record, or in the input at top level
  /// (UINT64_MAX when the input's length is unknown).
  [[nodiscard]] std::uint64_t remaining() const noexcept;

  [[nodiscard]] bool good() const noexcept { return state_ == stream_good; }
  [[nodiscard]] bool fail() const noexcept { return state_ != stream_good; }
  [[nodiscard]] bool bad() const noexcept {
    return (state_ & (stream_badbit | stream_hardfail)) != 0;
  }
  explicit operator bool() const noexcept { return good(); }
  [[nodiscard]] unsigned rdstate() const noexcept { return state_; }
  /// Adds state bits; the first failure's reason is kept for error().
  void setstate(unsigned bits, std::string_view why = {});
  /// Clears the state and forgets the objects read so far.
  void clear();
  [[nodiscard]] const std::string& error() const noexcept { return error_; }

  /// Position in the underlying stream.
  std::streampos tellg() const noexcept { return static_cast<std::streamoff>(pos_); }
  /// Positions the input; only between top-level objects.
  ipstream& seekg(std::streampos pos);
  ipstream& seekg(std::streamoff off, std::ios_base::seekdir dir);

 protected:
  ipstream();
  void attach(std::istream* is);

 private:
  struct frame {
    std::uint64_t end;
    std::uint64_t segment_left;
  };
  bool available(std::uint64_t n);
  bool raw(void* data, std::size_t n);
  bool take(void* data, std::size_t n);
  bool skip_to(std::uint64_t pos);
  [[nodiscard]] std::uint64_t limit() const noexcept;
  streamable* read_object_record();
  streamable* read_new_object(bool scoped);
  bool read_record_header(std::string& name, std::uint32_t& version, std::uint32_t& length);
  /// Skips items up to `end`, `depth` records deep, numbering the objects among them.
  bool skip_items(std::uint64_t end, std::size_t depth);
  bool read_body(const stream_class& cls, streamable& obj, const std::string& name,
                 std::uint32_t version, std::uint32_t length);
  void finish_top_level() noexcept;
  void cast_failed(const streamable& obj, const std::type_info& wanted);
  void fail_at(unsigned bits, std::string_view why);

  std::istream* is_ = nullptr;
  unsigned state_ = stream_good;
  std::string error_;
  std::uint64_t pos_ = 0;
  std::uint64_t size_ = UINT64_MAX;
  std::vector<frame> frames_;
  std::vector<streamable*> objects_;
  // Objects built by the current top-level read that nobody has claimed yet.
  std::vector<streamable*> unclaimed_;
};

/// An opstream on a file of its own. Paths are DOS-style texts or native paths;
/// they are opened through native_path().
class KYO_EXPORT ofpstream : public opstream {
 public:
  /// truncate: the file is emptied; keep: an existing file keeps its bytes
  /// and writing starts at its beginning (a missing file is created; an
  /// existing file that cannot be opened for reading and writing is left alone
  /// and the stream fails).
  enum class open_mode { truncate, keep };

  ofpstream();
  explicit ofpstream(const std::string& path, open_mode mode = open_mode::truncate);
  ~ofpstream() override;

  void open(const std::string& path, open_mode mode = open_mode::truncate);
  [[nodiscard]] bool is_open() const { return file_.is_open(); }
  void close();

 private:
  std::fstream file_;
};

/// An ipstream on a file of its own, opened through native_path().
class KYO_EXPORT ifpstream : public ipstream {
 public:
  ifpstream();
  explicit ifpstream(const std::string& path);
  ~ifpstream() override;

  void open(const std::string& path);
  [[nodiscard]] bool is_open() const { return file_.is_open(); }
  void close();

 private:
  std::ifstream file_;
};

/// Writes the part of `obj` that `Base` streams, preceded by Base's class
/// version as a 32-bit word: how a derived class writes its base part.
template <class Base, class T>
void write_base(opstream& os, const T& obj) {
  os.writeWord32(detail::stream_version<Base>());
  Base::Streamer::Write(os, static_cast<const Base&>(obj));
}

/// Reads a base part written by write_base.
template <class Base, class T>
void read_base(ipstream& is, T& obj) {
  const std::uint32_t version = is.readWord32();
  if (is.good()) Base::Streamer::Read(is, static_cast<Base&>(obj), version);
}

template <class T>
concept streamable_class = std::derived_from<T, streamable>;

template <streamable_class T>
void writePtr(opstream& os, const T* p) {
  os.writeObject(p);
}
template <streamable_class T>
void writeRef(opstream& os, const T& r) {
  os.writeObject(&r);
}
/// Reads an object pointer with a checked cast to T; null on failure.
template <streamable_class T>
void readPtr(ipstream& is, T*& p) {
  p = is.read_object<T>();
}
template <streamable_class T>
void readRef(ipstream& is, T& r) {
  is.read_into(r);
}

template <streamable_class T>
opstream& operator<<(opstream& os, const T* p) {
  os.writeObject(p);
  return os;
}
template <streamable_class T>
opstream& operator<<(opstream& os, const T& r) {
  os.writeObject(&r);
  return os;
}
template <streamable_class T>
ipstream& operator>>(ipstream& is, T*& p) {
  p = is.read_object<T>();
  return is;
}
template <streamable_class T>
ipstream& operator>>(ipstream& is, T& r) {
  is.read_into(r);
  return is;
}

/// The string form: a 32-bit length and the bytes.
KYO_EXPORT opstream& operator<<(opstream& os, const std::string& s);
/// Reads a string; the null string reads as empty.
KYO_EXPORT ipstream& operator>>(ipstream& is, std::string& s);

}  // namespace kyo
