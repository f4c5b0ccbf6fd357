#include "dump.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "tool_support.h"

namespace igeslib_tools {

namespace {

// A value as the dictionary describes it, ready to be written in either form.
struct Node {
  enum class Kind {
    null,
    integer,
    real,
    single,
    text,
    boolean,
    enumerator,
    reference,
    select,
    structure,
    list
  };
  Kind kind = Kind::null;
  long long integer = 0;  // integer, boolean (0 or 1), DE number of a reference (0: none)
  double real = 0;        // real, single
  // Text; enumerator name; class of a reference or structure; choice of a select.
  std::string text;
  std::vector<std::string> names;  // a structure's attribute names, beside items
  std::vector<Node> items;         // attribute values, list elements, a select's one value
};

// Deeper than this, a value is shown as null: structures and aggregates nest a few levels,
// and a cycle among them must not run away.
constexpr unsigned kMaxDepth = 32;

LumoType* type_of(LumoDomain* domain) {
  if (!domain) return nullptr;
  if (domain->type()) return domain->type();
  return domain->name() ? LumoType::find(domain->name()) : nullptr;
}

// What a slot of that domain holds. A domain with no compiled class is an enumeration of the
// dictionary or a class whose instances are objects.
LumoKind kind_of(LumoDomain* domain) {
  if (LumoType* type = type_of(domain)) return type->kind;
  return domain && domain->isEnumeration() ? LumoKind::enumeration : LumoKind::object;
}

const char* enumerator_name(LumoDomain* enumeration, int code) {
  if (!enumeration || code < 0) return nullptr;
  LumoAttribute* enumerator = (*enumeration->typeImmediateAttributes())[code];
  return enumerator ? enumerator->name : nullptr;
}

// What storage of an aggregate's elements reads as.
LumoKind storage_kind(LumoAggregate::Elements elements) {
  switch (elements) {
    case LumoAggregate::Elements::integer:
      return LumoKind::integer;
    case LumoAggregate::Elements::real:
      return LumoKind::real;
    case LumoAggregate::Elements::single:
      return LumoKind::single;
    case LumoAggregate::Elements::text:
      return LumoKind::text;
    case LumoAggregate::Elements::boolean:
      return LumoKind::boolean;
    case LumoAggregate::Elements::pointer:
      break;
  }
  return LumoKind::object;
}

class Walker {
 public:
  explicit Walker(ListOfigs_directory_entry* entities) {
    unsigned n = entities ? entities->size() : 0;
    for (unsigned i = 0; i < n; ++i)
      if (igs_directory_entry* entity = (*entities)[i])
        de_numbers_[static_cast<LumoObject*>(entity)] = static_cast<int>(2 * i + 1);
  }

  int de_number(LumoObject* entity) const {
    auto found = de_numbers_.find(entity);
    return found == de_numbers_.end() ? 0 : found->second;
  }

  // The domain of the object's class in the embedded schemas, found by name in the schema
  // design its class belongs to; the class's own domain when no schema holds it.
  LumoDomain* dictionary_domain(LumoObject* object) {
    LumoDomain* own = object->domain();
    if (!own) return nullptr;
    auto [at, added] = schema_domains_.try_emplace(own, own);
    if (added && own->name()) {
      const char* schema = own->type() ? own->type()->schema_name() : nullptr;
      LumoDesign* design = schema ? LUMO.findDesign(schema) : nullptr;
      if (auto* found = dynamic_cast<LumoDomain*>(design ? design->findName(own->name()) : nullptr))
        at->second = found;
    }
    return at->second;
  }

  // Every attribute of a domain, inherited ones first, each once.
  const std::vector<LumoAttribute*>& attributes(LumoDomain* domain) {
    auto [at, added] = attributes_.try_emplace(domain);
    if (added && domain) {
      lumo_vector all;
      domain->allAttributes(all);
      for (void* a : all) at->second.push_back(static_cast<LumoAttribute*>(a));
    }
    return at->second;
  }

  // The attributes of a structure or entity, by name.
  Node structure(LumoObject* object, unsigned depth) {
    Node node;
    node.kind = Node::Kind::structure;
    LumoDomain* domain = dictionary_domain(object);
    node.text = domain && domain->name() ? domain->name() : "?";
    for (LumoAttribute* attribute : attributes(domain)) {
      node.names.emplace_back(attribute->name ? attribute->name : "?");
      LumoDataPtr slot = object->slotToRead(attribute, 0);
      node.items.push_back(slot.v ? value(slot.v, attribute->slotDomain(), depth + 1) : Node{});
    }
    return node;
  }

