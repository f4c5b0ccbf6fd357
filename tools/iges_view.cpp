// iges-view FILE -o OUT.svg|OUT.png: a picture of an IGES file's geometry, drawn with cairo:
// every curve, the boundary and a few iso-curves of every surface, points as small marks,
// each in its entity's colour, in one of four parallel views fitted to the picture, with a
// legend line. Prints what it drew and, by class, what it left out and why.
#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

#include <igeslib.h>

#include "tool_support.h"

namespace {

using igeslib::Vec3;

const char kUsageText[] =
    "Usage: iges-view FILE -o OUT.svg|OUT.png [--view iso|top|front|right] [--size WxH]\n"
    "                 [--strict-end]\n"
    "Reads an IGES file and draws its geometry as an SVG or PNG picture (by OUT's ending):\n"
    "every curve and point that is not blanked, and each surface's boundary (a trimmed\n"
    "surface's outer boundary and holes, a bounded surface's boundaries, a face's loops, else\n"
    "the edges of its domain) with three lighter iso-curves each way. Subfigure instances\n"
    "and arrays are expanded, B-rep solids drawn face by face. Each entity has its colour;\n"
    "none is drawn near black, and white dark grey, on the white page. The view (iso by\n"
    "default) is fitted to the picture (1024x768 by default) with a margin, above a legend\n"
    "line: the file, its units and the model's size.\n"
    "Prints the entities drawn, and by class those skipped (not drawn at all) or drawn in\n"
    "part, with why. Entities without geometry of their own (matrices, definitions,\n"
    "properties, associativities, views) are neither drawn nor counted.\n"
    "A damaged last record (a Terminate record whose fields can't be read, or one cut off\n"
    "by the end of the file) is reported and the file read whole; with --strict-end it is a\n"
    "fatal error.\n"
    "Exit status: 0 the file was read to its end and drawn, 1 the read stopped at a fatal\n"
    "error (what was read before it is drawn), 2 bad arguments or a file that can't be\n"
    "opened or written, 3 the file was read to its end and drawn, but its last record was\n"
    "damaged.\n";

constexpr double kMargin = 16;         // pixels around the drawing
constexpr double kLegendHeight = 22;   // pixels below it for the legend line
constexpr double kChordPixels = 0.25;  // chord tolerance of the polylines, in pixels
constexpr int kIsolines = 3;           // iso-curves each way on a surface

struct Options {
  const char* input = nullptr;
  const char* output = nullptr;
  bool png = false;
  std::string view = "iso";
  int width = 1024, height = 768;
  bool strict_end = false;
};

bool ends_with(const std::string& s, const char* end) {
  std::size_t n = std::strlen(end);
  if (s.size() < n) return false;
  for (std::size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(s[s.size() - n + i])) != end[i]) return false;
  return true;
}

// "WxH", each from 16 to 16384.
bool parse_size(const char* text, int& width, int& height) {
  char* end = nullptr;
  long w = std::strtol(text, &end, 10);
  if (end == text || (*end != 'x' && *end != 'X')) return false;
  const char* rest = end + 1;
  long h = std::strtol(rest, &end, 10);
  if (end == rest || *end != '\0' || w < 16 || h < 16 || w > 16384 || h > 16384) return false;
  width = static_cast<int>(w);
  height = static_cast<int>(h);
  return true;
}

// Answers kCompleted with the options, kUsage after saying what was wrong, or -1 for --help.
int parse(int argc, char** argv, Options& o) {
  auto bad = [](const char* what, const char* arg) {
    std::fprintf(stderr, "iges-view: %s%s%s\n%s", what, arg ? " " : "", arg ? arg : "", kUsageText);
    return igeslib_tools::kUsage;
  };
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    if (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0) return -1;
    if (std::strcmp(arg, "-o") == 0 || std::strcmp(arg, "--view") == 0 ||
        std::strcmp(arg, "--size") == 0) {
      if (!value) return bad("missing value after", arg);
      ++i;
      if (arg[1] == 'o') {
        o.output = value;
      } else if (arg[2] == 'v') {
        o.view = value;
        if (o.view != "iso" && o.view != "top" && o.view != "front" && o.view != "right")
          return bad("unknown view", value);
      } else if (!parse_size(value, o.width, o.height)) {
        return bad("size not WxH (16 to 16384 each):", value);
      }
    } else if (std::strcmp(arg, "--strict-end") == 0) {
      o.strict_end = true;
    } else if (arg[0] == '-' && arg[1] != '\0') {
      return bad("unknown option", arg);
    } else if (o.input) {
      return bad("one file only:", arg);
    } else {
      o.input = arg;
    }
  }
  if (!o.input) return bad("no file given", nullptr);
  if (!o.output) return bad("no picture given (-o OUT.svg or -o OUT.png)", nullptr);
  std::string out = o.output;
  o.png = ends_with(out, ".png");
  if (!o.png && !ends_with(out, ".svg"))
    return bad("the picture's name must end in .svg or .png:", o.output);
  return igeslib_tools::kCompleted;
}

