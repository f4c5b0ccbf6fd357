// The Python module igeslib: IGES files read into models, their entities' attributes read and
// set by name, new entities made by class name, models written back. Everything goes through
// the run-time dictionary (domains, attributes, the kinds of their values), so every class of
// the library is reachable with no code of its own here: a class added to the data model is
// reachable as soon as the library is rebuilt.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <igeslib.h>

#include "module.h"

namespace py = pybind11;
using namespace igeslib_python;

namespace {

struct EntityList {
  StatePtr state;
};
struct EntityIterator {
  StatePtr state;
  std::size_t next = 0;
};

// Types made when the module loads, kept for the life of the process.
py::handle select_type;
py::handle report_type;
py::handle unknown_attribute_error;

// --- the dictionary --------------------------------------------------------------------------

enum class Kind { integer, real, single, text, boolean, enumeration, object };

LumoType* type_of(LumoDomain* domain) {
  if (!domain) return nullptr;
  if (domain->type()) return domain->type();
  return domain->name() ? LumoType::find(domain->name()) : nullptr;
}

Kind kind_of(LumoDomain* domain) {
  if (!domain) return Kind::object;
  if (domain->isEnumeration()) return Kind::enumeration;
  LumoType* type = type_of(domain);
  switch (type ? type->kind : LumoKind::object) {
    case LumoKind::integer:
      return Kind::integer;
    case LumoKind::real:
      return Kind::real;
    case LumoKind::single:
      return Kind::single;
    case LumoKind::text:
      return Kind::text;
    case LumoKind::boolean:
      return Kind::boolean;
    case LumoKind::enumeration:
      return Kind::enumeration;
    case LumoKind::object:
      break;
  }
  return Kind::object;
}

bool derives_from(LumoDomain* domain, LumoTypePtr& base) {
  LumoType* type = type_of(domain);
  return type && type->derivesFrom(&*base);
}

// A reference as a slot of that domain holds it, as the object it names.
LumoObject* from_slot(void* value, LumoDomain* domain) {
  if (!value || lumo_is_delayed(value)) return nullptr;
  LumoType* type = type_of(domain);
  if (!type || type->kind != LumoKind::object) return static_cast<LumoObject*>(value);
  return type->toObject(value);
}

const char* class_name(LumoObject* object) {
  LumoDomain* domain = object->domain();
  return domain && domain->name() ? domain->name() : "?";
}

LumoAttribute* find_attribute(LumoObject* object, const std::string& name) {
  LumoDomain* domain = object->domain();
  return domain ? domain->findTypeAttribute(name.c_str()) : nullptr;
}

[[noreturn]] void unknown_attribute(LumoObject* object, const std::string& name) {
  LumoDomain* domain = object->domain();
  std::string text = "'" + std::string(domain && domain->name() ? domain->name() : "?") +
                     "' has no attribute '" + name + "'";
  PyErr_SetString(unknown_attribute_error.ptr(), text.c_str());
  throw py::error_already_set();
}

py::str text_value(const char* text) {
  PyObject* s =
      PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::strlen(text)), "surrogateescape");
  if (!s) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(s);
}

// --- wrappers ----------------------------------------------------------------------------------

py::object wrap(const StatePtr& state, LumoObject* object) {
  if (!object) return py::none();
  auto found = state->wrappers.find(object);
  if (found != state->wrappers.end()) return py::reinterpret_borrow<py::object>(found->second);
  py::object wrapper;
  if (lumo_cast<igs_directory_entry>(object))
    wrapper = py::cast(new Entity(state, object), py::return_value_policy::take_ownership);
  else
    wrapper = py::cast(new Object(state, object), py::return_value_policy::take_ownership);
  state->wrappers[object] = wrapper.ptr();
  return wrapper;
}

py::object read_value(const StatePtr& state, LumoObject* owner, LumoAttribute* attribute,
                      unsigned index);

