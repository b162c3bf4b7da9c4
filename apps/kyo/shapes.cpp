// kyo shapes: lists, shows, adds, removes and draws the mobile shapes of a shape library file.
// Shapes are added from a short text description, one argument per component:
//   "line X,Y X,Y ..."          a polyline through the points
//   "ellipse X,Y A,B [DEG]"     an ellipse about X,Y with semi-axes A and B, turned DEG degrees
#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <kyo/graphics/mobile_shape_library.h>
#include <kyo/graphics/svg_surface.h>
#include <kyo/graphics/viewport.h>
#include <kyo/platform/path_map.h>
#include <kyo/platform/ui_hooks.h>

#include "kyo/commands.h"

namespace kyo::cli {

namespace {

const char* const shapes_footer =
    "A component is one argument: \"line X,Y X,Y ...\" (a polyline) or\n"
    "\"ellipse X,Y A,B [DEG]\" (centre, semi-axes, turn of the first axis in degrees).\n"
    "Coordinates are metres, y pointing north. FILE may be a DOS-style path.\n"
    "A file of another kind or version, or a damaged library, is never written.";

/// Message boxes of the library (a refused file's header) go to the command's error stream.
class error_stream_hooks final : public ui_hooks {
 public:
  explicit error_stream_hooks(std::ostream& err) : err_(err), previous_(set_ui_hooks(this)) {}
  ~error_stream_hooks() override { set_ui_hooks(previous_); }
  error_stream_hooks(const error_stream_hooks&) = delete;
  error_stream_hooks& operator=(const error_stream_hooks&) = delete;

  int message_box(std::string_view text, std::string_view, unsigned) override {
    err_ << "kyo shapes: " << text << '\n';
    shown_ = true;
    return id_ok;
  }
  void beep(unsigned) override {}
  [[nodiscard]] bool shown() const { return shown_; }

 private:
  std::ostream& err_;
  ui_hooks* previous_;
  bool shown_ = false;
};

bool parse_number(std::string_view text, double& v) {
  const char* end = text.data() + text.size();
  const auto r = std::from_chars(text.data(), end, v);
  return r.ec == std::errc() && r.ptr == end && std::isfinite(v);
}

bool parse_pair(std::string_view text, dpoint& p) {
  const std::size_t comma = text.find(',');
  return comma != std::string_view::npos && parse_number(text.substr(0, comma), p.x) &&
         parse_number(text.substr(comma + 1), p.y);
}

std::vector<std::string_view> words(std::string_view text) {
  std::vector<std::string_view> out;
  std::size_t at = 0;
  while (true) {
    at = text.find_first_not_of(" \t", at);
    if (at == std::string_view::npos) return out;
    const std::size_t end = std::min(text.find_first_of(" \t", at), text.size());
    out.push_back(text.substr(at, end - at));
    at = end;
  }
}

/// The component that `text` describes, or null.
std::unique_ptr<shape_component> parse_component(std::string_view text) {
  const std::vector<std::string_view> w = words(text);
  if (w.size() >= 2 && w[0] == "line") {
    std::vector<dpoint> points(w.size() - 1);
    for (std::size_t i = 1; i < w.size(); ++i) {
      if (!parse_pair(w[i], points[i - 1])) return nullptr;
    }
    return std::make_unique<shape_line>(std::move(points));
  }
  if ((w.size() == 3 || w.size() == 4) && w[0] == "ellipse") {
    dpoint centre, radii;
    double turn_deg = 0;
    if (!parse_pair(w[1], centre) || !parse_pair(w[2], radii) ||
        (w.size() == 4 && !parse_number(w[3], turn_deg))) {
      return nullptr;
    }
    return std::make_unique<shape_ellipse>(
        centre, dellipse{radii.x, radii.y, turn_deg * std::numbers::pi / 180});
  }
  return nullptr;
}

struct shapes_args {
  std::string file, name, out;
  std::vector<std::string> components;
  int type = 0;
  bool flag = false;
  int at = -1;
  int size = 240;
};

class shapes_command {
 public:
  explicit shapes_command(const streams& io) : io_(io) {}