// ---- the view

struct Projection {
  Vec3 right, up;
  double x(const Vec3& p) const { return igeslib::dot(p, right); }
  double y(const Vec3& p) const { return igeslib::dot(p, up); }
};

Projection projection(const std::string& view) {
  if (view == "top") return {{1, 0, 0}, {0, 1, 0}};
  if (view == "front") return {{1, 0, 0}, {0, 0, 1}};
  if (view == "right") return {{0, 1, 0}, {0, 0, 1}};
  // Isometric, seen from (1, 1, 1): x to the lower left, y to the lower right, z up.
  Vec3 forward = igeslib::normalized({-1, -1, -1});
  Vec3 right = igeslib::normalized(igeslib::cross(forward, {0, 0, 1}));
  return {right, igeslib::cross(right, forward)};
}

// ---- what is drawn

enum class Layer { isoline, curve, point };

struct Style {
  igeslib::Rgb colour;
  Layer layer;
};

// One path of the picture: the polylines of one entity in one style, in model space until
// they are projected.
struct Path {
  Style style;
  std::vector<std::unique_ptr<igeslib::Curve>> curves;
  std::vector<Vec3> marks;              // points
  std::vector<std::vector<double>> xy;  // projected: x0, y0, x1, y1, ... per polyline
};

// A tally of entities by class and reason, printed as "skipped CLASS: N (why)".
using Tally = std::map<std::pair<std::string, std::string>, unsigned long>;

std::string class_of(igs_directory_entry* e) {
  LumoDomain* domain = e->domain();
  return std::string("igs_") + (domain && domain->name() ? domain->name() : "?");
}

igeslib::Rgb lighter(igeslib::Rgb c) {
  auto mix = [](double v) { return v + (1 - v) * 0.6; };
  return {mix(c.r), mix(c.g), mix(c.b)};
}

class Drawing {
 public:
  explicit Drawing(const Projection& view) : view_(view) {}

  // Every entity placements() gives: drawn, or counted as skipped with why.
  void add(const igeslib::Placed& p) {
    igs_directory_entry* e = p.entity;
    if (e->blank() == igs_blank_status_invisible ||
        (p.instance && p.instance->blank() == igs_blank_status_invisible)) {
      if (has_geometry(e)) skip(e, "blanked");
      return;
    }
    std::optional<igeslib::Rgb> colour = colour_for(e, p.instance);
    std::size_t before = paths_.size();
    std::vector<std::string> faults;
    std::string why;
    if (igeslib::is_curve(e)) {
      curve(e, p, colour, why);
    } else if (lumo_cast<igs_manifold_solid_brep_entity>(e) || lumo_cast<igs_shell_entity>(e)) {
      std::unordered_set<igs_directory_entry*> edges;
      solid(e, p.transform, colour, edges, faults, why);
    } else if (igeslib::is_surface(e) || lumo_cast<igs_face_entity>(e)) {
      surface(e, p.transform, colour, nullptr, faults, why);
    } else {
      if (has_geometry(e)) skip(e, not_drawn(e));
      return;
    }
    if (paths_.size() == before) {
      skip(e, !why.empty() ? why : !faults.empty() ? faults.front() : "nothing to draw");
      return;
    }
    ++drawn_;
    if (!faults.empty()) ++incomplete_[{class_of(e), faults.front()}];
  }

