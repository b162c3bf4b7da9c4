// The parts of a mobile shape's outline: `shape_component` is the abstract, streamable base;
// `shape_line` is a polyline and `shape_ellipse` an ellipse about a centre. Coordinates are world
// units (metres) relative to the shape's own origin.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <kyo/core/geometry.h>
#include <kyo/core/object_stream.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

class viewport;

/// One part of a shape outline.
class KYO_EXPORT shape_component : public virtual streamable {
 public:
  ~shape_component() override;

  /// A new copy of this component, of the same class.
  [[nodiscard]] virtual std::unique_ptr<shape_component> clone() const = 0;
  /// A multi-line description; numbers are printed "%7.2f" and every line ends with '\n'.
  [[nodiscard]] virtual std::string as_string() const = 0;
  /// Draws the component through the viewport's transformation.
  virtual void draw(viewport& v) const = 0;
  /// Multiplies x coordinates by s.cx and y coordinates by s.cy.
  virtual void scale(const dsize& s) = 0;
  /// Moves the component by `s`.
  virtual void shift(const dsize& s) = 0;
  /// The bounding rectangle.
  [[nodiscard]] virtual drect get_bounds() const = 0;
  /// True when the component draws nothing.
  [[nodiscard]] virtual bool is_empty() const = 0;
  /// Exact comparison with another component; components of different classes differ.
  [[nodiscard]] virtual bool equals(const shape_component& o) const = 0;
  /// a.equals(b): one comparison for every pair of components, whatever their classes.
  friend bool operator==(const shape_component& a, const shape_component& b) { return a.equals(b); }

 protected:
  shape_component() = default;
  /// A copy belongs to no shape yet.
  shape_component(const shape_component& o) : streamable(o) {}
  shape_component& operator=(const shape_component&) { return *this; }

 private:
  friend class mobile_shape;
  // Set when a shape reading a stream takes the component, so that a damaged stream cannot hand
  // one component to two shapes.
  bool owned_ = false;
};

/// A polyline through its points in order.
class KYO_EXPORT shape_line final : public shape_component {
 public:
  /// Stream form: the point count (32 bits), then x and y of each point as IEEE doubles.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const shape_line& l);
    /// A count that the record cannot hold fails the stream before anything is allocated.
    static void Read(ipstream& is, shape_line& l, std::uint32_t version);
  };

  shape_line() = default;
  explicit shape_line(std::vector<dpoint> points) : points_(std::move(points)) {}
  explicit shape_line(streamable_init_t) {}

  /// Inserts `p` before the point at `index`; an index equal to the count appends. False, and
  /// nothing inserted, for an index outside 0..count.
  bool add_at(const dpoint& p, int index);
  /// Removes the point at `index`; false for an index outside the line.
  bool destroy(int index);
  [[nodiscard]] const std::vector<dpoint>& points() const noexcept { return points_; }

  /// True when at least two points differ from the point before them: counting the first point
  /// as 1 and each later one that differs from its predecessor as 1 more, the count exceeds 1.
  /// A, A is not valid; A, B, A is.
  [[nodiscard]] bool is_valid() const;

  [[nodiscard]] std::unique_ptr<shape_component> clone() const override;
  /// "   SOL:-" and then one line "   X:<x> m  Y:<y> m" per point.
  [[nodiscard]] std::string as_string() const override;
  /// Moves to the first point and draws to each further one.
  void draw(viewport& v) const override;
  void scale(const dsize& s) override;
  void shift(const dsize& s) override;
  /// The smallest and largest x and y; all zeros without points.
  [[nodiscard]] drect get_bounds() const override;
  /// True without points.
  [[nodiscard]] bool is_empty() const override { return points_.empty(); }
  /// Same point count and equal points at each index.
  [[nodiscard]] bool equals(const shape_component& o) const override;

 private:
  std::vector<dpoint> points_;
};

/// An ellipse about a centre.
class KYO_EXPORT shape_ellipse final : public shape_component {
 public:
  /// Stream form: centre x and y as IEEE doubles, then the ellipse's 24 raw bytes.
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const shape_ellipse& e);
    static void Read(ipstream& is, shape_ellipse& e, std::uint32_t version);
  };

  /// The edit record of the ellipse's dialog.
  struct transfer_s {
    double centre_x = 0;
    double centre_y = 0;
    double hor_radius = 0;
    double ver_radius = 0;
  };
  /// Which way `transfer` copies.
  enum transfer_direction : int {
    transfer_get = 0,  ///< from the ellipse into the record
    transfer_set = 1   ///< from the record into the ellipse
  };

  shape_ellipse() = default;
  shape_ellipse(const dpoint& centre, const dellipse& e) : centre_(centre), ellipse_(e) {}
  explicit shape_ellipse(streamable_init_t) {}

  [[nodiscard]] const dpoint& centre() const noexcept { return centre_; }
  [[nodiscard]] const dellipse& ellipse() const noexcept { return ellipse_; }

  /// Copies centre and radii out (transfer_get) or in (transfer_set); the ellipse's angle is not
  /// in the record and stays. Any other direction does nothing.
  void transfer(transfer_s& t, int direction);

  [[nodiscard]] std::unique_ptr<shape_component> clone() const override;
  /// "  Ellipse:-", "   Centre X:<x> m  Y:<y> m", "   Hor Radius:<a> m  Ver Radius:<b> m".
  [[nodiscard]] std::string as_string() const override;
  /// Makes the centre the viewport's current position and draws the ellipse there.
  void draw(viewport& v) const override;
  /// Multiplies centre x and the first semi-axis by s.cx, centre y and the second by s.cy.
  void scale(const dsize& s) override;
  /// Moves the centre.
  void shift(const dsize& s) override;
  /// (centre x - a, centre y - b, centre x + a, centre y + b).
  [[nodiscard]] drect get_bounds() const override;
  /// Never: an ellipse always draws.
  [[nodiscard]] bool is_empty() const override { return false; }
  /// Equal centres and the same 24 bytes of ellipse (so -0 and 0 differ).
  [[nodiscard]] bool equals(const shape_component& o) const override;

 private:
  dpoint centre_;
  dellipse ellipse_;
};

}  // namespace kyo
