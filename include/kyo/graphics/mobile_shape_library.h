// The library file of mobile shapes: signature "KYO II Mobile Shape Definition File", version
// "0.12".
#pragma once

#include <memory>

#include <kyo/graphics/library_file.h>
#include <kyo/graphics/mobile_shape.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

/// A library_file that stores mobile shapes.
class KYO_EXPORT mobile_shape_library : public library_file {
 public:
  static constexpr const char* description = "KYO II Mobile Shape Definition File";
  static constexpr const char* version = "0.12";

  explicit mobile_shape_library(document* parent = nullptr);
  ~mobile_shape_library() override;

  /// The shape of item `index`; null as library_file::load, and for an object that is no shape.
  [[nodiscard]] std::unique_ptr<mobile_shape> load(int index) const;

 protected:
  /// A mobile_shape copy of `object`; null (and add_at refuses) when it is no mobile_shape.
  [[nodiscard]] std::unique_ptr<server> library_copy(const server& object) const override;
};

}  // namespace kyo
