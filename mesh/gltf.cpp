// glTF 2.0 through tinygltf: one mesh for each face, shared by every instance that shows its
// body; a node for each instance, under a node for the subfigure instance that shows it;
// colours as materials; names from name properties; the scene scaled to metres.
#include <tiny_gltf.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>

#include "igeslib.h"
#include "igeslib_mesh.h"

namespace igeslib {

namespace {

// "trimmed_parametric_surface 25": the class without its prefix and suffix, and the DE number.
std::string label_of(igs_directory_entry* e) {
  std::string name = name_of(e);
  if (!name.empty()) return name;
  LumoDomain* domain = e->domain();
  std::string kind = domain && domain->name() ? domain->name() : "entity";
  if (kind.ends_with("_entity")) kind.resize(kind.size() - 7);
  return kind + " " + std::to_string(e->de_number);
}

class Writer {
 public:
  Writer() {
    model_.asset.version = "2.0";
    model_.asset.generator = std::string("igeslib ") + igeslib_version();
  }

  int mesh(const MeshedFace& face, const Rgb& colour, bool double_sided) {
    const TriangleMesh& m = face.mesh;
    std::vector<float> points, normals;
    std::vector<double> lo(3, infinity), hi(3, -infinity);
    for (std::size_t i = 0; i < m.points.size(); ++i) {
      float p[3] = {float(m.points[i].x), float(m.points[i].y), float(m.points[i].z)};
      for (int k = 0; k < 3; ++k) {
        lo[k] = std::min(lo[k], double(p[k]));
        hi[k] = std::max(hi[k], double(p[k]));
      }
      points.insert(points.end(), p, p + 3);
      normals.insert(normals.end(),
                     {float(m.normals[i].x), float(m.normals[i].y), float(m.normals[i].z)});
    }
    std::vector<std::uint32_t> indices;
    for (const auto& t : m.triangles) indices.insert(indices.end(), t.begin(), t.end());

    tinygltf::Primitive primitive;
    primitive.attributes["POSITION"] =
        accessor(points.data(), points.size() * 4, TINYGLTF_TARGET_ARRAY_BUFFER,
                 TINYGLTF_COMPONENT_TYPE_FLOAT, m.points.size(), TINYGLTF_TYPE_VEC3, lo, hi);
    primitive.attributes["NORMAL"] =
        accessor(normals.data(), normals.size() * 4, TINYGLTF_TARGET_ARRAY_BUFFER,
                 TINYGLTF_COMPONENT_TYPE_FLOAT, m.points.size(), TINYGLTF_TYPE_VEC3, {}, {});
    primitive.indices = accessor(
        indices.data(), indices.size() * 4, TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER,
        TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, indices.size(), TINYGLTF_TYPE_SCALAR, {}, {});
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    primitive.material = material(colour, double_sided);
    tinygltf::Mesh mesh;
    mesh.name = label_of(face.entity);
    mesh.primitives.push_back(std::move(primitive));
    model_.meshes.push_back(std::move(mesh));
    return static_cast<int>(model_.meshes.size() - 1);
  }

  int node(std::string name, int mesh = -1) {
    tinygltf::Node n;
    n.name = std::move(name);
    n.mesh = mesh;
    model_.nodes.push_back(std::move(n));
    return static_cast<int>(model_.nodes.size() - 1);
  }
  tinygltf::Node& at(int node) { return model_.nodes[node]; }
  void child(int parent, int node) { model_.nodes[parent].children.push_back(node); }

  tinygltf::Model& model() { return model_; }

 private:
  int accessor(const void* data, std::size_t bytes, int target, int component, std::size_t count,
               int type, std::vector<double> lo, std::vector<double> hi) {
    // One buffer for everything, made with the first data: an empty buffer is not allowed.
    if (model_.buffers.empty()) model_.buffers.emplace_back();
    std::vector<unsigned char>& buffer = model_.buffers[0].data;
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = buffer.size();
    view.byteLength = bytes;
    view.target = target;
    buffer.resize(buffer.size() + bytes);
    if (bytes) std::memcpy(buffer.data() + view.byteOffset, data, bytes);
    model_.bufferViews.push_back(view);
    tinygltf::Accessor a;
    a.bufferView = static_cast<int>(model_.bufferViews.size() - 1);
    a.componentType = component;
    a.count = count;
    a.type = type;
    a.minValues = std::move(lo);
    a.maxValues = std::move(hi);
    model_.accessors.push_back(std::move(a));
    return static_cast<int>(model_.accessors.size() - 1);
  }