  // Polylines to a chord of kChordPixels in the picture, then projected. The size of the
  // picture's pixel in model units comes from a few points of every curve.
  void sample(int width, int height) {
    Box2 rough;
    for (const Path& path : paths_) {
      for (const Vec3& m : path.marks) rough.add(view_.x(m), view_.y(m));
      for (const auto& c : path.curves) {
        igeslib::Interval r = c->finite_range();
        for (int i = 0; i <= 16; ++i) {
          Vec3 q = c->point(r.lo + r.length() * i / 16);
          if (igeslib::finite(q)) rough.add(view_.x(q), view_.y(q));
        }
      }
    }
    double pixel = rough.empty() ? 0
                                 : std::max(rough.dx() / (width - 2 * kMargin),
                                            rough.dy() / (height - 2 * kMargin - kLegendHeight));
    igeslib::Tolerance tolerance;
    tolerance.chord = pixel > 0 && std::isfinite(pixel) ? kChordPixels * pixel : 0;
    tolerance.angle = 0.1745;  // 10 degrees
    tolerance.max_points = 20000;
    for (Path& path : paths_) {
      for (const auto& c : path.curves) {
        igeslib::Polyline line = c->polyline(tolerance);
        std::vector<double> xy;
        xy.reserve(2 * line.points.size());
        for (const Vec3& q : line.points) {
          if (!igeslib::finite(q)) continue;
          size_.add(q);
          xy.push_back(view_.x(q));
          xy.push_back(view_.y(q));
        }
        if (!xy.empty()) path.xy.push_back(std::move(xy));
      }
      for (const Vec3& m : path.marks) {
        if (!igeslib::finite(m)) continue;
        size_.add(m);
        path.xy.push_back({view_.x(m), view_.y(m)});
      }
    }
  }

  // The box of every point drawn, in model space.
  const igeslib::Box& size() const { return size_; }
  unsigned long drawn() const { return drawn_; }
  const Tally& skipped() const { return skipped_; }
  const Tally& incomplete() const { return incomplete_; }

  void render(cairo_t* cr, int width, int height) const;

 private:
  struct Box2 {
    double x0 = igeslib::infinity, y0 = igeslib::infinity;
    double x1 = -igeslib::infinity, y1 = -igeslib::infinity;
    void add(double x, double y) {
      x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
    }
    bool empty() const { return !(x0 <= x1 && y0 <= y1); }
    double dx() const { return x1 - x0; }
    double dy() const { return y1 - y0; }
  };

  // Entities whose class can carry geometry: they are counted when not drawn.
  static bool has_geometry(igs_directory_entry* e) {
    if (lumo_cast<igs_transformation_matrix_entity>(e)) return false;
    return lumo_cast<igs_geometric_entity>(e) || lumo_cast<igs_annotation_entity>(e) ||
           lumo_cast<igs_constructive_solid_geometry_entity>(e) ||
           lumo_cast<igs_manifold_solid_brep_entity>(e) || lumo_cast<igs_shell_entity>(e) ||
           lumo_cast<igs_face_entity>(e) || lumo_cast<igs_null_entity>(e);
  }

  static std::string not_drawn(igs_directory_entry* e) {
    if (lumo_cast<igs_null_entity>(e)) {
      auto [type, form] = igeslib_tools::type_and_form(e);
      return "entity not read: type " + std::to_string(type) + " form " + std::to_string(form);
    }
    if (lumo_cast<igs_annotation_entity>(e)) return "annotation is not drawn";
    if (lumo_cast<igs_constructive_solid_geometry_entity>(e)) return "solids of CSG are not drawn";
    if (e->entity_type() == 106)
      return "copious data of form " + std::to_string(e->form()) + " is not drawn";
    return "not a curve or surface";
  }

  // A surface bounded by curves of its own: trimmed, bounded, a face, a plane with a curve.
  static bool bounded(igs_directory_entry* e) {
    if (auto* plane = lumo_cast<igs_plane_entity>(e)) return plane->ptr() != nullptr;
    return lumo_cast<igs_trimmed_parametric_surface_entity>(e) ||
           lumo_cast<igs_bounded_surface_entity>(e) || lumo_cast<igs_face_entity>(e);
  }

  // The entity's colour; the instance's where its hierarchy gives its attributes to what it
  // shows, or where the entity has none.
  static std::optional<igeslib::Rgb> colour_for(igs_directory_entry* e,
                                                igs_directory_entry* instance) {
    std::optional<igeslib::Rgb> own = igeslib::colour_of(e);
    if (!instance) return own;
    std::optional<igeslib::Rgb> from = igeslib::colour_of(instance);
    if (from && (instance->hierarchy() == igs_hierarchy_flag_all || !own)) return from;
    return own;
  }

