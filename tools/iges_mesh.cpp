// iges-mesh FILE -o OUT.glb|OUT.gltf|OUT.stl: every surface and B-rep face of an IGES file
// tessellated within its trims and written as glTF 2.0 or binary STL, with a summary of what
// was meshed and every face that could not be, with the reason.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <igeslib.h>
#include <igeslib_mesh.h>

#include "tool_support.h"

namespace {

const char kUsageText[] =
    "Usage: iges-mesh FILE -o OUT.glb|OUT.gltf|OUT.stl [--tolerance T] [--angle DEG]\n"
    "                 [--blanked] [--strict-end]\n"
    "Tessellates every surface of an IGES file within its trims (trimmed and bounded\n"
    "surfaces, bounded planes, surfaces standing alone) and every B-rep face, shell and solid,\n"
    "the edges a shell's faces share sampled once so that a closed shell gives a closed\n"
    "mesh, and writes the triangles as glTF 2.0 (.glb binary, .gltf text: a mesh for each\n"
    "face, a node for each instance, colours as materials, names from name properties, the\n"
    "scene in metres when the file's units are known) or as binary STL (.stl, model units).\n"
    "--tolerance T is the largest distance between a triangle and its surface, in model\n"
    "units (default 1/1000 of the model's size); --angle DEG the largest angle between a\n"
    "triangle's normal and the surface's at its corners (default 15). Blanked bodies are left\n"
    "out unless --blanked is given.\n"
    "Prints the chord used, the bodies, faces and triangles meshed, each shell with whether\n"
    "its mesh closes, and every face that could not be meshed with the reason.\n"
    "Exit status: 0 the file was read to its end and written, 1 the read stopped at a fatal\n"
    "error (nothing written), 2 bad arguments or a file that can't be opened or written,\n"
    "3 the file was read to its end but its last record was damaged (OUT written).\n";

// "trimmed_parametric_surface_entity 25", with the entity's name property where it has one.
std::string describe(igs_directory_entry* e) {
  if (!e) return "?";
  LumoDomain* domain = e->domain();
  std::string text = (domain && domain->name() ? domain->name() : "?") + std::string(" ") +
                     std::to_string(e->de_number);
  std::string name = igeslib::name_of(e);
  if (!name.empty()) text += " \"" + name + "\"";
  return text;
}

bool number(const char* text, double& out) {
  char* end = nullptr;
  out = std::strtod(text, &end);
  return end != text && *end == '\0' && std::isfinite(out) && out > 0;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace igeslib_tools;
  const char* path = nullptr;
  const char* out_path = nullptr;
  bool strict_end = false;
  igeslib::MeshOptions options;
  auto usage = [] {
    std::fputs(kUsageText, stderr);
    return kUsage;
  };
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (argc == 2 && (std::strcmp(arg, "--help") == 0 || std::strcmp(arg, "-h") == 0)) {
      std::fputs(kUsageText, stdout);
      return kCompleted;
    }
    bool has_value = i + 1 < argc;
    if (std::strcmp(arg, "--strict-end") == 0) {
      strict_end = true;
    } else if (std::strcmp(arg, "--blanked") == 0) {
      options.blanked = true;
    } else if (std::strcmp(arg, "-o") == 0 && has_value) {
      out_path = argv[++i];
    } else if (std::strcmp(arg, "--tolerance") == 0 && has_value) {
      if (!number(argv[++i], options.chord)) return usage();
    } else if (std::strcmp(arg, "--angle") == 0 && has_value) {
      double degrees = 0;
      if (!number(argv[++i], degrees) || degrees >= 90) return usage();
      options.angle = degrees * M_PI / 180;
    } else if ((arg[0] == '-' && arg[1] != '\0') || path) {
      return usage();
    } else {
      path = arg;
    }
  }
  if (!path || !out_path) return usage();
  std::string suffix = std::filesystem::path(out_path).extension().string();
  for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (suffix != ".glb" && suffix != ".gltf" && suffix != ".stl") {
    std::fprintf(stderr, "iges-mesh: %s: the output must end in .glb, .gltf or .stl\n", out_path);
    return kUsage;
  }

  Session session("iges-mesh");
  int status = session.read(path, strict_end);
  if (status == kUsage || status == kFatal) return status;

  std::vector<igs_directory_entry*> entities;
  ListOfigs_directory_entry* list = session.file()->directory_entries();
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) entities.push_back((*list)[i]);
  igeslib::Tessellation mesh = igeslib::tessellate(entities, options);
  igeslib::Units units = igeslib::model_units(session.file()->global_section());

  std::string error;
  if (suffix == ".stl") {
    error =
        igeslib::write_stl(mesh, out_path,
                           "igeslib mesh of " + std::filesystem::path(path).filename().string() +
                               ", units " + units.symbol());
  } else {
    igeslib::GltfOptions gltf;
    gltf.units = units;
    gltf.name = std::filesystem::path(path).filename().string();
    error = igeslib::write_gltf(mesh, out_path, gltf);
  }
  if (!error.empty()) {
    std::fprintf(stderr, "iges-mesh: %s\n", error.c_str());
    return kUsage;
  }

  std::size_t faces = 0, solids = 0;
  for (const igeslib::MeshBody& body : mesh.bodies) {
    faces += body.faces.size();
    solids += body.shells.empty() ? 0 : 1;
  }
  std::printf("File: %s\n", path);
  std::printf("Output: %s\n", out_path);
  std::printf("Chord: %.6g %s\n", mesh.chord, units.symbol().c_str());
  std::printf("Bodies: %zu (%zu B-rep shells or solids), %zu shown\n", mesh.bodies.size(), solids,
              mesh.instances.size());
  std::printf("Faces meshed: %zu\n", faces);
  std::printf("Triangles: %zu\n", mesh.triangles());
  if (mesh.blanked) std::printf("Blanked, left out: %zu\n", mesh.blanked);
  std::size_t closed_form = 0, paired = 0, closed = 0;
  for (const igeslib::MeshBody& body : mesh.bodies) {
    for (const igeslib::ShellCheck& s : body.shells) {
      if (!s.closed_form) continue;
      ++closed_form;
      paired += s.edges_paired ? 1 : 0;
      closed += s.closed() ? 1 : 0;
    }
  }
  std::printf("Closed shells: %zu, with every edge used twice: %zu, meshes closed: %zu\n",
              closed_form, paired, closed);
  for (const igeslib::MeshBody& body : mesh.bodies) {
    for (const igeslib::ShellCheck& s : body.shells) {
      std::printf("  shell %s: %zu faces, %s%s", describe(s.shell).c_str(), s.faces,
                  s.edges_paired ? "" : "edges not all paired, ",
                  s.closed() ? "mesh closed" : "mesh open");
      if (s.turned) std::printf(", turned outward");
      if (!s.closed())
        std::printf(" (%zu faces not meshed, %zu open edges, %zu edges of more than two)",
                    s.failed_faces, s.open_edges, s.excess_edges);
      std::printf("\n");
    }
  }
  std::printf("Not meshed: %zu\n", mesh.failures.size());
  for (const igeslib::MeshFailure& f : mesh.failures)
    std::printf("  %s: %s\n", describe(f.entity).c_str(), f.reason.c_str());
  std::printf("Reports: %lu\n", session.reports());
  return status;
}