// The value of an object held in a slot: a select as its choice and value, an aggregate as a
// sequence, any other object wrapped.
py::object object_value(const StatePtr& state, LumoObject* object) {
  if (!object) return py::none();
  if (auto* select = dynamic_cast<LumoUnion*>(object)) {
    LumoAttribute* choice = select->getAttribute(nullptr);
    if (!choice) return py::none();
    return select_type(choice->name, read_value(state, select, choice, 0));
  }
  if (auto* aggregate = dynamic_cast<LumoAggregate*>(object))
    return py::cast(Aggregate{state, aggregate});
  return wrap(state, object);
}

// Where an object made for owner's attribute goes: owner's section, or for an object held by
// value in another (which has none of its own) the model's default section.
LumoDesignSection* section_for(const StatePtr& state, LumoObject* owner) {
  LumoDesignSection* section = owner->design_section();
  return section ? section : state->model.design()->defaultSection();
}

// An aggregate attribute that is null is made, as the compiled getters make it, so that a list
// attribute is never None.
LumoObject* made_aggregate(const StatePtr& state, LumoObject* owner, LumoAttribute* attribute) {
  LumoType* type = type_of(attribute->slotDomain());
  if (!type || !type->creator || !type->derivesFrom(&*lumotype_LumoAggregate)) return nullptr;
  LumoObject* made = type->creator(section_for(state, owner), attribute->slotDomain(), 0);
  if (made && !owner->putData(attribute, 0, &made, lumotype_LumoObject)) return nullptr;
  return made;
}

py::object read_value(const StatePtr& state, LumoObject* owner, LumoAttribute* attribute,
                      unsigned index) {
  LumoDomain* domain = attribute->slotDomain();
  LumoDataPtr slot = owner->slotToRead(attribute, index);
  if (!slot.v) return py::none();
  switch (kind_of(domain)) {
    case Kind::integer:
      return py::int_(*slot.i);
    case Kind::real:
      return py::float_(*slot.d);
    case Kind::single:
      return py::float_(static_cast<double>(*slot.f));
    case Kind::boolean:
      return py::bool_(*slot.c != 0);
    case Kind::text:
      if (!*slot.s) return py::none();
      return text_value(*slot.s);
    case Kind::enumeration: {
      int position = *slot.i;
      if (position < 0) return py::none();
      LumoAttribute* enumerator =
          (*domain->typeImmediateAttributes())[static_cast<unsigned>(position)];
      if (!enumerator || !enumerator->name) return py::int_(position);
      return py::str(enumerator->name);
    }
    case Kind::object:
      break;
  }
  void* value = *slot.p;
  if (lumo_is_delayed(value)) value = lumo_access_object(owner, slot.v) ? *slot.p : nullptr;
  LumoObject* object = from_slot(value, domain);
  if (!object && !dynamic_cast<LumoAggregate*>(owner) && !dynamic_cast<LumoUnion*>(owner))
    object = made_aggregate(state, owner, attribute);
  return object_value(state, object);
}

// --- setting values ----------------------------------------------------------------------------

[[noreturn]] void type_error(LumoAttribute* attribute, const char* wanted, py::handle value) {
  std::string text = "'" + std::string(attribute->name ? attribute->name : "?") + "' takes " +
                     wanted + ", not " + std::string(py::str(py::type::of(value).attr("__name__")));
  throw py::type_error(text);
}

LumoObject* object_of(const StatePtr& state, py::handle value) {
  auto& wrapped = py::cast<Object&>(value);
  if (wrapped.state != state) throw py::value_error("the object belongs to another model");
  return wrapped.object;
}

void store(LumoObject* owner, LumoAttribute* attribute, unsigned index, void* value,
           LumoTypePtr& type) {
  if (!owner->putData(attribute, index, value, type))
    throw py::value_error("'" + std::string(attribute->name) + "' can't be set");
}

void write_value(const StatePtr& state, LumoObject* owner, LumoAttribute* attribute, unsigned index,
                 py::handle value);

