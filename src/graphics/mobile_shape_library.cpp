#include <kyo/graphics/mobile_shape_library.h>

namespace kyo {

mobile_shape_library::mobile_shape_library(document* parent)
    : library_file(description, version, parent) {}

mobile_shape_library::~mobile_shape_library() = default;

std::unique_ptr<mobile_shape> mobile_shape_library::load(int index) const {
  std::unique_ptr<server> s = library_file::load(index);
  if (auto* shape = dynamic_cast<mobile_shape*>(s.get())) {
    s.release();
    return std::unique_ptr<mobile_shape>(shape);
  }
  return nullptr;
}

std::unique_ptr<server> mobile_shape_library::library_copy(const server& object) const {
  const auto* shape = dynamic_cast<const mobile_shape*>(&object);
  if (shape == nullptr) return nullptr;
  return std::make_unique<mobile_shape>(*shape);
}

}  // namespace kyo