  // The value in a slot of the domain.
  Node value(void* slot, LumoDomain* domain, unsigned depth) {
    return value_of_kind(slot, domain, kind_of(domain), depth);
  }

 private:
  Node value_of_kind(void* slot, LumoDomain* domain, LumoKind kind, unsigned depth) {
    Node node;
    switch (kind) {
      case LumoKind::integer:
        node.kind = Node::Kind::integer;
        node.integer = *static_cast<int*>(slot);
        break;
      case LumoKind::real:
        node.kind = Node::Kind::real;
        node.real = *static_cast<double*>(slot);
        break;
      case LumoKind::single:
        node.kind = Node::Kind::single;
        node.real = *static_cast<float*>(slot);
        break;
      case LumoKind::boolean:
        node.kind = Node::Kind::boolean;
        node.integer = *static_cast<char*>(slot) != 0;
        break;
      case LumoKind::text:
        if (const char* text = *static_cast<char**>(slot)) {
          node.kind = Node::Kind::text;
          node.text = text;
        }
        break;
      case LumoKind::enumeration: {
        int code = *static_cast<int*>(slot);
        if (const char* name = enumerator_name(domain, code)) {
          node.kind = Node::Kind::enumerator;
          node.text = name;
        } else if (code >= 0) {  // a code the enumeration has no name for: shown as it is
          node.kind = Node::Kind::integer;
          node.integer = code;
        }
        break;
      }
      case LumoKind::object: {
        void* held = *static_cast<void**>(slot);
        LumoType* type = type_of(domain);
        // An aggregate is made on first request: none yet is an empty one.
        if (!held && type && type->derivesFrom(&*lumotype_LumoAggregate))
          node.kind = Node::Kind::list;
        if (!held || lumo_is_delayed(held) || depth > kMaxDepth) break;
        LumoObject* object = type && type->kind == LumoKind::object
                                 ? type->toObject(held)
                                 : static_cast<LumoObject*>(held);
        if (object) node = this->object(object, depth);
        break;
      }
    }
    return node;
  }

  Node object(LumoObject* object, unsigned depth) {
    if (lumo_cast<igs_directory_entry>(object)) {
      Node node;
      node.kind = Node::Kind::reference;
      node.integer = de_number(object);
      LumoDomain* domain = dictionary_domain(object);
      node.text = domain && domain->name() ? domain->name() : "?";
      return node;
    }
    if (auto* choice_holder = dynamic_cast<LumoUnion*>(object)) return select(choice_holder, depth);
    if (auto* aggregate = dynamic_cast<LumoAggregate*>(object)) return list(aggregate, depth);
    return structure(object, depth);
  }

  // A select: its choice, named as in the select's domain, and the value of that choice.
  Node select(LumoUnion* holder, unsigned depth) {
    Node node;
    LumoAttribute* choice = holder->getAttribute(nullptr);
    if (!choice || !choice->name) return node;
    LumoDomain* domain = dictionary_domain(holder);
    if (LumoAttribute* named = domain ? domain->findTypeAttribute(choice->name) : nullptr)
      choice = named;
    node.kind = Node::Kind::select;
    node.text = choice->name;
    node.items.push_back(value(holder->data().v, choice->slotDomain(), depth + 1));
    return node;
  }

  // An aggregate: its elements in order, each read as the element domain of the aggregate's
  // domain says, or as the aggregate's own element type where the dictionary's disagrees
  // with its storage.
  Node list(LumoAggregate* aggregate, unsigned depth) {
    Node node;
    node.kind = Node::Kind::list;
    LumoDomain* domain = dictionary_domain(aggregate);
    ListOfLumoAttribute* own = domain ? domain->typeImmediateAttributes() : nullptr;
    LumoAttribute* element = own && own->size() ? (*own)[0] : nullptr;
    LumoDomain* element_domain = element ? element->slotDomain() : nullptr;
    LumoKind stored = storage_kind(aggregate->elementKind());
    LumoKind kind = kind_of(element_domain);
    bool agrees =
        element_domain &&
        (kind == stored || (kind == LumoKind::enumeration && stored == LumoKind::integer));
    if (!agrees) {
      LumoType& type = *aggregate->slotType(nullptr, 0);
      element_domain = type.domain ? type.domain : type.acquireDomain();
      kind = type.kind == LumoKind::enumeration && stored == LumoKind::integer ? type.kind : stored;
    }
    unsigned n = aggregate->size();
    node.items.reserve(n);
    for (unsigned i = 0; i < n; ++i) {
      LumoDataPtr slot = aggregate->slotAddress(nullptr, i);
      node.items.push_back(slot.v ? value_of_kind(slot.v, element_domain, kind, depth + 1)
                                  : Node{});
    }
    return node;
  }