// A new object of the slot's class in the owner's section.
LumoObject* made_object(const StatePtr& state, LumoObject* owner, LumoDomain* domain) {
  LumoType* type = type_of(domain);
  LumoObject* made =
      type && type->creator ? type->creator(section_for(state, owner), domain, 0) : nullptr;
  if (!made)
    throw py::value_error("no object of class '" + std::string(domain->name()) + "' can be made");
  return made;
}

// A select is given as (choice, value), or as an object, which takes the first choice whose
// class it is of; it is stored as a new select object.
LumoObject* made_select(const StatePtr& state, LumoObject* owner, LumoAttribute* attribute,
                        py::handle value) {
  LumoDomain* domain = attribute->slotDomain();
  auto* select = dynamic_cast<LumoUnion*>(made_object(state, owner, domain));
  if (!select) throw py::value_error("not a select");
  ListOfLumoAttribute* choices = domain->typeImmediateAttributes();
  if (py::isinstance<Object>(value)) {
    LumoObject* object = object_of(state, value);
    for (unsigned i = 0; i < choices->size(); ++i) {
      LumoAttribute* choice = (*choices)[i];
      if (kind_of(choice->slotDomain()) == Kind::object && object->isa(choice->slotDomain())) {
        store(select, choice, 0, &object, lumotype_LumoObject);
        return select;
      }
    }
    throw py::type_error("'" + std::string(attribute->name) + "' takes an object of one of " +
                         domain->name() + "'s choices, not " + class_name(object));
  }
  if (!py::isinstance<py::tuple>(value) || py::len(value) != 2)
    type_error(attribute, "a (choice, value) pair or an object", value);
  py::tuple pair = py::reinterpret_borrow<py::tuple>(value);
  if (!py::isinstance<py::str>(pair[0])) type_error(attribute, "a choice named by a str", pair[0]);
  std::string name = py::cast<std::string>(pair[0]);
  LumoAttribute* choice = nullptr;
  for (unsigned i = 0; i < choices->size() && !choice; ++i)
    if (name == (*choices)[i]->name) choice = (*choices)[i];
  if (!choice) {
    std::string names;
    for (unsigned i = 0; i < choices->size(); ++i)
      names += std::string(i ? ", " : "") + (*choices)[i]->name;
    throw py::value_error("'" + name + "' is no choice of " + domain->name() + " (" + names + ")");
  }
  select->putAttribute(choice);
  write_value(state, select, choice, 0, pair[1]);
  return select;
}

// An aggregate is given as another aggregate of its class, shared, or as any sequence of
// values, made into a new aggregate.
LumoObject* made_aggregate_from(const StatePtr& state, LumoObject* owner, LumoAttribute* attribute,
                                py::handle value) {
  LumoDomain* domain = attribute->slotDomain();
  if (py::isinstance<Aggregate>(value)) {
    auto& given = py::cast<Aggregate&>(value);
    if (given.state != state) throw py::value_error("the aggregate belongs to another model");
    if (!given.aggregate->isa(domain)) type_error(attribute, domain->name(), value);
    return given.aggregate;
  }
  if (py::isinstance<py::str>(value) || py::isinstance<py::bytes>(value) ||
      !py::isinstance<py::iterable>(value))
    type_error(attribute, "a sequence", value);
  py::list items(py::reinterpret_borrow<py::iterable>(value));
  auto* made = dynamic_cast<LumoAggregate*>(made_object(state, owner, domain));
  if (!made || !made->size(static_cast<unsigned>(items.size()), -1))
    throw py::value_error("the aggregate can't be made");
  LumoAttribute* element = made->getAttribute(nullptr);
  for (unsigned i = 0; i < items.size(); ++i) write_value(state, made, element, i, items[i]);
  return made;
}