  static igeslib::Rgb ink(const std::optional<igeslib::Rgb>& c) {
    if (!c) return {0.1, 0.1, 0.1};
    if (c->r > 0.9 && c->g > 0.9 && c->b > 0.9) return {0.35, 0.35, 0.35};  // white on white
    return *c;
  }

  Path& path(const std::optional<igeslib::Rgb>& colour, Layer layer) {
    igeslib::Rgb c = ink(colour);
    paths_.push_back({{layer == Layer::isoline ? lighter(c) : c, layer}, {}, {}, {}});
    return paths_.back();
  }

  void curve(igs_directory_entry* e, const igeslib::Placed& p,
             const std::optional<igeslib::Rgb>& colour, std::string& why) {
    std::unique_ptr<igeslib::Curve> c = igeslib::make_curve(e, &why);
    if (!c) return;
    if (auto* point = lumo_cast<igs_point_entity>(e)) {
      // A point with a display symbol is shown by the symbol, which placements() gives.
      if (point->ptr() && point->ptr()->de()->size() > 0) {
        path(colour, Layer::point);  // nothing of its own to stroke
        return;
      }
      path(colour, Layer::point).marks.push_back(p.transform.point(c->point(0)));
      return;
    }
    path(colour, Layer::curve).curves.push_back(igeslib::placed(std::move(c), p.transform));
  }

  // A surface, trimmed or bounded surface or face: its boundary and its iso-curves. Edges
  // already drawn (shared by the faces of one solid) are drawn once.
  void surface(igs_directory_entry* e, const igeslib::Transform& t,
               const std::optional<igeslib::Rgb>& colour,
               std::unordered_set<igs_directory_entry*>* edges, std::vector<std::string>& faults,
               std::string& why) {
    auto boundary = std::make_shared<igeslib::Boundary>(igeslib::boundary_of(e));
    for (const std::string& f : boundary->faults) faults.push_back(f);
    igeslib::Surface* s = boundary->surface.get();
    if (s && !bounded(e) && !(s->domain().u.bounded() && s->domain().v.bounded())) {
      why = "unbounded, with nothing to bound it";  // a plane or cylinder standing alone
      return;
    }
    Path lines{{ink(colour), Layer::curve}, {}, {}, {}};
    for (auto& c : boundary->curves) {
      igs_directory_entry* of = c->entity();
      if (edges && of && !edges->insert(of).second) continue;
      lines.curves.push_back(std::make_unique<Borrowed>(std::move(c), boundary, t));
    }
    Path isos{{lighter(ink(colour)), Layer::isoline}, {}, {}, {}};
    for (auto& c : igeslib::isolines(*boundary, kIsolines))
      isos.curves.push_back(std::make_unique<Borrowed>(std::move(c), boundary, t));
    if (lines.curves.empty() && isos.curves.empty()) {
      if (why.empty() && !faults.empty()) why = faults.front();
      return;
    }
    if (!isos.curves.empty()) paths_.push_back(std::move(isos));
    if (!lines.curves.empty()) paths_.push_back(std::move(lines));
  }

  void solid(igs_directory_entry* e, const igeslib::Transform& t,
             const std::optional<igeslib::Rgb>& colour,
             std::unordered_set<igs_directory_entry*>& edges, std::vector<std::string>& faults,
             std::string& why) {
    std::vector<igs_shell_entity*> shells;
    if (auto* s = lumo_cast<igs_manifold_solid_brep_entity>(e)) {
      shells.push_back(s->shell());
      for (unsigned i = 0; i < s->void_shells()->size(); ++i)
        if (igs_void_shell* v = (*s->void_shells())[i]) shells.push_back(v->Void());
      if (!s->shell()) why = "no shell";
    } else {
      shells.push_back(lumo_cast<igs_shell_entity>(e));
    }
    bool top_down = e->hierarchy() == igs_hierarchy_flag_all;
    for (igs_shell_entity* shell : shells) {
      if (!shell) continue;
      for (unsigned i = 0; i < shell->faces()->size(); ++i) {
        igs_face_data* use = (*shell->faces())[i];
        igs_face_entity* face = use ? use->face_ptr() : nullptr;
        if (!face) {
          faults.push_back("face " + std::to_string(i + 1) + ": missing");
          continue;
        }
        std::optional<igeslib::Rgb> own = igeslib::colour_of(face);
        std::vector<std::string> face_faults;
        std::string face_why;
        surface(face, t, (top_down && colour) || !own ? colour : own, &edges, face_faults,
                face_why);
        for (const std::string& f : face_faults)
          faults.push_back("face " + std::to_string(i + 1) + " " + f);
      }
    }
  }