  int list(const shapes_args& a) const {
    mobile_shape_library lib;
    if (auto failed = open(lib, a.file, false)) return *failed;
    for (int i = 0; i < lib.count(); ++i) {
      const library_file::library_item& item = lib.items()[std::size_t(i)];
      io_.out << i << ": " << item.name << " (type " << item.type << ", flag " << item.flag
              << ")\n";
    }
    return exit_ok;
  }

  int show(const shapes_args& a) const {
    mobile_shape_library lib;
    if (auto failed = open(lib, a.file, false)) return *failed;
    const std::unique_ptr<mobile_shape> shape = load(lib, a);
    if (shape == nullptr) return exit_failure;
    io_.out << shape->get_name() << ":\n" << shape->as_string();
    return exit_ok;
  }

  int add(const shapes_args& a) const {
    mobile_shape shape(nullptr, a.name);
    for (const std::string& text : a.components) {
      std::unique_ptr<shape_component> c = parse_component(text);
      if (c == nullptr) {
        io_.err << "kyo shapes: not a component: '" << text << "'\n";
        return exit_usage;
      }
      shape.add(std::move(c));
    }
    mobile_shape_library lib;
    if (auto failed = open(lib, a.file, true)) return *failed;
    if (lib.find(a.name) >= 0) {
      io_.err << "kyo shapes: '" << a.file << "' already holds a shape named '" << a.name << "'\n";
      return exit_failure;
    }
    const int at = a.at < 0 ? lib.count() : a.at;
    if (at > lib.count()) {
      io_.err << "kyo shapes: no position " << at << " in '" << a.file << "' (it holds "
              << lib.count() << " shapes)\n";
      return exit_failure;
    }
    return lib.add_at(shape, a.type, a.flag, at) ? exit_ok : cannot_write(a.file);
  }

  int remove(const shapes_args& a) const {
    mobile_shape_library lib;
    if (auto failed = open(lib, a.file, false)) return *failed;
    const int index = lib.find(a.name);
    if (index < 0) return no_shape(a);
    return lib.destroy(index) ? exit_ok : cannot_write(a.file);
  }

  int draw(const shapes_args& a) const {
    mobile_shape_library lib;
    if (auto failed = open(lib, a.file, false)) return *failed;
    std::vector<std::unique_ptr<mobile_shape>> shapes;
    if (!a.name.empty()) {
      shapes.push_back(load(lib, a));
      if (shapes.back() == nullptr) return exit_failure;
    } else {
      for (int i = 0; i < lib.count(); ++i) {
        shapes.push_back(lib.load(i));
        if (shapes.back() == nullptr) return unreadable(a.file, lib.items()[std::size_t(i)].name);
      }
    }
    // One square cell per shape, in rows of up to ceil(sqrt(n)) cells, each shape to scale in
    // its own cell with its name below it.
    const int n = std::max<int>(1, static_cast<int>(shapes.size()));
    const int columns = static_cast<int>(std::ceil(std::sqrt(double(n))));
    const int rows = (n + columns - 1) / columns;
    const int label = svg_surface::cell.cy + 4;
    svg_surface svg(columns * a.size, rows * (a.size + label));
    svg.fill_rect({0, 0, columns * a.size, rows * (a.size + label)}, colour::white);
    for (std::size_t i = 0; i < shapes.size(); ++i) {
      const int left = static_cast<int>(i) % columns * a.size;
      const int top = static_cast<int>(i) / columns * (a.size + label);
      draw_cell(svg, *shapes[i], {left + 4, top + 4, left + a.size - 4, top + a.size - 4});
      svg.text_out({left + a.size / 2, top + a.size + 2}, shapes[i]->get_name(),
                   alignment(alignment::center | alignment::top), colour::black);
    }
    if (!svg.save(a.out)) {
      io_.err << "kyo shapes: cannot write '" << a.out << "'\n";
      return exit_failure;
    }
    return exit_ok;
  }

 private:
  static void draw_cell(svg_surface& svg, const mobile_shape& shape, const irect& cell) {
    drect b = shape.get_bounds().normalized();
    // A margin of a tenth of the larger side, and at least a metre, around the outline.
    const double margin = std::max(1.0, std::max(b.width(), b.height()) / 10);
    b.inflate(margin, margin);
    viewport v;
    v.set_window({b.x1, b.y2, b.x2, b.y1}, true);
    v.begin_paint(svg, cell);
    svg.set_pen(colour::light_gray);
    v.axes(0, {}, 0);
    svg.set_pen(colour::black);
    shape.draw(v, {0, 0}, grid_bearing(0), {0, 0}, grid_bearing(0), true, 1);
    v.end_paint();
  }

