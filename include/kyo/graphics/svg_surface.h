// A surface that builds a standalone SVG document, so that plots and shapes can be exported
// without a window system. One device pixel is one SVG user unit; text is set in a monospace font
// whose boxes are 8 by 16 pixels per character, and its bytes are taken as Latin-1 (0xB0 is the
// degree sign) and written as UTF-8.
#pragma once

#include <string>

#include <kyo/graphics/surface.h>
#include <kyo/kyoutils_export.h>

namespace kyo {

/// Draws into an SVG document of a fixed pixel size.
class KYO_EXPORT svg_surface final : public surface {
 public:
  /// Width and height of each character box of text.
  static constexpr isize cell{8, 16};
  /// A document `width` by `height` pixels (each at least 1) on a device of `ppi` pixels per
  /// inch (screen_caps).
  svg_surface(int width, int height, int ppi = 96);

  /// The whole document as it stands: XML declaration, the svg element and everything drawn.
  [[nodiscard]] std::string svg() const;
  /// Writes svg() to `path` (DOS-style or native, through native_path), replacing the file.
  /// False when the file cannot be written completely.
  [[nodiscard]] bool save(const std::string& path) const;

  [[nodiscard]] device_caps caps() const override { return caps_; }
  [[nodiscard]] ipoint dp_to_lp(ipoint p) const override { return p; }
  [[nodiscard]] ipoint lp_to_dp(ipoint p) const override { return p; }
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
  std::string path_element() const;
  void end_path();

  device_caps caps_;
  std::string body_;
  std::string path_;  // the polyline being drawn, not yet in body_
  ipoint current_;
  ipoint path_end_;
  colour pen_;
  int clips_ = 0;
  bool clipped_ = false;
};

}  // namespace kyo
