// Damaged copies of a valid object stream, for the tests that check that bad
// input ends in a clean failure: every truncation, and every byte flipped.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

namespace kyo::test {

/// A damaged copy of a stream and what was done to it.
struct damaged_stream {
  std::string what;  ///< "cut to 12 bytes", "byte 7 ^ 0x80"
  std::string bytes;
  bool truncated;  ///< a truncation of a one-object stream can never be read
};

/// Every truncation of `valid` (0 to size - 1 bytes), then every byte flipped
/// with each of `masks`.
inline std::vector<damaged_stream> damaged_copies(const std::string& valid,
                                                  std::initializer_list<unsigned char> masks = {
                                                      0x01, 0x80, 0xFF}) {
  std::vector<damaged_stream> out;
  for (std::size_t n = 0; n < valid.size(); ++n) {
    out.push_back({"cut to " + std::to_string(n) + " bytes", valid.substr(0, n), true});
  }
  for (std::size_t i = 0; i < valid.size(); ++i) {
    for (unsigned char mask : masks) {
      std::string bad = valid;
      bad[i] = static_cast<char>(bad[i] ^ mask);
      out.push_back({"byte " + std::to_string(i) + " ^ " + std::to_string(mask), bad, false});
    }
  }
  return out;
}

}  // namespace kyo::test