void write_value(const StatePtr& state, LumoObject* owner, LumoAttribute* attribute, unsigned index,
                 py::handle value) {
  LumoDomain* domain = attribute->slotDomain();
  switch (kind_of(domain)) {
    case Kind::integer: {
      if (!PyIndex_Check(value.ptr()) || PyBool_Check(value.ptr()))
        type_error(attribute, "an int", value);
      PyObject* whole = PyNumber_Index(value.ptr());
      if (!whole) throw py::error_already_set();
      int overflow = 0;
      long long n = PyLong_AsLongLongAndOverflow(whole, &overflow);
      Py_DECREF(whole);
      if (n == -1 && PyErr_Occurred()) throw py::error_already_set();
      if (overflow || n < std::numeric_limits<int>::min() || n > std::numeric_limits<int>::max()) {
        std::string text = "'" + std::string(attribute->name) + "' takes a 32-bit int";
        PyErr_SetString(PyExc_OverflowError, text.c_str());
        throw py::error_already_set();
      }
      int v = static_cast<int>(n);
      return store(owner, attribute, index, &v, lumotype_int);
    }
    case Kind::real:
    case Kind::single: {
      bool number =
          PyFloat_Check(value.ptr()) || PyIndex_Check(value.ptr()) ||
          (Py_TYPE(value.ptr())->tp_as_number && Py_TYPE(value.ptr())->tp_as_number->nb_float);
      if (PyBool_Check(value.ptr()) || !number) type_error(attribute, "a float", value);
      double v = py::cast<double>(value);
      return store(owner, attribute, index, &v, lumotype_double);
    }
    case Kind::boolean: {
      if (!PyBool_Check(value.ptr())) type_error(attribute, "a bool", value);
      char v = value.ptr() == Py_True ? 1 : 0;
      return store(owner, attribute, index, &v, lumotype_LumoBoolean);
    }
    case Kind::text: {
      const char* v = nullptr;
      py::bytes encoded;
      if (!value.is_none()) {
        if (!PyUnicode_Check(value.ptr())) type_error(attribute, "a str", value);
        PyObject* bytes = PyUnicode_AsEncodedString(value.ptr(), "utf-8", "surrogateescape");
        if (!bytes) throw py::error_already_set();
        encoded = py::reinterpret_steal<py::bytes>(bytes);
        v = PyBytes_AsString(encoded.ptr());
      }
      return store(owner, attribute, index, &v, lumotype_LumoSTR);
    }
    case Kind::enumeration: {
      int position = -1;
      if (!value.is_none()) {
        if (!PyUnicode_Check(value.ptr())) type_error(attribute, "an enumerator's name", value);
        std::string name = py::cast<std::string>(value);
        ListOfLumoAttribute* enumerators = domain->typeImmediateAttributes();
        std::string names;
        for (unsigned i = 0; i < enumerators->size(); ++i) {
          if (name == (*enumerators)[i]->name) position = static_cast<int>(i);
          names += std::string(i ? ", " : "") + (*enumerators)[i]->name;
        }
        if (position < 0)
          throw py::value_error("'" + name + "' is no enumerator of " + domain->name() + " (" +
                                names + ")");
      }
      return store(owner, attribute, index, &position, lumotype_int);
    }
    case Kind::object:
      break;
  }
  LumoObject* object = nullptr;
  if (value.is_none()) {
    object = nullptr;
  } else if (derives_from(domain, lumotype_LumoUnion)) {
    object = made_select(state, owner, attribute, value);
  } else if (derives_from(domain, lumotype_LumoAggregate)) {
    object = made_aggregate_from(state, owner, attribute, value);
  } else {
    if (!py::isinstance<Object>(value)) type_error(attribute, domain->name(), value);
    object = object_of(state, value);
    if (!object->isa(domain)) {
      LumoDomain* given = object->domain();
      throw py::type_error("'" + std::string(attribute->name) + "' takes " + domain->name() +
                           ", not " + (given && given->name() ? given->name() : "?"));
    }
  }
  store(owner, attribute, index, &object, lumotype_LumoObject);
}

