// References between entities, found through the run-time dictionary: back pointers against
// the associativities that need them, and each entity's subordinate switch and use flag against
// what references it.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

#include "check_internal.h"

namespace igeslib::check_detail {

namespace {

LumoType* type_of(LumoDomain* domain) {
  if (!domain) return nullptr;
  return domain->type() ? domain->type() : LumoType::find(domain->name());
}

// The entities that an object's attributes name, walked by the dictionary: references, the
// entity choices of selects, the elements of aggregates and the attributes of structures, to
// any depth. The attributes of the Directory record and the back-pointer lists are told apart.
// What each attribute's declared type is (an entity, a select, an aggregate, a structure) is
// found once per type, so that the walk itself casts nothing it need not.
class ReferenceWalker {
 public:
  struct Reference {
    igs_directory_entry* target;
    bool directory;  // a field of the Directory record or a back-pointer list
  };

  void references(igs_directory_entry* entity, std::vector<Reference>& out) {
    out.clear();
    LumoObject* object = entity;
    for (const Step& step : plan(object)) {
      void* slot = slot_of(object, step);
      if (!slot) continue;
      visit(slot, step.type, step.kind, 0, [&](igs_directory_entry* target) {
        out.push_back({target, step.directory});
      });
    }
  }

 private:
  enum class Kind : unsigned char { none, entity, select, aggregate, structure };
  struct Step {
    LumoAttribute* attribute;
    LumoType* type;
    Kind kind;
    bool directory;
    // Where the slot lies from the object, the same for every object of one compiled class;
    // kGeneric where it must be asked for each object.
    std::ptrdiff_t offset = kGeneric;
  };
  static constexpr std::ptrdiff_t kGeneric = PTRDIFF_MIN;

  static void* slot_of(LumoObject* object, const Step& step) {
    if (step.offset != kGeneric) return reinterpret_cast<char*>(object) + step.offset;
    return object->slotToRead(step.attribute, 0).v;
  }

  // The steps of an object's class with the places of their slots, found from the first object
  // of each class (by its table pointer, which names the class, as lumo_cast takes it).
  const std::vector<Step>& plan(LumoObject* object) {
    const void* table;
    std::memcpy(&table, static_cast<const void*>(object), sizeof table);
    if (table == last_table_) return *last_plan_;
    auto [at, added] = plans_.try_emplace(table);
    if (added) {
      at->second = holding(object->domain());
      bool compiled = object->domain() && object->domain()->type() &&
                      !dynamic_cast<LumoGenericStructure*>(object);
      for (Step& step : at->second) {
        // A field in a record aside lies nowhere fixed from the object.
        bool fixed = compiled && step.attribute->aside() < 0;
        void* slot = fixed ? object->slotAddress(step.attribute, 0).v : nullptr;
        if (slot) step.offset = static_cast<char*>(slot) - reinterpret_cast<char*>(object);
      }
    }
    last_table_ = table;
    last_plan_ = &at->second;
    return at->second;
  }

  static bool is_directory_attribute(LumoAttribute* attribute) {
    static const char* const kNames[] = {"structure", "line_font",      "level",
                                         "view",      "transformation", "label_display",
                                         "color",     "associations",   "properties"};
    for (const char* name : kNames)
      if (attribute->name && std::strcmp(attribute->name, name) == 0) return true;
    return false;
  }

  // The attributes of a domain that may lead to an entity, each with its declared type.
  const std::vector<Step>& holding(LumoDomain* domain) {
    auto [at, added] = holding_.try_emplace(domain);
    if (added && domain) {
      lumo_vector all;
      domain->allAttributes(all);
      for (void* a : all) {
        auto* attribute = static_cast<LumoAttribute*>(a);
        LumoType* type = type_of(attribute->slotDomain());
        Kind kind = kind_of(type);
        if (kind != Kind::none)
          at->second.push_back({attribute, type, kind, is_directory_attribute(attribute)});
      }
    }
    return at->second;
  }