  // A curve placed by t that keeps the boundary it belongs to (its surface) alive.
  class Borrowed final : public igeslib::Curve {
   public:
    Borrowed(std::unique_ptr<igeslib::Curve> c, std::shared_ptr<igeslib::Boundary> owner,
             const igeslib::Transform& t)
        : owner_(std::move(owner)), c_(igeslib::placed(std::move(c), t)) {}
    igeslib::Interval range() const override { return c_->range(); }
    igeslib::Interval finite_range() const override { return c_->finite_range(); }
    void evaluate(double s, Vec3& p, Vec3& d) const override { c_->evaluate(s, p, d); }
    std::vector<double> breaks() const override { return c_->breaks(); }
    igeslib::Polyline polyline(const igeslib::Tolerance& t) const override {
      return c_->polyline(t);
    }

   private:
    std::shared_ptr<igeslib::Boundary> owner_;
    std::unique_ptr<igeslib::Curve> c_;
  };

  void skip(igs_directory_entry* e, const std::string& why) { ++skipped_[{class_of(e), why}]; }

  Projection view_;
  std::vector<Path> paths_;
  igeslib::Box size_;
  unsigned long drawn_ = 0;
  Tally skipped_, incomplete_;
};

void Drawing::render(cairo_t* cr, int width, int height) const {
  Box2 box;
  for (const Path& path : paths_)
    for (const auto& xy : path.xy)
      for (std::size_t i = 0; i + 1 < xy.size(); i += 2) box.add(xy[i], xy[i + 1]);
  double w = width - 2 * kMargin, h = height - 2 * kMargin - kLegendHeight;
  double scale = 1;
  if (!box.empty()) {
    double sx = box.dx() > 0 ? w / box.dx() : igeslib::infinity;
    double sy = box.dy() > 0 ? h / box.dy() : igeslib::infinity;
    scale = std::min(sx, sy);
    if (!std::isfinite(scale)) scale = 1;
  } else {
    box.add(0, 0);
  }
  double cx = (box.x0 + box.x1) / 2, cy = (box.y0 + box.y1) / 2;
  double ox = kMargin + w / 2, oy = kMargin + h / 2;
  auto px = [&](double x) { return ox + (x - cx) * scale; };
  auto py = [&](double y) { return oy - (y - cy) * scale; };

  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  for (Layer layer : {Layer::isoline, Layer::curve, Layer::point}) {
    for (const Path& path : paths_) {
      if (path.style.layer != layer || path.xy.empty()) continue;
      cairo_set_source_rgb(cr, path.style.colour.r, path.style.colour.g, path.style.colour.b);
      cairo_set_line_width(cr, layer == Layer::isoline ? 0.5 : 1.0);
      for (const auto& xy : path.xy) {
        double x = px(xy[0]), y = py(xy[1]);
        if (layer == Layer::point) {  // a small cross
          cairo_move_to(cr, x - 3, y - 3);
          cairo_line_to(cr, x + 3, y + 3);
          cairo_move_to(cr, x - 3, y + 3);
          cairo_line_to(cr, x + 3, y - 3);
          continue;
        }
        cairo_move_to(cr, x, y);
        // Points closer than a fifth of a pixel to the last one drawn add nothing.
        double lx = x, ly = y;
        std::size_t n = xy.size();
        for (std::size_t i = 2; i + 1 < n; i += 2) {
          double qx = px(xy[i]), qy = py(xy[i + 1]);
          bool last = i + 2 >= n;
          if (!last && std::abs(qx - lx) < 0.2 && std::abs(qy - ly) < 0.2) continue;
          cairo_line_to(cr, qx, qy);
          lx = qx, ly = qy;
        }
        if (n == 2) cairo_line_to(cr, x, y);  // a polyline of one point: a dot
      }
      cairo_stroke(cr);
    }
  }
}

std::string number(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", v);
  return text;
}

// "100 x 60 x 0 MM", or "empty".
std::string model_size(const igeslib::Box& box, const igeslib::Units& units) {
  if (box.empty()) return "empty";
  Vec3 s = box.size();
  std::string unit = units.millimetres > 0 ? " " + units.symbol() : "";
  return number(s.x) + " x " + number(s.y) + " x " + number(s.z) + unit;
}

