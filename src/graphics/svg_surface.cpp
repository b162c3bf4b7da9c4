#include <kyo/graphics/svg_surface.h>

#include <algorithm>
#include <fstream>

#include <kyo/platform/path_map.h>

namespace kyo {

namespace {

std::string num(long long v) {
  return std::to_string(v);
}

// Text is Latin-1 bytes; XML wants UTF-8 and has no place for control characters, so those
// become '?'.
std::string xml_text(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (unsigned char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        if (c < 0x20 || (c >= 0x7F && c < 0xA0)) {
          out += '?';
        } else if (c < 0x80) {
          out += char(c);
        } else {
          out += char(0xC0 | (c >> 6));
          out += char(0x80 | (c & 0x3F));
        }
    }
  }
  return out;
}

}  // namespace

svg_surface::svg_surface(int width, int height, int ppi)
    : caps_(screen_caps(std::max(1, width), std::max(1, height), ppi)) {}

std::string svg_surface::path_element() const {
  // Lines run along pixel centres, as on a device that lights whole pixels.
  return "<path d=\"" + path_ + "\" transform=\"translate(0.5 0.5)\" stroke=\"" + pen_.as_string() +
         "\" fill=\"none\"/>\n";
}

void svg_surface::end_path() {
  if (path_.empty()) return;
  body_ += path_element();
  path_.clear();
}

void svg_surface::set_pen(colour c) {
  if (c == pen_) return;
  end_path();
  pen_ = c;
}

void svg_surface::move_to(ipoint p) {
  current_ = p;
}

void svg_surface::line_to(ipoint p) {
  // Consecutive lines form one path; a line that does not start where the last ended opens a
  // new sub-path.
  if (path_.empty() || !(current_ == path_end_)) {
    path_ += "M" + num(current_.x) + " " + num(current_.y);
  }
  path_ += "L" + num(p.x) + " " + num(p.y);
  current_ = p;
  path_end_ = p;
}

void svg_surface::set_pixel(ipoint p, colour c) {
  end_path();
  body_ += "<rect x=\"" + num(p.x) + "\" y=\"" + num(p.y) + "\" width=\"1\" height=\"1\" fill=\"" +
           c.as_string() + "\"/>\n";
}

isize svg_surface::text_extent(std::string_view text) const {
  return {static_cast<int>(std::min<std::size_t>(text.size(), 1u << 20)) * cell.cx, cell.cy};
}

void svg_surface::text_out(ipoint p, std::string_view text, alignment align, colour c) {
  end_path();
  if (text.empty()) return;
  const isize box = text_extent(text);
  const ipoint off = align.offset(box);
  const long long left = static_cast<long long>(p.x) - off.x;
  const long long top = static_cast<long long>(p.y) - off.y;
  // The baseline of a 13-pixel monospace font sits 12 pixels below the top of its 16-pixel box;
  // textLength makes the text fill the box that text_extent reported.
  body_ += "<text x=\"" + num(left) + "\" y=\"" + num(top + 12) +
           "\" font-family=\"monospace\" font-size=\"13\" textLength=\"" + num(box.cx) +
           "\" lengthAdjust=\"spacingAndGlyphs\" xml:space=\"preserve\" fill=\"" + c.as_string() +
           "\">" + xml_text(text) + "</text>\n";
}

void svg_surface::fill_rect(const irect& r, colour c) {
  end_path();
  const irect n = r.normalized();
  body_ += "<rect x=\"" + num(n.left) + "\" y=\"" + num(n.top) + "\" width=\"" +
           num(static_cast<long long>(n.right) - n.left) + "\" height=\"" +
           num(static_cast<long long>(n.bottom) - n.top) + "\" fill=\"" + c.as_string() + "\"/>\n";
}

void svg_surface::set_clip_rect(const irect& r) {
  clear_clip();
  const irect n = r.normalized();
  const std::string id = "clip" + num(++clips_);
  body_ += "<clipPath id=\"" + id + "\"><rect x=\"" + num(n.left) + "\" y=\"" + num(n.top) +
           "\" width=\"" + num(static_cast<long long>(n.right) - n.left) + "\" height=\"" +
           num(static_cast<long long>(n.bottom) - n.top) + "\"/></clipPath>\n<g clip-path=\"url(#" +
           id + ")\">\n";
  clipped_ = true;
}

void svg_surface::clear_clip() {
  end_path();
  if (!clipped_) return;
  body_ += "</g>\n";
  clipped_ = false;
}

std::string svg_surface::svg() const {
  const std::string w = num(caps_.resolution.cx);
  const std::string h = num(caps_.resolution.cy);
  std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  out += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + w + "\" height=\"" + h +
         "\" viewBox=\"0 0 " + w + " " + h + "\">\n";
  out += body_;
  if (!path_.empty()) out += path_element();
  if (clipped_) out += "</g>\n";
  out += "</svg>\n";
  return out;
}

bool svg_surface::save(const std::string& path) const {
  const std::string text = svg();
  std::ofstream file(native_path(path), std::ios::binary | std::ios::trunc);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  return !file.fail();
}

}  // namespace kyo
