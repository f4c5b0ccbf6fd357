// Binary STL: an 80-byte header, the count of triangles, then each triangle's normal and
// corners as little-endian 32-bit floats and two bytes of nothing.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>

#include "igeslib_mesh.h"
#include "mesh_internal.h"

namespace igeslib {

namespace {

class LittleEndian {
 public:
  explicit LittleEndian(std::FILE* f) : f_(f) {}
  void u32(std::uint32_t v) {
    unsigned char b[4] = {static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8),
                          static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 24)};
    std::fwrite(b, 1, 4, f_);
  }
  void f32(double v) {
    float f = static_cast<float>(v);
    std::uint32_t bits;
    std::memcpy(&bits, &f, 4);
    u32(bits);
  }
  void vec(const Vec3& v) { f32(v.x), f32(v.y), f32(v.z); }

 private:
  std::FILE* f_;
};

}  // namespace

std::string write_stl(const Tessellation& tessellation, const std::filesystem::path& path,
                      const std::string& header) {
  std::size_t count = tessellation.triangles();
  if (count > std::numeric_limits<std::uint32_t>::max()) return "too many triangles for STL";
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"),
                                                       &std::fclose);
  if (!file) return "can't open " + path.string() + ": " + std::strerror(errno);
  // A header that begins with "solid" would make readers take the file for ASCII STL.
  char head[80] = {};
  std::string text = header.empty() ? "binary STL" : header;
  if (text.rfind("solid", 0) == 0) text = "binary " + text;
  std::memcpy(head, text.data(), std::min<std::size_t>(text.size(), 80));
  std::fwrite(head, 1, 80, file.get());
  LittleEndian out(file.get());
  out.u32(static_cast<std::uint32_t>(count));
  for (const MeshInstance& instance : tessellation.instances) {
    const Transform& t = instance.transform;
    bool mirrored = mesh_detail::determinant(t) < 0;
    for (const MeshedFace& face : tessellation.bodies[instance.body].faces) {
      const TriangleMesh& m = face.mesh;
      for (const auto& tri : m.triangles) {
        Vec3 a = t.point(m.points[tri[0]]), b = t.point(m.points[tri[1]]),
             c = t.point(m.points[tri[2]]);
        if (mirrored) std::swap(b, c);
        out.vec(normalized(cross(b - a, c - a)));
        out.vec(a), out.vec(b), out.vec(c);
        unsigned char attribute[2] = {0, 0};
        std::fwrite(attribute, 1, 2, file.get());
      }
    }
  }
  if (std::ferror(file.get())) return "can't write " + path.string();
  std::FILE* f = file.release();
  if (std::fclose(f) != 0) return "can't write " + path.string() + ": " + std::strerror(errno);
  return {};
}

}  // namespace igeslib
