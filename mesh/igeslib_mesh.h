// Meshes from the model: every surface tessellated within its trimming, B-rep shells meshed
// with each shared edge sampled once so that a closed shell gives a closed mesh, and the
// result written as glTF 2.0 or binary STL.
//
//   igeslib::Model model = igeslib::read("part.igs");
//   igeslib::Tessellation mesh = igeslib::tessellate(model.entities(), {.chord = 0.05});
//   for (const igeslib::MeshFailure& f : mesh.failures) ...   // what could not be meshed, why
//   igeslib::write_gltf(mesh, "part.glb", {.units = igeslib::model_units(model.global_section())});
//
// A body is what is meshed as one piece: a surface standing alone (any surface class, a
// trimmed or bounded surface, a plane bounded by its curve), a B-rep face, shell or manifold
// solid. Each body is meshed once, in its own coordinates, and shown by one or more
// instances that place it in model space (its transformation matrices, subfigure instances).
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "igeslib_geometry.h"

class igs_directory_entry;
class igs_shell_entity;

namespace igeslib {

struct MeshOptions {
  // The largest distance between a triangle and its surface, and between a boundary segment
  // and its curve, in model units; 0 means 1/1000 of the diagonal of the model's box.
  double chord = 0;
  // The largest angle (radians) between a triangle's normal and the surface's normals at its
  // corners, and the largest turn of a boundary curve along one segment.
  double angle = 0.2617993877991494;  // 15 degrees
  // A bound on the points of one face, so that a tolerance far below the model's resolution
  // can't run away; the face is then as fine as this many points allow.
  int max_face_points = 200000;
  // Blanked bodies are left out unless asked for.
  bool blanked = false;
};

// Triangles over shared points. Each triangle runs counter-clockwise seen from the side its
// face's normal points to.
struct TriangleMesh {
  std::vector<Vec3> points;
  std::vector<Vec3> normals;  // unit, one for each point
  std::vector<std::array<std::uint32_t, 3>> triangles;
  double area() const;
  // The volume enclosed, by the divergence theorem: positive for a closed mesh whose normals
  // point outward; meaningless for an open one.
  double volume() const;
};

// One face of a body: a surface entity (a trimmed or bounded surface, a plane, an untrimmed
// surface) or a B-rep face, tessellated in the body's coordinates.
struct MeshedFace {
  igs_directory_entry* entity = nullptr;
  TriangleMesh mesh;
};

// How one shell's faces fit together: a closed mesh uses every edge by exactly two triangles,
// in opposite directions. Edges are matched by their end points' exact coordinates.
struct ShellCheck {
  igs_shell_entity* shell = nullptr;
  bool closed_form = false;  // a closed shell (form 1), or a shell of a solid
  // Every edge of the shell's loops is used by exactly two edge uses: the shell is closed in
  // its topology, not only by its form (some writers give every sheet a closed shell).
  bool edges_paired = false;
  std::size_t faces = 0;          // faces of the shell
  std::size_t failed_faces = 0;   // of them, those that could not be meshed
  std::size_t open_edges = 0;     // edges used by one triangle
  std::size_t excess_edges = 0;   // edges used by more than two triangles
  std::size_t flipped_edges = 0;  // edges used twice in the same direction
  double area = 0, volume = 0;
  // Its faces were turned over: the shell closed with every face facing inward, against the
  // outward normals a solid's outer shell has (a writer that reads the flags the other way).
  bool turned = false;
  bool closed() const { return failed_faces == 0 && open_edges == 0 && excess_edges == 0; }
};

struct MeshBody {
  igs_directory_entry* entity = nullptr;  // the surface, face, shell or solid
  std::vector<MeshedFace> faces;
  std::vector<ShellCheck> shells;  // the shells of a B-rep shell or solid
  // A B-rep solid or closed shell: its faces have an inside and an outside.
  bool solid = false;
};

// A body as the model shows it.
struct MeshInstance {
  std::size_t body = 0;  // index into Tessellation::bodies
  Transform transform;   // from the body's coordinates to model space
  // The outermost subfigure instance (408, 412, 414) that shows the body; null for a body
  // that stands on its own.
  igs_directory_entry* instance = nullptr;
};

// A face or surface that could not be meshed, or a body left out, and why ("no parameter-space
// trim and inversion failed", "degenerate loop", "surface: knots out of order", ...).
struct MeshFailure {
  igs_directory_entry* entity = nullptr;  // the face or surface
  igs_directory_entry* body = nullptr;    // the body it belongs to
  std::string reason;
};

struct Tessellation {
  std::vector<MeshBody> bodies;
  std::vector<MeshInstance> instances;
  std::vector<MeshFailure> failures;
  double chord = 0;               // the chord tolerance used, in model units
  std::size_t blanked = 0;        // bodies left out because they are blanked
  std::size_t triangles() const;  // over every instance
};

// Every body of the model tessellated once, with the instances that show it.
Tessellation tessellate(std::span<igs_directory_entry* const> entities,
                        const MeshOptions& options = {});

// One body in its own coordinates: a surface class (108 bounded, 114 ... 198, 143, 144), a
// B-rep face (510), shell (514) or manifold solid (186). The chord is taken as given, 0 giving
// 1/1000 of the body's size. Faces that can't be meshed go to failures, when given.
MeshBody tessellate_body(igs_directory_entry* entity, const MeshOptions& options = {},
                         std::vector<MeshFailure>* failures = nullptr);

// Whether an entity is meshed as a body of its own when nothing else holds it.
bool is_body(igs_directory_entry* entity);

// The name an entity is given by a name property (406 form 15) attached to it; empty for none.
std::string name_of(igs_directory_entry* entity);

// All instances' triangles in model space as one mesh, points with the same coordinates
// merged; face_of, when given, receives for each triangle the face entity it came from.
TriangleMesh merged_mesh(const Tessellation& tessellation,
                         std::vector<igs_directory_entry*>* face_of = nullptr);

struct GltfOptions {
  // The model's units: the scene is scaled to metres, as glTF wants, when they are known.
  Units units;
  // Binary (.glb) or JSON with the buffer embedded (.gltf); by default from the file's suffix.
  enum class Form { by_suffix, binary, text } form = Form::by_suffix;
  // The name of the scene's root node: the file's name, say.
  std::string name;
};

// Writes glTF 2.0: one mesh for each face, a node for each instance (named by the body's name
// property) under a node for its subfigure instance, colours as materials. Empty on success,
// else what went wrong.
std::string write_gltf(const Tessellation& tessellation, const std::filesystem::path& path,
                       const GltfOptions& options = {});

// Writes binary STL: every instance's triangles in model space. Empty on success, else what
// went wrong.
std::string write_stl(const Tessellation& tessellation, const std::filesystem::path& path,
                      const std::string& header = "");

}  // namespace igeslib