  int material(const Rgb& c, bool double_sided) {
    auto key = std::make_tuple(c.r, c.g, c.b, double_sided);
    auto [it, fresh] = materials_.try_emplace(key, static_cast<int>(model_.materials.size()));
    if (fresh) {
      tinygltf::Material m;
      char name[64];
      std::snprintf(name, sizeof name, "rgb %.3g %.3g %.3g", c.r, c.g, c.b);
      m.name = name;
      m.pbrMetallicRoughness.baseColorFactor = {c.r, c.g, c.b, 1.0};
      m.pbrMetallicRoughness.metallicFactor = 0.0;
      m.pbrMetallicRoughness.roughnessFactor = 0.6;
      m.doubleSided = double_sided;
      model_.materials.push_back(std::move(m));
    }
    return it->second;
  }

  tinygltf::Model model_;
  std::map<std::tuple<double, double, double, bool>, int> materials_;
};

// A transform as glTF's column-major 4x4 matrix; empty for the identity.
std::vector<double> matrix_of(const Transform& t) {
  if (t.is_identity()) return {};
  std::vector<double> m(16, 0.0);
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 3; ++r) m[c * 4 + r] = t.m[r][c];
  m[15] = 1;
  return m;
}

}  // namespace

std::string write_gltf(const Tessellation& tessellation, const std::filesystem::path& path,
                       const GltfOptions& options) {
  bool binary = options.form == GltfOptions::Form::binary;
  if (options.form == GltfOptions::Form::by_suffix) {
    std::string suffix = path.extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(), ::tolower);
    if (suffix != ".glb" && suffix != ".gltf") return "the file's suffix is neither .glb nor .gltf";
    binary = suffix == ".glb";
  }
  Writer w;
  int root = w.node(options.name.empty() ? "model" : options.name);
  if (options.units.millimetres > 0) {
    double s = options.units.millimetres / 1000;
    w.at(root).scale = {s, s, s};
  }

  // Each face's mesh once, in its body's coordinates.
  std::vector<std::vector<int>> meshes(tessellation.bodies.size());
  for (std::size_t b = 0; b < tessellation.bodies.size(); ++b) {
    const MeshBody& body = tessellation.bodies[b];
    std::optional<Rgb> body_colour = colour_of(body.entity);
    for (const MeshedFace& face : body.faces) {
      Rgb colour = colour_of(face.entity).value_or(body_colour.value_or(Rgb{0.8, 0.8, 0.8}));
      meshes[b].push_back(w.mesh(face, colour, !body.solid));
    }
  }
  std::map<igs_directory_entry*, int> groups;
  for (const MeshInstance& instance : tessellation.instances) {
    const MeshBody& body = tessellation.bodies[instance.body];
    if (body.faces.empty()) continue;
    int parent = root;
    if (instance.instance) {
      auto [it, fresh] = groups.try_emplace(instance.instance, 0);
      if (fresh) {
        it->second = w.node(label_of(instance.instance));
        w.child(root, it->second);
      }
      parent = it->second;
    }
    const std::vector<int>& body_meshes = meshes[instance.body];
    bool single = body.faces.size() == 1 && body.faces[0].entity == body.entity;
    int node = w.node(label_of(body.entity), single ? body_meshes[0] : -1);
    w.at(node).matrix = matrix_of(instance.transform);
    w.child(parent, node);
    if (single) continue;
    for (std::size_t f = 0; f < body.faces.size(); ++f)
      w.child(node, w.node(label_of(body.faces[f].entity), body_meshes[f]));
  }
  tinygltf::Scene scene;
  scene.name = w.at(root).name;
  scene.nodes.push_back(root);
  w.model().scenes.push_back(scene);
  w.model().defaultScene = 0;

  tinygltf::TinyGLTF gltf;
  if (!gltf.WriteGltfSceneToFile(&w.model(), path.string(), false, true, !binary, binary))
    return "can't write " + path.string();
  return {};
}

}  // namespace igeslib