// --- objects -----------------------------------------------------------------------------------

py::object get_attribute(Object& self, const std::string& name) {
  LumoAttribute* attribute = find_attribute(self.object, name);
  if (!attribute) unknown_attribute(self.object, name);
  return read_value(self.state, self.object, attribute, 0);
}

void set_attribute(Object& self, const std::string& name, py::handle value) {
  LumoAttribute* attribute = find_attribute(self.object, name);
  if (!attribute) unknown_attribute(self.object, name);
  write_value(self.state, self.object, attribute, 0, value);
}

std::vector<std::string> attribute_names(LumoObject* object) {
  std::vector<std::string> names;
  LumoDomain* domain = object->domain();
  if (!domain) return names;
  lumo_vector all;
  domain->allAttributes(all);
  for (void* a : all)
    if (auto* attribute = static_cast<LumoAttribute*>(a); attribute->name)
      names.emplace_back(attribute->name);
  return names;
}

igs_directory_entry* entity_of(Object& self) { return lumo_cast<igs_directory_entry>(self.object); }

// --- aggregates --------------------------------------------------------------------------------

unsigned element_index(Aggregate& self, py::ssize_t i) {
  py::ssize_t n = self.aggregate->size();
  if (i < 0) i += n;
  if (i < 0 || i >= n) throw py::index_error("aggregate index out of range");
  return static_cast<unsigned>(i);
}

py::object element(Aggregate& self, unsigned i) {
  LumoAttribute* attribute = self.aggregate->getAttribute(nullptr);
  if (!attribute) return py::none();
  return read_value(self.state, self.aggregate, attribute, i);
}

py::list elements(Aggregate& self) {
  py::list out;
  for (unsigned i = 0, n = self.aggregate->size(); i < n; ++i) out.append(element(self, i));
  return out;
}

// --- models ------------------------------------------------------------------------------------

std::string path_text(py::handle path) {
  py::object text = py::module_::import("os").attr("fsdecode")(path);
  return py::cast<std::string>(text);
}

[[noreturn]] void raise_os_error(int error, const std::string& path) {
  py::object filename = py::str(path);
  PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, filename.ptr());
  (void)error;
  throw py::error_already_set();
}

py::list report_list(const std::vector<igeslib::Report>& reports) {
  py::list out;
  for (const igeslib::Report& r : reports)
    out.append(
        report_type(r.line, r.column, text_value(r.message.c_str()), text_value(r.record.c_str())));
  return out;
}

StatePtr read_model(py::handle path, bool strict, int threads) {
  std::string file = path_text(path);
  auto state = std::make_shared<ModelState>();
  igeslib::ReadOptions options;
  options.strict = strict;
  options.threads = threads;
  options.echo_reports = false;
  // The library keeps process-wide state (the current design, the dictionary's caches), so
  // the interpreter lock is held: no other thread may use the module meanwhile.
  state->model = igeslib::read(file, options);
  if (state->model.status() == igeslib::ReadStatus::not_opened) {
    errno = state->model.open_error();
    raise_os_error(errno, file);
  }
  return state;
}

py::list write_model(const StatePtr& state, py::handle path, bool zero_as_default) {
  std::string file = path_text(path);
  igeslib::WriteOptions options;
  options.zero_as_default = zero_as_default;
  options.echo_reports = false;
  igeslib::WriteResult result = state->model.write(file, options);
  if (!result.written) {
    errno = result.error;
    raise_os_error(errno, file);
  }
  return report_list(result.reports);
}

py::object entity_at(const StatePtr& state, py::ssize_t i) {
  auto entities = state->model.entities();
  py::ssize_t n = static_cast<py::ssize_t>(entities.size());
  if (i < 0) i += n;
  if (i < 0 || i >= n) throw py::index_error("entity index out of range");
  return wrap(state, entities[static_cast<std::size_t>(i)]);
}

// --- the checker: igeslib.check(model) and igeslib.check_codes() ------------------------------

