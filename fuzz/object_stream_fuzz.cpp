// The object stream reader on arbitrary bytes, with the library's own classes registered
// (servers, server lists, numeric servers, numerics): a read either fails cleanly or gives an
// object whose tree the caller frees through its root; the sanitizers report any fault or leak.
#include <set>
#include <sstream>
#include <string>

#include <kyo/core/object_stream.h>
#include <kyo/notify/server.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_server.h>

#include "fuzz_input.h"

namespace {

template <class Node>
Node* root_of(Node* n) {
  while (n->get_parent() != nullptr)
    n = n->get_parent();
  return n;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream bytes(std::string(reinterpret_cast<const char*>(data), size));
  kyo::ipstream is(bytes);
  // Later reads may refer to objects read earlier, so everything goes at the end, once.
  std::set<kyo::streamable*> owned;
  for (int round = 0; round < 4 && is.good(); ++round) {
    kyo::streamable* obj = nullptr;
    readPtr(is, obj);
    kyo::fuzz::require((obj == nullptr) || is.good(), "an object only from a good read");
    if (auto* s = dynamic_cast<kyo::server*>(obj)) {
      owned.insert(root_of(s));
    } else if (auto* ns = dynamic_cast<kyo::numeric_server*>(obj)) {
      owned.insert(root_of(ns));
    } else if (auto* n = dynamic_cast<kyo::numeric*>(obj)) {
      if (const kyo::numeric_server* server = n->get_server()) {
        owned.insert(root_of(const_cast<kyo::numeric_server*>(server)));
      }
      owned.insert(n);
    } else if (obj != nullptr) {
      owned.insert(obj);
    }
  }
  for (kyo::streamable* obj : owned)
    delete obj;
  return 0;
}