  // What a slot of type holds, none for what can't lead to an entity.
  Kind kind_of(LumoType* type) {
    if (!type || type->kind != LumoKind::object) return Kind::none;
    auto [at, added] = kinds_.try_emplace(type, Kind::none);
    if (!added) return at->second;
    Kind kind = Kind::structure;
    if (type->derivesFrom(&*lumotype_igs_directory_entry)) {
      kind = Kind::entity;
    } else if (type->derivesFrom(&*lumotype_LumoUnion)) {
      kind = Kind::select;
    } else if (type->derivesFrom(&*lumotype_LumoAggregate)) {
      kind = Kind::aggregate;
    }
    LumoDomain* domain = type->domain ? type->domain : type->acquireDomain();
    if (kind == Kind::aggregate) {
      // An aggregate whose element the dictionary doesn't give is walked to be safe.
      ListOfLumoAttribute* own = domain ? domain->typeImmediateAttributes() : nullptr;
      if (own && own->size() && kind_of(type_of((*own)[0]->slotDomain())) == Kind::none)
        kind = Kind::none;
    } else if (kind != Kind::entity) {
      bool any = false;
      lumo_vector all;
      if (domain) domain->allAttributes(all);
      for (void* a : all)
        any = any || kind_of(type_of(static_cast<LumoAttribute*>(a)->slotDomain())) != Kind::none;
      if (!any) kind = Kind::none;
    }
    return kinds_[type] = kind;
  }

  template <class F>
  void visit(void* slot, LumoType* type, Kind kind, unsigned depth, F&& found) {
    void* held = *static_cast<void**>(slot);
    if (!held || lumo_is_delayed(held) || depth > 16) return;
    LumoObject* object = type->toObject(held);
    if (!object) return;
    switch (kind) {
      case Kind::none:
        return;
      case Kind::entity:
        if (auto* entity = as<igs_directory_entry>(object)) found(entity);
        return;
      case Kind::select: {
        auto* holder = static_cast<LumoUnion*>(object);
        LumoAttribute* choice = holder->getAttribute(nullptr);
        if (!choice) return;
        LumoType* chosen = type_of(choice->slotDomain());
        Kind inner = kind_of(chosen);
        if (inner != Kind::none) visit(holder->data().v, chosen, inner, depth + 1, found);
        return;
      }
      case Kind::aggregate: {
        auto* aggregate = static_cast<LumoAggregate*>(object);
        if (aggregate->elementKind() != LumoAggregate::Elements::pointer) return;
        LumoType* element = &*aggregate->slotType(nullptr, 0);
        Kind inner = kind_of(element);
        if (inner == Kind::none) return;
        for (unsigned i = 0, n = aggregate->size(); i < n; ++i) {
          LumoDataPtr item = aggregate->slotAddress(nullptr, i);
          if (item.v) visit(item.v, element, inner, depth + 1, found);
        }
        return;
      }
      case Kind::structure:
        for (const Step& step : plan(object)) {
          if (void* inner = slot_of(object, step))
            visit(inner, step.type, step.kind, depth + 1, found);
        }
        return;
    }
  }