py::handle finding_type;

// The findings of a model at level and above, of the given codes only when any are given (one
// code or a sequence of them).
py::list check_model(const StatePtr& state, const std::string& level, py::object codes) {
  igeslib::CheckOptions options;
  if (!igeslib::parse_severity(level, &options.level))
    throw py::value_error("no severity '" + level + "': info, warning or error");
  if (py::isinstance<py::str>(codes)) codes = py::make_tuple(codes);
  if (!codes.is_none()) {
    for (py::handle item : codes) {
      std::string code = py::str(item);
      if (!igeslib::find_check_code(code)) throw py::value_error("no check code '" + code + "'");
      options.codes.push_back(code);
    }
  }
  py::list out;
  for (const igeslib::Finding& f : igeslib::check(state->model, options)) {
    py::object field = f.field.empty() ? py::object(py::none()) : py::object(py::str(f.field));
    out.append(finding_type(igeslib::severity_name(f.severity), f.code, f.de, field,
                            text_value(f.message.c_str()), f.line));
  }
  return out;
}

void bind_check(py::module_& m) {
  py::object collections = py::module_::import("collections");
  finding_type =
      collections.attr("namedtuple")("Finding", "severity code de field message line").release();
  finding_type.attr("__module__") = "igeslib";
  m.attr("Finding") = finding_type;
  m.def("check", &check_model, py::arg("model"), py::arg("level") = "info",
        py::arg("codes") = py::none(),
        "The faults of a model, in file order: Finding(severity, code, de, field, message, "
        "line) tuples, at level ('info', 'warning' or 'error') and above, of the given codes "
        "only when any are given.");
  m.def(
      "check_codes",
      [] {
        py::list rows;
        for (const igeslib::CheckCode& c : igeslib::check_codes())
          rows.append(py::make_tuple(c.code, igeslib::severity_name(c.severity), c.meaning));
        return rows;
      },
      "Every code of the checker: (code, severity, meaning) rows.");
}

}  // namespace