cairo_status_t write_to(void* closure, const unsigned char* data, unsigned int length) {
  return std::fwrite(data, 1, length, static_cast<FILE*>(closure)) == length
             ? CAIRO_STATUS_SUCCESS
             : CAIRO_STATUS_WRITE_ERROR;
}

void legend(cairo_t* cr, int height, const std::string& text) {
  cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr, 12);
  cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
  cairo_move_to(cr, kMargin, height - kMargin / 2 - 4);
  cairo_show_text(cr, text.c_str());
}

// Draws onto a new surface and writes it to out: kCompleted, or kUsage when it can't be
// written.
int write_picture(const Options& o, const Drawing& drawing, const std::string& caption) {
  FILE* out = std::fopen(o.output, "wb");
  if (!out) {
    std::fprintf(stderr, "iges-view: %s: %s\n", o.output, std::strerror(errno));
    return igeslib_tools::kUsage;
  }
  cairo_surface_t* surface =
      o.png ? cairo_image_surface_create(CAIRO_FORMAT_RGB24, o.width, o.height)
            : cairo_svg_surface_create_for_stream(write_to, out, o.width, o.height);
  if (!o.png) cairo_svg_surface_set_document_unit(surface, CAIRO_SVG_UNIT_PX);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  drawing.render(cr, o.width, o.height);
  legend(cr, o.height, caption);
  cairo_status_t status = cairo_status(cr);
  cairo_destroy(cr);
  if (status == CAIRO_STATUS_SUCCESS && o.png)
    status = cairo_surface_write_to_png_stream(surface, write_to, out);
  cairo_surface_finish(surface);  // an SVG surface writes its document now
  if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface);
  cairo_surface_destroy(surface);
  bool failed = status != CAIRO_STATUS_SUCCESS || std::ferror(out);
  if (std::fclose(out) != 0) failed = true;
  if (failed) {
    std::fprintf(stderr, "iges-view: %s: the picture could not be written (%s)\n", o.output,
                 status != CAIRO_STATUS_SUCCESS ? cairo_status_to_string(status) : "write failed");
    return igeslib_tools::kUsage;
  }
  return igeslib_tools::kCompleted;
}

void print_tally(const char* title, const char* word, const Tally& tally) {
  unsigned long total = 0;
  for (const auto& [key, count] : tally) total += count;
  std::printf("%s: %lu\n", title, total);
  for (const auto& [key, count] : tally)
    std::printf("%s %s: %lu (%s)\n", word, key.first.c_str(), count, key.second.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  using namespace igeslib_tools;
  Options o;
  int parsed = parse(argc, argv, o);
  if (parsed == -1) {
    std::fputs(kUsageText, stdout);
    return kCompleted;
  }
  if (parsed != kCompleted) return parsed;

  Session session("iges-view");
  int status = session.read(o.input, o.strict_end);
  if (status == kUsage) return status;
  if (status == kFatal)
    std::fprintf(stderr,
                 "iges-view: %s: the read stopped at a fatal error; what was read before "
                 "it is drawn\n",
                 o.input);

  ListOfigs_directory_entry* list = session.file()->directory_entries();
  std::span<igs_directory_entry* const> entities(list->_data(), list->size());
  igeslib::Units units = igeslib::model_units(session.file()->global_section());
  Drawing drawing(projection(o.view));
  for (const igeslib::Placed& p : igeslib::placements(entities)) drawing.add(p);
  drawing.sample(o.width, o.height);

  std::string name = o.input;
  if (std::size_t slash = name.find_last_of('/'); slash != std::string::npos)
    name.erase(0, slash + 1);
  std::string size = model_size(drawing.size(), units);
  std::string caption = name + "   units " + (units.millimetres > 0 ? units.symbol() : "unknown") +
                        "   size " + size + "   view " + o.view;
  int written = write_picture(o, drawing, caption);
  if (written != kCompleted) return written;

  std::printf("File: %s\n", o.input);
  std::printf("Picture: %s (%s, %d x %d, view %s)\n", o.output, o.png ? "PNG" : "SVG", o.width,
              o.height, o.view.c_str());
  std::printf("Units: %s\n", units.millimetres > 0 ? units.symbol().c_str() : "unknown");
  std::printf("Model size: %s\n", size.c_str());
  std::printf("Drawn: %lu\n", drawing.drawn());
  print_tally("Skipped", "skipped", drawing.skipped());
  print_tally("Incomplete", "incomplete", drawing.incomplete());
  return status;
}
