// The object stream reader on arbitrary bytes, with the library's own classes registered
// (servers, server lists, numeric servers and numerics, outputs, output lists and strings, the
// print manager, mobile shapes and their components): a read either fails cleanly or gives an
// object whose tree the caller frees through its root; the sanitizers report any fault or leak.
#include <set>
#include <sstream>
#include <string>

#include <kyo/core/object_stream.h>
#include <kyo/graphics/mobile_shape.h>
#include <kyo/notify/server.h>
#include <kyo/numerics/general_numerics.h>
#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_server.h>
#include <kyo/output/custom_output.h>
#include <kyo/output/output_file.h>
#include <kyo/output/output_list.h>
#include <kyo/output/print_manager.h>

#include "fuzz_files.h"
#include "fuzz_input.h"

namespace {

template <class Node>
Node* root_of(Node* n) {
  while (n->get_parent() != nullptr)
    n = n->get_parent();
  return n;
}

}  // namespace

// Makes one object of each streamable class, so that a static link keeps the classes and their
// stream registrations.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  kyo::fuzz::silence();
  kyo::general_numerics clock(nullptr, "KYO", false, 0, true);
  delete kyo::make_numeric(clock, 1);
  kyo::custom_output line;
  kyo::print_manager printer(nullptr);
  kyo::custom_output_string producer("x", line);
  producer.outputs().add_at(*new kyo::output_file("", "x"), 0);
  kyo::mobile_shape shape(nullptr, "x");
  shape.add(std::make_unique<kyo::shape_line>(std::vector<kyo::dpoint>{{0, 0}, {1, 1}}));
  shape.add(std::make_unique<kyo::shape_ellipse>(kyo::dpoint{0, 0}, kyo::dellipse{1, 1, 0}));
  return 0;
}

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