PYBIND11_MODULE(igeslib, m) {
  m.doc() =
      "IGES files read into models and written back; every entity's attributes read and set by "
      "name through the library's run-time dictionary.";
  igeslib_force_load();
  // The schema designs complete the dictionary: they mark the abstract classes, which can't
  // be made.
  if (!LUMO.findDesign("iges_types_schema")) {
    LumoDesign* current = LUMO.design();
    igeslib_create_builtin_schemas();
    LUMO.useDesign(current);
  }
  LUMO.quiet(1);  // no progress lines on standard error

  py::object collections = py::module_::import("collections");
  select_type = collections.attr("namedtuple")("Select", "choice value").release();
  select_type.attr("__module__") = "igeslib";
  report_type = collections.attr("namedtuple")("Report", "line column message record").release();
  report_type.attr("__module__") = "igeslib";
  m.attr("Select") = select_type;
  m.attr("Report") = report_type;
  // Unknown attribute names: an AttributeError, and a KeyError too for item access.
  py::object builtins = py::module_::import("builtins");
  unknown_attribute_error = PyErr_NewException(
      "igeslib.UnknownAttributeError",
      py::make_tuple(builtins.attr("AttributeError"), builtins.attr("KeyError")).ptr(), nullptr);
  if (!unknown_attribute_error) throw py::error_already_set();
  m.attr("UnknownAttributeError") = unknown_attribute_error;

  py::class_<Object>(m, "Object",
                     "A structure of a model; its attributes are read and set by name.")
      .def("__getattr__", &get_attribute)
      .def("__getitem__", &get_attribute)
      .def("__setattr__", &set_attribute)
      .def("__setitem__", &set_attribute)
      .def("__contains__",
           [](Object& self, const std::string& name) {
             return find_attribute(self.object, name) != nullptr;
           })
      .def(
          "attributes", [](Object& self) { return attribute_names(self.object); },
          "The names of the object's attributes, inherited ones first.")
      .def("__dir__",
           [](py::object self) {
             py::list names = py::module_::import("builtins").attr("object").attr("__dir__")(self);
             for (const std::string& name : attribute_names(self.cast<Object&>().object))
               names.append(name);
             return names;
           })
      .def_property_readonly("class_name", [](Object& self) { return class_name(self.object); })
      .def("__repr__", [](Object& self) {
        return "<igeslib.Object " + std::string(class_name(self.object)) + ">";
      });

  py::class_<Entity, Object>(m, "Entity", "An entity of a model.")
      .def_property_readonly(
          "type", [](Entity& self) { return igeslib::entity_type_and_form(entity_of(self)).first; })
      .def_property_readonly(
          "form",
          [](Entity& self) { return igeslib::entity_type_and_form(entity_of(self)).second; })
      .def_property_readonly("de_number", [](Entity& self) { return entity_of(self)->de_number; })
      .def("__repr__", [](Entity& self) {
        auto [type, form] = igeslib::entity_type_and_form(entity_of(self));
        return "<igeslib.Entity " + std::string(class_name(self.object)) + " " +
               std::to_string(type) + "/" + std::to_string(form) + " DE " +
               std::to_string(entity_of(self)->de_number) + ">";
      });

  py::class_<Aggregate>(m, "Aggregate", "A live view of a list or array attribute.")
      .def("__len__", [](Aggregate& self) { return self.aggregate->size(); })
      .def("__getitem__",
           [](Aggregate& self, py::ssize_t i) { return element(self, element_index(self, i)); })
      .def("__getitem__", [](Aggregate& self, py::slice slice) { return elements(self)[slice]; })
      .def("__setitem__",
           [](Aggregate& self, py::ssize_t i, py::handle value) {
             write_value(self.state, self.aggregate, self.aggregate->getAttribute(nullptr),
                         element_index(self, i), value);
           })
      .def("append",
           [](Aggregate& self, py::handle value) {
             unsigned n = self.aggregate->size();
             if (!self.aggregate->size(n + 1, -1))
               throw py::value_error("the aggregate can't grow");
             try {
               write_value(self.state, self.aggregate, self.aggregate->getAttribute(nullptr), n,
                           value);
             } catch (...) {
               self.aggregate->size(n, -1);
               throw;
             }
           })
      .def("__iter__", [](Aggregate& self) { return elements(self).attr("__iter__")(); })
      .def("__eq__",
           [](Aggregate& self, py::object other) -> py::object {
             if (py::isinstance<Aggregate>(other)) other = elements(other.cast<Aggregate&>());
             if (!py::isinstance<py::sequence>(other) || py::isinstance<py::str>(other))
               return py::reinterpret_borrow<py::object>(Py_NotImplemented);
             return py::bool_(elements(self).equal(py::list(other)));
           })
      .def_property_readonly("class_name",
                             [](Aggregate& self) { return class_name(self.aggregate); })
      .def("__repr__", [](Aggregate& self) {
        return "<igeslib.Aggregate " + std::string(class_name(self.aggregate)) + " " +
               std::string(py::repr(elements(self))) + ">";
      });
  py::object aggregate_class = m.attr("Aggregate");
  aggregate_class.attr("__hash__") = py::none();

  py::class_<EntityIterator>(m, "_EntityIterator")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", [](EntityIterator& self) {
        if (self.next >= self.state->model.entities().size()) throw py::stop_iteration();
        return wrap(self.state, self.state->model.entities()[self.next++]);
      });
  py::class_<EntityList>(m, "EntityList",
                         "The entities of a model in file order, wrapped when touched.")
      .def("__len__", [](EntityList& self) { return self.state->model.entities().size(); })
      .def("__getitem__", [](EntityList& self, py::ssize_t i) { return entity_at(self.state, i); })
      .def("__getitem__",
           [](EntityList& self, py::slice slice) {
             py::list out;
             std::size_t start = 0, stop = 0, step = 0, length = 0;
             if (!slice.compute(self.state->model.entities().size(), &start, &stop, &step, &length))
               throw py::error_already_set();
             for (std::size_t k = 0; k < length; ++k, start += step)
               out.append(entity_at(self.state, static_cast<py::ssize_t>(start)));
             return out;
           })
      .def("__iter__", [](EntityList& self) { return EntityIterator{self.state}; });

  py::class_<ModelState, StatePtr>(m, "Model",
                                   "An IGES model: Start lines, Global section, entities, reports.")
      .def(py::init([] { return std::make_shared<ModelState>(); }), "An empty model.")
      .def_property_readonly("entities", [](const StatePtr& self) { return EntityList{self}; })
      .def("__len__", [](const StatePtr& self) { return self->model.entities().size(); })
      .def("__iter__", [](const StatePtr& self) { return EntityIterator{self}; })
      .def("__getitem__", [](const StatePtr& self, py::ssize_t i) { return entity_at(self, i); })
      .def("__repr__",
           [](const StatePtr& self) {
             return "<igeslib.Model " + std::to_string(self->model.entities().size()) +
                    " entities, " + std::to_string(self->model.reports().size()) + " reports>";
           })
      .def_property_readonly(
          "start_section",
          [](const StatePtr& self) {
            py::list lines;
            if (ListOfString* start = self->model.file()->start_section())
              for (unsigned i = 0; i < start->size(); ++i)
                lines.append((*start)[i] ? text_value((*start)[i]) : py::str(""));
            return lines;
          })
      .def_property_readonly(
          "global_section",
          [](const StatePtr& self) { return wrap(self, self->model.global_section()); })
      .def_property_readonly("reports",
                             [](const StatePtr& self) {
                               if (!self->reports)
                                 self->reports = py::tuple(report_list(self->model.reports()));
                               return py::list(self->reports);
                             })
      .def_property_readonly("completed",
                             [](const StatePtr& self) { return self->model.completed(); })
      .def_property_readonly("damaged_end",
                             [](const StatePtr& self) -> py::object {
                               if (self->model.damaged_end().empty()) return py::none();
                               return py::str(self->model.damaged_end());
                             })
      .def(
          "create",
          [](const StatePtr& self, const std::string& class_name) {
            LumoObject* made = self->model.create(class_name);
            if (!made)
              throw py::value_error("no class '" + class_name + "' whose objects can be made");
            return wrap(self, made);
          },
          py::arg("class_name"),
          "A new object of the class of that name; an entity joins the entities.")
      .def("write", &write_model, py::arg("path"), py::arg("zero_as_default") = true,
           "Writes the model; answers the reports of the write.");

  m.def("read", &read_model, py::arg("path"), py::arg("strict") = false, py::arg("threads") = 0,
        "Reads an IGES file into a new model. A file that can't be opened raises OSError; what "
        "is wrong inside the file is in the model's reports, and a read stopped by a fatal "
        "error leaves completed False. threads: 1 reads in one thread; more adds workers that "
        "convert reals ahead of the reader (the same model); 0 the machine's cores for files "
        "of 8 MiB and more.");
  m.def(
      "registry",
      [] {
        IgeslibEntityTable table;
        py::list rows;
        for (unsigned i = 0; i < table.count; ++i) {
          IgeslibEntityData* row = table.rows[i];
          LumoDomain* domain = igeslib_get_domain(row);
          py::object form = row->form == igeslib_other_forms ? py::none() : py::cast(row->form);
          rows.append(
              py::make_tuple(row->entity, form, domain && domain->name() ? domain->name() : "?"));
        }
        return rows;
      },
      "The entity-type registry: (type, form or None for every other form, class name) rows.");
  bind_geometry(m);
  bind_check(m);
#ifdef IGESLIB_PYTHON_MESH
  bind_mesh(m);
#endif
  m.attr("__version__") = igeslib_version();
}
