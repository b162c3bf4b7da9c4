// Building blocks of hand-made object streams, after the byte format of docs/object-stream.md:
// little-endian words, strings, data segments, object records, references and nulls. Tests use
// them to write exact expected bytes and to describe damaged or impossible streams; `written` and
// `read_back` take objects to bytes and back.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

#include <kyo/core/object_stream.h>

namespace kyo::test {

/// The objects written as pointers to one stream, in order.
template <class... T>
std::string written(const T*... objects) {
  std::ostringstream out;
  opstream os(out);
  (writePtr(os, objects), ...);
  EXPECT_TRUE(os.good()) << os.error();
  return out.str();
}

/// The object of class T read from `bytes`; null, with the stream's reason in `error`, when the
/// read fails.
template <class T>
T* read_back(const std::string& bytes, std::string* error = nullptr) {
  std::istringstream in(bytes);
  ipstream is(in);
  T* object = nullptr;
  readPtr(is, object);
  if (error != nullptr) *error = is.error();
  EXPECT_EQ(object == nullptr, is.fail()) << is.error();
  return object;
}

/// The root of the tree that `node` belongs to.
template <class T>
T* root_of(T* node) {
  while (node->get_parent() != nullptr)
    node = node->get_parent();
  return node;
}

}  // namespace kyo::test

namespace kyo::test::bytes {

/// A 32-bit little-endian word.
inline std::string le32(std::uint32_t v) {
  return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)};
}

/// A string as the stream writes it: its length, then its bytes.
inline std::string str(std::string_view s) {
  return le32(std::uint32_t(s.size())) + std::string(s);
}

/// A data segment holding `data`.
inline std::string seg(std::string_view data) {
  return "\x10" + le32(std::uint32_t(data.size())) + std::string(data);
}

/// An object record of class `cls` (version `version`) around `body`.
inline std::string rec(std::string_view cls, std::string_view body, std::uint32_t version = 1) {
  return "\x02" + str(cls) + le32(version) + le32(std::uint32_t(body.size())) + std::string(body);
}

/// A reference to object number `id`.
inline std::string ref(std::uint32_t id) {
  return "\x01" + le32(id);
}

/// A null pointer.
inline const std::string null_ptr(1, '\0');

/// A configuration file header: the signature and its NUL, the version padded with NULs to
/// 8 bytes, then 0x1A.
inline std::string config_header(std::string_view signature, std::string_view version) {
  std::string v(version);
  v.resize(8, '\0');
  return std::string(signature) + '\0' + v + '\x1A';
}

}  // namespace kyo::test::bytes
