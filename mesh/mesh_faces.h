// The faces of a body made ready for triangulation: the surface, its trim loops, which way it
// faces; and the B-rep edges sampled once for the body.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mesh_internal.h"

class igs_boundary_entity;
class igs_edge_data;
class igs_edge_list_entity;
class igs_face_entity;
class igs_loop_entity;
class igs_plane_entity;

namespace igeslib::mesh_detail {

struct FaceJob {
  igs_directory_entry* entity = nullptr;
  std::unique_ptr<Surface> surface;    // in the body's coordinates
  std::vector<Loop> loops;             // outer and holes alike
  bool with_domain = false;            // the domain's boundary is a loop too
  bool reversed = false;               // the face looks against its surface's normal
  bool inverted = false;               // some loop was found by inversion
  std::unique_ptr<Inverter> inverter;  // made when first needed
  std::string failure;                 // why the face can't be meshed; empty when it can
  std::vector<std::string> notes;      // what was left out of a face that is meshed
  FaceJob&& fail(std::string why) {
    failure = std::move(why);
    return std::move(*this);
  }
};

// The points of one B-rep edge, in its curve's direction, ends on its vertices.
struct EdgeSamples {
  igs_edge_data* data = nullptr;
  std::vector<Vec3> points;
  std::string failure;
};

// Makes the faces of one body; B-rep edges are sampled the first time a face uses them and
// shared with the faces that use them later.
class FaceBuilder {
 public:
  explicit FaceBuilder(const FaceSettings& settings);
  ~FaceBuilder();

  // A surface standing alone: a trimmed or bounded surface, a bounded plane, any surface
  // over its whole domain.
  FaceJob surface_face(igs_directory_entry* entity);
  FaceJob brep_face(igs_face_entity* face, bool reversed);

 private:
  FaceJob plane_face(igs_plane_entity* plane);
  Inverter& inverter(FaceJob& job);
  bool model_space_piece(FaceJob& job, const Curve& curve, Loop& out, std::string* why);
  bool curve_on_surface_loop(FaceJob& job, igs_directory_entry* entity, Loop& out,
                             std::string* why);
  bool boundary_loop(FaceJob& job, igs_boundary_entity* boundary, Loop& out, std::string* why);
  bool brep_loop(FaceJob& job, igs_loop_entity* loop, Loop& out, std::string* why);
  // The edge's points; a guide (the face's parameter-space curve of it, mapped into space)
  // stands in for an edge curve that can't be evaluated.
  const EdgeSamples& edge(igs_edge_list_entity* list, int index, const Loop& guide);

  FaceSettings settings_;
  std::map<std::pair<igs_edge_list_entity*, int>, EdgeSamples> edges_;
};

}  // namespace igeslib::mesh_detail
