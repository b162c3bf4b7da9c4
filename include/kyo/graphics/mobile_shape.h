// A mobile shape: the named outline of a vessel or other moving object, an owning list of shape
// components drawn on a viewport at a position, heading and scale. It is a server, so that views
// of it hear of changes, and it streams itself into shape libraries.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <kyo/core/angle.h>
#include <kyo/core/geometry.h>
#include <kyo/graphics/shape_component.h>
#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>

namespace kyo {

class viewport;

/// A named outline made of components, with bounds kept equal to the union of theirs.
class KYO_EXPORT mobile_shape : public server {
 public:
  /// Stream form: the server part, the name once more, the component count (32 bits), each
  /// component as an object pointer, then the bounds (32 raw bytes).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const mobile_shape& s);
    /// A null component, a count the record cannot hold or an object that is no component fails
    /// the stream; what was read is deleted again.
    static void Read(ipstream& is, mobile_shape& s, std::uint32_t version);
  };

  /// The side of the square, in millimetres, that a shape not drawn to scale fills.
  static constexpr int fixed_size_mm = 80;

  /// A shape named "Untitled", a child of `parent` when that is not null.
  explicit mobile_shape(server* parent = nullptr);
  mobile_shape(server* parent, const std::string& name);
  /// Copies the name, each component (cloned) and the bounds; no parent, children or clients.
  mobile_shape(const mobile_shape& other);
  explicit mobile_shape(streamable_init_t);
  ~mobile_shape() override;
  mobile_shape& operator=(const mobile_shape&) = delete;

  /// Appends `c` (the shape takes it) and unites its bounds into the shape's.
  void add(std::unique_ptr<shape_component> c);
  /// Puts `c` at `index`, deleting the component there; a list shorter than that is first
  /// filled up with empty lines. The bounds are computed again. A negative index does nothing.
  void modify(std::unique_ptr<shape_component> c, int index);
  /// Removes and deletes the component at `index` and computes the bounds again; false for an
  /// index outside the list.
  bool destroy(int index);
  /// The component at `index`, or null outside the list.
  [[nodiscard]] const shape_component* get(int index) const;
  [[nodiscard]] int count() const noexcept { return static_cast<int>(components_.size()); }

  /// True when every component is empty, also when there are none.
  [[nodiscard]] bool is_empty() const;
  /// Scales every component, then the bounds: left and right by s.cx, top and bottom by s.cy.
  void scale(const dsize& s);
  /// Shifts every component and the bounds.
  void shift(const dsize& s);
  /// Bounds of the first component united with each further one's; all zeros without any.
  void compute_bounds();
  [[nodiscard]] const drect& get_bounds() const noexcept { return bounds_; }

  /// Every component's as_string, in order.
  [[nodiscard]] std::string as_string() const;

  /// Draws the shape with its origin at `position`, turned clockwise by heading + rotation, the
  /// point `offset` of the shape (its own units) on that origin. To scale, one shape unit is
  /// `scale` world units; otherwise the larger side of the bounds covers fixed_size_mm on the
  /// device (a shape without extent keeps `scale`). The viewport's transformation is restored.
  void draw(viewport& v, const dpoint& position, grid_bearing heading, const dsize& offset,
            grid_bearing rotation, bool to_scale, double scale) const;

  /// Same name, equal components in the same order, and equal bounds.
  [[nodiscard]] bool operator==(const mobile_shape& o) const;

 private:
  std::vector<std::unique_ptr<shape_component>> components_;
  drect bounds_;
};

}  // namespace kyo
