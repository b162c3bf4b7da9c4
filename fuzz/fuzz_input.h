// Splits a fuzzer's bytes into the values a target needs: numbers from the
// front, the rest as text. Short inputs give zeros, never a read past the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace kyo::fuzz {

class input {
 public:
  input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  template <class T>
  T take() {
    T v{};
    const std::size_t n = size_ < sizeof v ? size_ : sizeof v;
    if (n > 0) std::memcpy(&v, data_, n);
    data_ += n;
    size_ -= n;
    return v;
  }

  std::string_view rest() const { return {reinterpret_cast<const char*>(data_), size_}; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

/// Stops the run with a message when a contract does not hold.
inline void require(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "contract broken: %s\n", what);
    std::abort();
  }
}

}  // namespace kyo::fuzz