  /// Opens the library; a missing file is created only when `create` is set.
  std::optional<int> open(mobile_shape_library& lib, const std::string& file, bool create) const {
    if (!create && !std::filesystem::exists(native_path(file))) {
      io_.err << "kyo shapes: no such file '" << file << "'\n";
      return exit_failure;
    }
    const error_stream_hooks hooks(io_.err);
    lib.Open(0, file.c_str());
    if (lib.is_writable()) return std::nullopt;
    if (lib.state() == library_file::open_state::damaged) {
      io_.err << "kyo shapes: '" << file << "' is a damaged shape library; it is left as it is\n";
    } else if (lib.state() == library_file::open_state::failed) {
      io_.err << "kyo shapes: cannot create '" << file << "'\n";
    } else if (!hooks.shown()) {
      io_.err << "kyo shapes: cannot read '" << file << "'\n";
    }
    return exit_failure;
  }

  std::unique_ptr<mobile_shape> load(const mobile_shape_library& lib, const shapes_args& a) const {
    const int index = lib.find(a.name);
    if (index < 0) {
      no_shape(a);
      return nullptr;
    }
    std::unique_ptr<mobile_shape> shape = lib.load(index);
    if (shape == nullptr) unreadable(a.file, a.name);
    return shape;
  }

  int no_shape(const shapes_args& a) const {
    io_.err << "kyo shapes: no shape named '" << a.name << "' in '" << a.file << "'\n";
    return exit_failure;
  }

  int unreadable(const std::string& file, const std::string& name) const {
    io_.err << "kyo shapes: the shape '" << name << "' in '" << file << "' cannot be read\n";
    return exit_failure;
  }

  int cannot_write(const std::string& file) const {
    io_.err << "kyo shapes: cannot write '" << file << "'\n";
    return exit_failure;
  }

  const streams& io_;
};

}  // namespace

void add_shapes(CLI::App& kyo, const streams& io, action& run) {
  CLI::App* shapes = kyo.add_subcommand("shapes", "list, show, add, remove and draw mobile shapes");
  shapes->require_subcommand(1);
  shapes->footer(shapes_footer);
  auto args = std::make_shared<shapes_args>();
  auto command = std::make_shared<shapes_command>(io);
  shapes_args& a = *args;

  const auto sub = [&](const char* name, const char* about,
                       int (shapes_command::*work)(const shapes_args&) const) {
    CLI::App* s = shapes->add_subcommand(name, about);
    s->positionals_at_end();
    s->add_option("FILE", a.file, "the shape library")->required();
    s->callback([&run, args, command, work] {
      run = [args, command, work] { return ((*command).*work)(*args); };
    });
    return s;
  };
  sub("list", "list the shapes: index, name, type and flag", &shapes_command::list);
  sub("show", "describe a shape's components", &shapes_command::show)
      ->add_option("NAME", a.name, "the shape")
      ->required();
  CLI::App* add = sub("add", "add a shape described by its components", &shapes_command::add);
  add->add_option("NAME", a.name, "the new shape's name")->required();
  add->add_option("COMPONENT", a.components, "\"line X,Y X,Y ...\" or \"ellipse X,Y A,B [DEG]\"")
      ->required();
  add->add_option("--type", a.type, "the item's type number (default 0)");
  add->add_flag("--flag", a.flag, "set the item's flag");
  add->add_option("--at", a.at, "the position in the list (default: the end)")
      ->check(CLI::NonNegativeNumber);
  sub("remove", "remove a shape", &shapes_command::remove)
      ->add_option("NAME", a.name, "the shape")
      ->required();
  CLI::App* draw = sub("draw", "draw one shape, or all, to an SVG file", &shapes_command::draw);
  draw->add_option("NAME", a.name, "the shape (default: every shape)");
  draw->add_option("--out,-o", a.out, "the SVG file to write")->required();
  draw->add_option("--size", a.size, "the side of each shape's square in pixels (default 240)")
      ->check(CLI::Range(40, 4000));
}

}  // namespace kyo::cli
