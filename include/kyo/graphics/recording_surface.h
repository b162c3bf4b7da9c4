// A surface that draws nothing and remembers every call as one line of text with its exact
// integer coordinates, for tests and for checking what a drawing does without a window system.
//
//   recording_surface s(screen_caps(200, 100));
//   viewport v;
//   v.begin_paint(s, {0, 0, 200, 100});
//   v.draw_abs({50, 50});
//   s.calls();  // {"move 0,100", "line 100,50"}
#pragma once

#include <string>
#include <vector>

#include <kyo/graphics/surface.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

/// Records drawing calls as text:
///   "pen #rrggbb", "move x,y", "line x,y", "pixel x,y #rrggbb",
///   "text x,y a<alignment flags> #rrggbb <text>", "fill l,t,r,b #rrggbb", "clip l,t,r,b",
///   "unclip".
/// Conversions and extents are not recorded.
class KYO_EXPORT recording_surface final : public surface {
 public:
  /// A device with the given capabilities. Logical units equal device pixels times
  /// `logical_per_device` (at least 1); text boxes are `cell` per character (width) and
  /// `cell.cy` high.
  explicit recording_surface(const device_caps& caps = screen_caps(640, 480),
                             int logical_per_device = 1, isize cell = {8, 16});

  /// The calls recorded so far, oldest first.
  [[nodiscard]] const std::vector<std::string>& calls() const noexcept { return calls_; }
  /// Forgets them.
  void clear() noexcept { calls_.clear(); }

  [[nodiscard]] device_caps caps() const override { return caps_; }
  [[nodiscard]] ipoint dp_to_lp(ipoint p) const override;
  [[nodiscard]] ipoint lp_to_dp(ipoint p) const override;
  void set_pen(colour c) override;
  void move_to(ipoint p) override;
  void line_to(ipoint p) override;
  void set_pixel(ipoint p, colour c) override;
  void text_out(ipoint p, std::string_view text, alignment align, colour c) override;
  [[nodiscard]] isize text_extent(std::string_view text) const override;
  void fill_rect(const irect& r, colour c) override;
  void set_clip_rect(const irect& r) override;
  void clear_clip() override;

 private:
  device_caps caps_;
  int scale_;
  isize cell_;
  std::vector<std::string> calls_;
};

}  // namespace kyo
