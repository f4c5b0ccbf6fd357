// mesh_model FILE: every surface and B-rep body of an IGES file tessellated within its trims;
// each shell said with its triangles, whether its mesh closes, its area and volume, each face
// that could not be meshed with the reason; the whole written as FILE.glb and FILE.stl.
#include <cstdio>
#include <string>

#include <igeslib.h>
#include <igeslib_mesh.h>

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: mesh_model FILE\n");
    return 2;
  }
  igeslib::Model model = igeslib::read(argv[1]);
  if (!model.completed()) return 1;

  // A chord of 0 takes 1/1000 of the model's size; shared B-rep edges are sampled once.
  igeslib::MeshOptions options;
  options.chord = 0.01;
  igeslib::Tessellation mesh = igeslib::tessellate(model.entities(), options);
  for (const igeslib::MeshBody& body : mesh.bodies) {
    for (const igeslib::ShellCheck& shell : body.shells)
      std::printf("shell %d: %zu faces, %s, area %.6g, volume %.6g\n", shell.shell->de_number,
                  shell.faces, shell.closed() ? "closed" : "open", shell.area, shell.volume);
  }
  for (const igeslib::MeshFailure& failure : mesh.failures)
    std::printf("DE %d not meshed: %s\n", failure.entity->de_number, failure.reason.c_str());

  // glTF in metres when the file's units are known; STL in the model's units.
  igeslib::GltfOptions gltf;
  gltf.units = igeslib::model_units(model.global_section());
  std::string error = igeslib::write_gltf(mesh, std::string(argv[1]) + ".glb", gltf);
  if (error.empty()) error = igeslib::write_stl(mesh, std::string(argv[1]) + ".stl");
  if (!error.empty()) {
    std::fprintf(stderr, "mesh_model: %s\n", error.c_str());
    return 1;
  }
  std::printf("%zu triangles written to %s.glb and %s.stl\n", mesh.triangles(), argv[1], argv[1]);
  return 0;
}