  std::unordered_map<LumoDomain*, std::vector<Step>> holding_;
  std::unordered_map<const void*, std::vector<Step>> plans_;
  const void* last_table_ = nullptr;
  const std::vector<Step>* last_plan_ = nullptr;
  std::unordered_map<LumoType*, Kind> kinds_;
};

// An entity that owns what its parameters name: geometry, annotation, B-rep and solids, and
// the subfigure definition its members.
bool parent(igs_directory_entry* entity) {
  return as<igs_geometric_entity>(entity) || as<igs_annotation_entity>(entity) ||
         as<igs_boundary_representation_entity>(entity) ||
         as<igs_constructive_solid_geometry_entity>(entity) ||
         as<igs_subfigure_definition_entity>(entity);
}

// An entity that a parent may own: of the same families, and no matrix or definition, which
// stand on their own however many entities use them.
bool child(igs_directory_entry* entity) {
  if (as<igs_transformation_matrix_entity>(entity)) return false;
  return as<igs_geometric_entity>(entity) || as<igs_annotation_entity>(entity) ||
         as<igs_boundary_representation_entity>(entity) ||
         as<igs_constructive_solid_geometry_entity>(entity);
}

// The associativities whose entities must point back at them: the group and ordered group
// with back pointers, single parent, dimensioned geometry, planar, flow and piping flow.
bool needs_back_pointers(igs_directory_entry* a) {
  return as<igs_group_entity>(a) || as<igs_ordered_group_with_back_pointers_entity>(a) ||
         as<igs_single_parent_entity>(a) || as<igs_dimensioned_geometry_entity>(a) ||
         as<igs_planar_entity>(a) || as<igs_flow_entity>(a) || as<igs_piping_flow_entity>(a);
}

// The entities of a user-defined associativity's classes whose definition asks for back
// pointers (flag 1).
void back_pointer_items(igs_associativity_instance_entity* instance,
                        std::vector<igs_directory_entry*>& out) {
  igs_associativity_definition_entity* definition = instance->structure();
  ListOfigs_associativity_class* classes = definition ? definition->classes() : nullptr;
  ListOfListOfListOfigs_datum* data = instance->parameter_data_;
  for (unsigned i = 0, n = classes && data ? std::min(classes->size(), data->size()) : 0; i < n;
       ++i) {
    igs_associativity_class* kind = (*classes)[i];
    ListOfListOfigs_datum* entries = (*data)[i];
    if (!kind || kind->bp() != 1 || !entries) continue;
    for (unsigned e = 0; e < entries->size(); ++e) {
      ListOfigs_datum* items = (*entries)[e];
      for (unsigned j = 0, m = items ? items->size() : 0; j < m; ++j) {
        igs_datum* item = (*items)[j];
        if (item && item->is_directory_entry() && item->_directory_entry())
          out.push_back(item->_directory_entry());
      }
    }
  }
}

bool names(ListOfigs_associativities* list, igs_directory_entry* associativity) {
  for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i)
    if (chosen((*list)[i]) == associativity) return true;
  return false;
}

void back_pointers(
    Context& c,
    const std::unordered_map<igs_directory_entry*, std::vector<igs_directory_entry*>>& named) {
  std::vector<igs_directory_entry*> required;
  for (igs_directory_entry* a : c.places) {
    if (!as<igs_associativity_entity>(a)) continue;
    required.clear();
    if (auto* instance = as<igs_associativity_instance_entity>(a)) {
      back_pointer_items(instance, required);
    } else if (needs_back_pointers(a)) {
      auto found = named.find(a);
      if (found != named.end()) required = found->second;
    }
    std::unordered_set<igs_directory_entry*> told;
    for (igs_directory_entry* member : required) {
      // Matrices and text templates are used by the associativity, not members of it.
      if (as<igs_transformation_matrix_entity>(member) ||
          as<igs_text_display_template_entity>(member) || !told.insert(member).second)
        continue;
      if (!names(member->aside_ && member->aside_->associations_ ? member->associations() : nullptr,
                 a))
        c.add("back-pointer-missing", c.de(a), "",
              "names DE " + std::to_string(c.de(member)) + " " + describe(member) +
                  ", whose back pointers don't name it");
    }
  }
  for (igs_directory_entry* entity : c.places) {
    ListOfigs_associativities* list =
        entity && entity->aside_ ? entity->aside_->associations_ : nullptr;
    for (unsigned i = 0, n = list ? list->size() : 0; i < n; ++i) {
      igs_directory_entry* a = chosen((*list)[i]);
      if (!as<igs_associativity_entity>(a)) continue;
      auto found = named.find(a);
      bool back = found != named.end() && std::find(found->second.begin(), found->second.end(),
                                                    entity) != found->second.end();
      if (!back && as<igs_associativity_instance_entity>(a)) {
        std::vector<igs_directory_entry*> items;
        back_pointer_items(as<igs_associativity_instance_entity>(a), items);
        back = std::find(items.begin(), items.end(), entity) != items.end();
      }
      if (!back)
        c.add("back-pointer-unmatched", c.de(entity), "associations[" + std::to_string(i) + "]",
              "names DE " + std::to_string(c.de(a)) + " " + describe(a) +
                  ", which doesn't name the entity");
    }
  }
}

constexpr int kIndependent = 0;
constexpr int kParametric = 5;

bool dependent(int subordinate) { return subordinate == 1 || subordinate == 3; }

// Parameter-space curves: a curve on a surface's curve in the surface's parameters, a boundary's
// parameter-space curves, a loop's curves of an edge use; and a composite's members with it.
void parameter_space_curves(igs_directory_entry* entity,
                            std::vector<std::pair<igs_directory_entry*, std::string>>& out) {
  if (auto* on = as<igs_curve_on_a_parametric_surface_entity>(entity)) {
    if (on->bptr()) out.emplace_back(on->bptr(), "bptr");
  } else if (auto* boundary = as<igs_boundary_entity>(entity)) {
    ListOfigs_curve_boundary* curves = boundary->curves_;
    for (unsigned i = 0, n = curves ? curves->size() : 0; i < n; ++i) {
      ListOfigs_geometric_entity* list = (*curves)[i] ? (*curves)[i]->pscpt_ : nullptr;
      for (unsigned j = 0, m = list ? list->size() : 0; j < m; ++j)
        if ((*list)[j])
          out.emplace_back((*list)[j],
                           "curves[" + std::to_string(i) + "].pscpt[" + std::to_string(j) + "]");
    }
  } else if (auto* loop = as<igs_loop_entity>(entity)) {
    ListOfigs_edge_use* uses = loop->edge_tuples_;
    for (unsigned i = 0, n = uses ? uses->size() : 0; i < n; ++i) {
      ListOfigs_space_curve* curves = (*uses)[i] ? (*uses)[i]->curves_ : nullptr;
      for (unsigned j = 0, m = curves ? curves->size() : 0; j < m; ++j) {
        igs_space_curve* curve = (*curves)[j];
        if (igs_directory_entry* target = curve ? chosen(curve->curv()) : nullptr)
          out.emplace_back(target, "edge_tuples[" + std::to_string(i) + "].curves[" +
                                       std::to_string(j) + "].curv");
      }
    }
  }
}

void use_flags(Context& c, igs_directory_entry* entity) {
  int type = entity->entity_type();
  if (type != 141 && type != 142 && type != 508) return;
  std::vector<std::pair<igs_directory_entry*, std::string>> curves;
  parameter_space_curves(entity, curves);
  for (std::size_t k = 0; k < curves.size(); ++k) {
    igs_directory_entry* curve = curves[k].first;
    int use = static_cast<int>(curve->used());
    if (use >= 0 && use != kParametric)
      c.add("use-flag", c.de(curve), "used",
            "a parameter-space curve (" + curves[k].second + " of DE " +
                std::to_string(c.de(entity)) + ") with use flag " + std::to_string(use) +
                ", not 5 (parametric)");
    // The members of a composite curve lie in the same parameter space.
    if (auto* composite = as<igs_composite_curve_entity>(curve); composite && k < 1000) {
      ListOfigs_geometric_or_connect_point* members = composite->de_;
      for (unsigned i = 0, n = members ? members->size() : 0; i < n; ++i)
        if (igs_directory_entry* member = chosen((*members)[i]))
          curves.emplace_back(member, "member " + std::to_string(i) + " of composite DE " +
                                          std::to_string(c.de(curve)));
    }
  }
}

}  // namespace

