// Numeric configuration strings from files: read_config of every kind of numeric takes no more
// fields than it has, and the numeric then formats within its 31 characters.
#include <memory>
#include <string>

#include <kyo/numerics/make_numeric.h>
#include <kyo/numerics/numeric.h>
#include <kyo/numerics/numeric_server.h>

#include "fuzz_input.h"

namespace {

// One entry of each type id, all holding the same number.
class every_type : public kyo::numeric_server {
 public:
  every_type() : kyo::numeric_server(nullptr, "fuzz", false, 0, true) {}
  double value = 0;

  int entry_count() const override { return 18; }
  int get_value(int index, kyo::clock_tick, void* out) const override {
    if (out == nullptr || index < 0 || index > 17) return kyo::numeric_status::no_data;
    if (index == kyo::numeric_type::text) {
      *static_cast<std::string*>(out) = "text";
    } else {
      *static_cast<double*>(out) = value;
    }
    return kyo::numeric_status::fresh;
  }
  void describe(int index, kyo::nmrc_info& info) const override {
    info.type = index;
    info.width = 12;
    info.precision = 2;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kyo::fuzz::input in(data, size);
  every_type server;
  server.value = in.take<double>();
  const auto type = in.take<std::uint8_t>() % 18;
  const std::string text(in.rest());
  std::unique_ptr<kyo::numeric> n(kyo::make_numeric(server, type));
  if (n == nullptr) return 0;
  const int taken = n->read_config(text.c_str());
  kyo::fuzz::require(taken >= 0 && taken <= 5, "at most five fields");
  std::string out;
  n->as_string(0, out, true);
  kyo::fuzz::require(out.size() <= 31 || type == kyo::numeric_type::text, "within 31 characters");
  return 0;
}