  std::unordered_map<LumoObject*, int> de_numbers_;
  std::unordered_map<LumoDomain*, LumoDomain*> schema_domains_;
  std::unordered_map<LumoDomain*, std::vector<LumoAttribute*>> attributes_;
};

// --- writing -------------------------------------------------------------------------------

void json_real(std::string& out, double value, bool single) {
  std::string text = single ? real_text(static_cast<float>(value)) : real_text(value);
  if (std::isfinite(value))
    out += text;
  else
    json_string(out, text);
}

void json_attributes(std::string& out, const Node& node, const char* indent = nullptr);

void json_value(std::string& out, const Node& node) {
  switch (node.kind) {
    case Node::Kind::null:
      out += "null";
      break;
    case Node::Kind::integer:
      out += std::to_string(node.integer);
      break;
    case Node::Kind::real:
    case Node::Kind::single:
      json_real(out, node.real, node.kind == Node::Kind::single);
      break;
    case Node::Kind::boolean:
      out += node.integer ? "true" : "false";
      break;
    case Node::Kind::text:
    case Node::Kind::enumerator:
      json_string(out, node.text);
      break;
    case Node::Kind::reference:
      out += "{\"de\":";
      out += node.integer ? std::to_string(node.integer) : "null";
      out += ",\"class\":";
      json_string(out, node.text);
      out += '}';
      break;
    case Node::Kind::select:
      out += "{\"choice\":";
      json_string(out, node.text);
      out += ",\"value\":";
      json_value(out, node.items.front());
      out += '}';
      break;
    case Node::Kind::structure:
      out += "{\"class\":";
      json_string(out, node.text);
      out += ",\"attributes\":";
      json_attributes(out, node);
      out += '}';
      break;
    case Node::Kind::list:
      out += '[';
      for (std::size_t i = 0; i < node.items.size(); ++i) {
        if (i) out += ',';
        json_value(out, node.items[i]);
      }
      out += ']';
      break;
  }
}

// A structure's attributes as one JSON object, by name in dictionary order: on one line, or
// with indent one to a line, each value on its line, so that a change to one value is one
// changed line in a diff.
void json_attributes(std::string& out, const Node& node, const char* indent) {
  out += '{';
  for (std::size_t i = 0; i < node.items.size(); ++i) {
    if (indent) {
      out += i ? ",\n" : "\n";
      out += indent;
      out += "  ";
    } else if (i) {
      out += ',';
    }
    json_string(out, node.names[i]);
    out += indent ? ": " : ":";
    json_value(out, node.items[i]);
  }
  if (indent && !node.items.empty()) {
    out += '\n';
    out += indent;
  }
  out += '}';
}

// Text for a person: text quoted, references as "#DE class", selects as "choice = value",
// structures in braces and lists in brackets.
void text_value(std::string& out, const Node& node) {
  switch (node.kind) {
    case Node::Kind::null:
      out += "null";
      break;
    case Node::Kind::integer:
      out += std::to_string(node.integer);
      break;
    case Node::Kind::real:
      out += real_text(node.real);
      break;
    case Node::Kind::single:
      out += real_text(static_cast<float>(node.real));
      break;
    case Node::Kind::boolean:
      out += node.integer ? "true" : "false";
      break;
    case Node::Kind::text:
      json_string(out, node.text);
      break;
    case Node::Kind::enumerator:
      out += node.text;
      break;
    case Node::Kind::reference:
      out += node.integer ? "#" + std::to_string(node.integer) : "#?";
      out += ' ';
      out += node.text;
      break;
    case Node::Kind::select:
      out += node.text;
      out += " = ";
      text_value(out, node.items.front());
      break;
    case Node::Kind::structure:
      out += '{';
      for (std::size_t i = 0; i < node.items.size(); ++i) {
        if (i) out += ", ";
        out += node.names[i];
        out += ": ";
        text_value(out, node.items[i]);
      }
      out += '}';
      break;
    case Node::Kind::list:
      out += '[';
      for (std::size_t i = 0; i < node.items.size(); ++i) {
        if (i) out += ", ";
        text_value(out, node.items[i]);
      }
      out += ']';
      break;
  }
}

// Lines longer than this are broken up: a structure's attributes and a list's elements go
// one to a line, indented under it.
constexpr std::size_t kTextWidth = 100;

// True when no element of the list is a structure or a list, in a select or not.
bool plain_items(const Node& list) {
  for (const Node& item : list.items) {
    const Node& value = item.kind == Node::Kind::select ? item.items.front() : item;
    if (value.kind == Node::Kind::structure || value.kind == Node::Kind::list) return false;
  }
  return true;
}

void text_line(std::string& out, const std::string& label, const Node& node, unsigned indent) {
  std::string line(indent, ' ');
  line += label;
  line += ": ";
  std::size_t head = line.size();
  text_value(line, node);
  const Node* inner = &node;
  std::string prefix;
  if (node.kind == Node::Kind::select && !node.items.empty()) {
    inner = &node.items.front();
    prefix = node.text + " = ";
  }
  bool compound = inner->kind == Node::Kind::structure || inner->kind == Node::Kind::list;
  if (line.size() <= kTextWidth || !compound) {
    out += line;
    out += '\n';
    return;
  }
  line.resize(head);
  out += line;
  out += prefix;
  if (inner->kind == Node::Kind::list && plain_items(*inner)) {
    // Plain values fill the lines, each line headed by the index of its first value.
    out += "list of " + std::to_string(inner->items.size()) + '\n';
    std::string row;
    for (std::size_t i = 0; i < inner->items.size(); ++i) {
      std::string item;
      text_value(item, inner->items[i]);
      if (!row.empty() && row.size() + item.size() + 2 > kTextWidth) {
        out += row + '\n';
        row.clear();
      }
      if (row.empty())
        row = std::string(indent + 2, ' ') + "[" + std::to_string(i) + "] " + item;
      else
        row += ", " + item;
    }
    if (!row.empty()) out += row + '\n';
  } else if (inner->kind == Node::Kind::list) {
    out += "list of " + std::to_string(inner->items.size()) + '\n';
    for (std::size_t i = 0; i < inner->items.size(); ++i)
      text_line(out, "[" + std::to_string(i) + "]", inner->items[i], indent + 2);
  } else {
    out += inner->text + '\n';
    for (std::size_t i = 0; i < inner->items.size(); ++i)
      text_line(out, inner->names[i], inner->items[i], indent + 2);
  }
}

// The status digits of the entity's directory record, named by their enumerations.
Node status_node(igs_directory_entry* entity) {
  Node node;
  node.kind = Node::Kind::structure;
  node.text = "status";
  auto add = [&](const char* name, LumoTypePtr& enumeration, int code) {
    node.names.emplace_back(name);
    Node value;  // null for a status the class leaves unset
    if (const char* enumerator = enumerator_name(enumeration->acquireDomain(), code)) {
      value.kind = Node::Kind::enumerator;
      value.text = enumerator;
    } else if (code >= 0) {
      value.kind = Node::Kind::integer;
      value.integer = code;
    }
    node.items.push_back(value);
  };
  add("blank", lumotype_igs_blank_status, entity->blank());
  add("subordinate", lumotype_igs_subordinate_switch, entity->subordinate());
  add("use", lumotype_igs_use_flag, entity->used());
  add("hierarchy", lumotype_igs_hierarchy_flag, entity->hierarchy());
  return node;
}

struct EntityRecord {
  int de;
  int type;
  int form;
  Node status;
  Node attributes;
};

EntityRecord record_of(Walker& walker, igs_directory_entry* entity, int de) {
  auto [type, form] = type_and_form(entity);
  return {de, type, form, status_node(entity), walker.structure(entity, 0)};
}

bool selected(const DumpOptions& options, igs_directory_entry* entity, int de) {
  if (options.entity && de != options.entity) return false;
  if (!options.by_type) return true;
  auto [type, form] = type_and_form(entity);
  return type == options.type && (!options.by_form || form == options.form);
}

// One entity: in the dump, its attributes one to a line; alone, all on one line.
void json_entity(std::string& out, const EntityRecord& r, bool lines) {
  const char* sep = lines ? ",\n      " : ", ";
  out += lines ? "    {\n      " : "{";
  out += "\"de\": " + std::to_string(r.de);
  out += sep;
  out += "\"type\": " + std::to_string(r.type);
  out += sep;
  out += "\"form\": " + std::to_string(r.form);
  out += sep;
  out += "\"class\": ";
  json_string(out, r.attributes.text);
  out += sep;
  out += "\"status\": ";
  json_attributes(out, r.status);
  out += sep;
  out += "\"attributes\": ";
  if (lines) {
    json_attributes(out, r.attributes, "      ");
    out += "\n    }";
  } else {
    json_attributes(out, r.attributes);
    out += '}';
  }
}

void text_entity(std::string& out, const EntityRecord& r) {
  out += "\nEntity " + std::to_string(r.de) + ": " + r.attributes.text + " (type " +
         std::to_string(r.type) + ", form " + std::to_string(r.form) + ")\n";
  out += "  status:";
  for (std::size_t i = 0; i < r.status.items.size(); ++i) {
    out += ' ';
    out += r.status.names[i];
    out += '=';
    text_value(out, r.status.items[i]);
  }
  out += '\n';
  for (std::size_t i = 0; i < r.attributes.items.size(); ++i)
    text_line(out, r.attributes.names[i], r.attributes.items[i], 2);
}

void flush(std::string& out, FILE* stream, std::size_t above) {
  if (!stream || out.size() < above) return;
  std::fwrite(out.data(), 1, out.size(), stream);
  out.clear();
}

}  // namespace

std::string real_text(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
  char text[40];
  auto end = std::to_chars(text, text + sizeof text, value).ptr;
  std::string out(text, end);
  if (out.find_first_of(".e") == std::string::npos) out += ".0";
  return out;
}

std::string real_text(float value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
  char text[40];
  auto end = std::to_chars(text, text + sizeof text, value).ptr;
  std::string out(text, end);
  if (out.find_first_of(".e") == std::string::npos) out += ".0";
  return out;
}

std::string dump_entity_json(igs_directory_entry* entity, ListOfigs_directory_entry* entities) {
  Walker walker(entities);
  std::string out;
  if (entity) json_entity(out, record_of(walker, entity, walker.de_number(entity)), false);
  return out;
}

unsigned long dump_file(igs_iges_file* file, const DumpOptions& options, const DumpHeading& heading,
                        std::string& out, FILE* stream) {
  ListOfigs_directory_entry* entities = file->directory_entries();
  Walker walker(entities);
  unsigned n = entities->size();
  Node start, global;
  if (ListOfString* lines = file->start_section()) {
    LumoTypePtr& type = lines->classType();
    start = walker.value(&lines, type->domain ? type->domain : type->acquireDomain(), 0);
  }
  if (igs_global* section = file->global_section()) global = walker.structure(section, 0);

  if (options.json) {
    out += "{\n  \"schema_version\": " + std::to_string(kDumpSchemaVersion) + ",\n  \"file\": ";
    json_string(out, heading.path);
    out += ",\n  \"read\": ";
    json_string(out, heading.read);
    out += ",\n  \"reports\": " + std::to_string(heading.reports);
    out += ",\n  \"start\": ";
    json_value(out, start);
    out += ",\n  \"global\": ";
    if (global.kind == Node::Kind::structure)
      json_attributes(out, global, "  ");
    else
      out += "null";
    out += ",\n  \"entity_count\": " + std::to_string(n) + ",\n  \"entities\": [";
  } else {
    out += "File: " + std::string(heading.path) + "\nRead: " + heading.read +
           "\nReports: " + std::to_string(heading.reports) + "\nEntities: " + std::to_string(n) +
           "\n";
    if (start.kind == Node::Kind::list) {
      out += "\nStart section:\n";
      for (const Node& line : start.items) {
        out += "  ";
        text_value(out, line);
        out += '\n';
      }
    }
    if (global.kind == Node::Kind::structure) {
      out += "\nGlobal section:\n";
      for (std::size_t i = 0; i < global.items.size(); ++i)
        text_line(out, global.names[i], global.items[i], 2);
    }
  }

  unsigned long shown = 0;
  for (unsigned i = 0; i < n; ++i) {
    igs_directory_entry* entity = (*entities)[i];
    int de = static_cast<int>(2 * i + 1);
    if (!entity || !selected(options, entity, de)) continue;
    EntityRecord r = record_of(walker, entity, de);
    if (options.json) {
      out += shown ? ",\n" : "\n";
      json_entity(out, r, true);
    } else {
      text_entity(out, r);
    }
    ++shown;
    flush(out, stream, 1 << 16);
  }
  if (options.json) out += shown ? "\n  ]\n}\n" : "]\n}\n";
  flush(out, stream, 0);
  return shown;
}

}  // namespace igeslib_tools