void check_references(Context& c) {
  // The walker's plans are of the compiled classes, which don't change: kept from check to
  // check (the library runs on one thread, as the runtime does).
  static ReferenceWalker walker;
  std::vector<ReferenceWalker::Reference> references;
  std::unordered_map<igs_directory_entry*, std::vector<igs_directory_entry*>> named;
  // By place: how many references name the entity, and the first entity that owns it.
  std::vector<int> referenced(c.places.size());
  std::vector<igs_directory_entry*> owner(c.places.size());
  auto place = [&](igs_directory_entry* e) { return static_cast<std::size_t>((c.de(e) - 1) / 2); };
  std::unordered_map<LumoDomain*, std::pair<bool, bool>> roles;  // parent, child; by class
  auto role = [&](igs_directory_entry* e) {
    auto [at, added] = roles.try_emplace(e->domain());
    if (added) at->second = {parent(e), child(e)};
    return at->second;
  };
  for (igs_directory_entry* entity : c.places) {
    if (!entity) continue;
    walker.references(entity, references);
    bool associativity = entity->entity_type() == 402;
    bool owns = role(entity).first;
    for (const ReferenceWalker::Reference& r : references) {
      std::size_t at = place(r.target);
      if (r.target == entity || at >= c.places.size()) continue;
      ++referenced[at];
      if (r.directory) continue;
      if (associativity) named[entity].push_back(r.target);
      if (owns && !owner[at] && role(r.target).second) owner[at] = entity;
    }
    use_flags(c, entity);
  }
  back_pointers(c, named);

  for (std::size_t i = 0; i < c.places.size(); ++i) {
    igs_directory_entry* entity = c.places[i];
    if (!entity) continue;
    int subordinate = static_cast<int>(entity->subordinate());
    if (dependent(subordinate) && !referenced[i])
      c.add("dependent-unreferenced", c.de(entity), "subordinate",
            "marked physically dependent (" + std::to_string(subordinate) +
                "); no entity references it");
    if (subordinate == kIndependent && owner[i])
      c.add("independent-referenced", c.de(entity), "subordinate",
            "marked independent; DE " + std::to_string(c.de(owner[i])) + " " + describe(owner[i]) +
                " owns it");
  }
}

}  // namespace igeslib::check_detail
