// Sections and their arenas, designs, the interface LUMO, the prefix table
// and the free functions that allocate, cast and store.
#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "lumo_internal.h"

using namespace lumo_detail;

namespace lumo_detail {

PendingAllocation pending = {nullptr, 0, nullptr};

namespace {
bool exiting = false;

std::map<std::uintptr_t, std::uintptr_t>& blocks() {
  static auto* map = new std::map<std::uintptr_t, std::uintptr_t>();  // lives to the end
  return *map;
}
}  // namespace

bool shutting_down() { return exiting; }

bool in_arena(const void* p) {
  auto& map = blocks();
  auto at = reinterpret_cast<std::uintptr_t>(p);
  auto it = map.upper_bound(at);
  if (it == map.begin()) return false;
  --it;
  return at < it->second;
}

void register_block(const void* start, std::size_t size) {
  auto at = reinterpret_cast<std::uintptr_t>(start);
  blocks()[at] = at + size;
}

void unregister_block(const void* start) {
  blocks().erase(reinterpret_cast<std::uintptr_t>(start));
}

LumoDesignSection* unowned_section() { return LUMO.dictionary()->section("unowned"); }

}  // namespace lumo_detail

// --- sections and arenas -------------------------------------------------------

struct LumoDesignSection::Block {
  LumoDesignSection* section;  // first: an object finds its section here (section_at)
  Block* next;
  std::size_t size;
  std::uint64_t pad;
  // Then, in a block that may hold objects, the marks: a bit for every eight bytes of the
  // block's first kBlockSize bytes, set where an object (its runtime part) starts.
};

namespace {

constexpr std::size_t kHeader = 32;  // sizeof(LumoDesignSection::Block), checked in take
constexpr std::size_t kMarkWords = kBlockSize / 8 / 64;
constexpr std::size_t kMarkedHeader = kHeader + kMarkWords * 8;

std::uint64_t* marks_of(const void* block) {
  return reinterpret_cast<std::uint64_t*>(static_cast<char*>(const_cast<void*>(block)) + kHeader);
}

}  // namespace

namespace {

// Blocks of a deleted design kept for the next, up to 64 MiB: an application that reads file
// after file reuses them, cleared, instead of having the system map and fault in fresh pages
// for every file.
std::vector<void*>& spare_blocks() {
  static auto* spare = new std::vector<void*>();  // lives to the end
  return *spare;
}
constexpr std::size_t kSpareBlocks = 256;

// Blocks are mapped from the system at an address that is a multiple of kBlockSize, so that
// masking the address of an object gives its block and the block its section. Fresh mappings
// are zero, so a block costs no clearing, and its pages take memory only once written.
void* map_block(std::size_t size) {
  if (size == kBlockSize && !spare_blocks().empty()) {
    void* block = spare_blocks().back();
    spare_blocks().pop_back();
    std::memset(block, 0, kBlockSize);
    return block;
  }
  std::size_t span = size + kBlockSize;
  void* raw = mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  auto start = reinterpret_cast<std::uintptr_t>(raw);
  std::uintptr_t aligned = (start + kBlockSize - 1) & ~(kBlockSize - 1);
  if (aligned > start) munmap(raw, aligned - start);
  std::uintptr_t end = start + span, used = aligned + size;
  if (end > used) munmap(reinterpret_cast<void*>(used), end - used);
  return reinterpret_cast<void*>(aligned);
}

// Scratch storage from this size on is mapped for itself.
constexpr std::size_t kMappedScratch = 16 * 1024;

}  // namespace

void* lumo_scratch_allocate(std::size_t bytes) {
  if (bytes < kMappedScratch) return std::calloc(bytes ? bytes : 1, 1);
  // Every page of it is written (a table's slots are spread over all of them, a buffer is
  // filled whole): they are mapped in at once rather than faulted in one by one.
  void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE,
                 -1, 0);
  return p == MAP_FAILED ? nullptr : p;
}

void lumo_scratch_release(void* p, std::size_t bytes) {
  if (!p) return;
  if (bytes < kMappedScratch)
    std::free(p);
  else
    munmap(p, bytes);
}

LumoDesignSection* lumo_detail::section_at(const void* p) {
  auto block = reinterpret_cast<std::uintptr_t>(p) & ~(kBlockSize - 1);
  // The first word of every block: its section.
  return *reinterpret_cast<LumoDesignSection* const*>(block);
}

LumoDesignSection::LumoDesignSection(LumoDesign* design, const char* name)
    : design_(design), name_(name ? name : "") {}

LumoDesignSection::~LumoDesignSection() {
  while (blocks_) {
    Block* next = blocks_->next;
    unregister_block(blocks_);
    if (blocks_->size == kBlockSize && spare_blocks().size() < kSpareBlocks)
      spare_blocks().push_back(blocks_);
    else
      munmap(blocks_, blocks_->size);
    blocks_ = next;
  }
}

void* LumoDesignSection::allocate(std::size_t bytes) { return take(bytes, false); }

void* LumoDesignSection::allocateObject(std::size_t bytes) { return take(bytes, true); }

void* LumoDesignSection::take(std::size_t bytes, bool object) {
  static_assert(sizeof(Block) == kHeader);
  bytes = (bytes + 7) & ~std::size_t(7);
  if (bytes == 0) bytes = 8;
  if (bytes > static_cast<std::size_t>(limit_ - cursor_)) {
    // Large storage that is no object gets a block of its own, behind the current block, which
    // stays open. Anything else opens a new current block, with marks for objects, large
    // enough for it: objects so lie in blocks in the order they were made.
    bool own = !object && bytes > kBlockSize / 4;
    std::size_t header = own ? kHeader : kMarkedHeader;
    std::size_t size = (header + bytes + 4095) & ~std::size_t(4095);
    if (!own && size < kBlockSize) size = kBlockSize;
    auto* block = static_cast<Block*>(map_block(size));
    if (!block) return nullptr;
    block->section = this;
    block->size = size;
    register_block(block, size);
    reserved_ += size;
    if (own) {
      if (blocks_) {
        block->next = blocks_->next;
        blocks_->next = block;
      } else {
        block->next = nullptr;
        blocks_ = block;
      }
      return reinterpret_cast<char*>(block) + header;
    }
    block->next = blocks_;
    blocks_ = block;
    object_blocks_.push_back(block);
    cursor_ = reinterpret_cast<char*>(block) + header;
    limit_ = reinterpret_cast<char*>(block) + size;
  }
  void* result = cursor_;
  cursor_ += bytes;
  return result;
}

void LumoDesignSection::listObject(LumoObject* object, bool far) {
  ++live_;
  if (far) {
    far_objects_.push_back(object);
    return;
  }
  auto at = reinterpret_cast<std::uintptr_t>(object);
  std::uintptr_t place = (at & (kBlockSize - 1)) / 8;
  marks_of(reinterpret_cast<void*>(at & ~(kBlockSize - 1)))[place / 64] |= std::uint64_t{1}
                                                                           << (place % 64);
}

void LumoDesignSection::unlistObject(LumoObject* object, bool far) {
  if (far) {
    auto it = std::find(far_objects_.begin(), far_objects_.end(), object);
    if (it == far_objects_.end()) return;
    far_objects_.erase(it);
  } else {
    auto at = reinterpret_cast<std::uintptr_t>(object);
    std::uintptr_t place = (at & (kBlockSize - 1)) / 8;
    std::uint64_t& word = marks_of(reinterpret_cast<void*>(at & ~(kBlockSize - 1)))[place / 64];
    std::uint64_t bit = std::uint64_t{1} << (place % 64);
    if (!(word & bit)) return;
    word &= ~bit;
  }
  --live_;
}

std::size_t LumoDesignSection::markBytes() const { return object_blocks_.size() * kMarkWords * 8; }

LumoDesignSection::Objects::iterator LumoDesignSection::Objects::begin() const {
  iterator it;
  it.section_ = section_;
  if (!section_->object_blocks_.empty()) it.bits_ = marks_of(section_->object_blocks_[0])[0];
  it.settle();
  return it;
}

LumoDesignSection::Objects::iterator LumoDesignSection::Objects::end() const { return {}; }

bool LumoDesignSection::Objects::iterator::operator!=(const iterator&) const {
  return block_ < section_->object_blocks_.size() + section_->far_objects_.size();
}

void LumoDesignSection::Objects::iterator::settle() {
  // A block made during the walk is walked too.
  const std::size_t blocks = section_->object_blocks_.size();
  while (block_ < blocks && !bits_) {
    if (++word_ == kMarkWords) {
      word_ = 0;
      if (++block_ == blocks) break;
    }
    bits_ = marks_of(section_->object_blocks_[block_])[word_];
  }
  // Past the blocks, one place for each far object: word_ and bits_ stay 0.
  if (block_ >= blocks) word_ = 0, bits_ = 0;
}

LumoObject* LumoDesignSection::Objects::iterator::operator*() const {
  const std::size_t blocks = section_->object_blocks_.size();
  if (block_ >= blocks) return section_->far_objects_[block_ - blocks];
  std::size_t place = word_ * 64 + static_cast<std::size_t>(std::countr_zero(bits_));
  return reinterpret_cast<LumoObject*>(reinterpret_cast<char*>(section_->object_blocks_[block_]) +
                                       place * 8);
}

LumoDesignSection::Objects::iterator& LumoDesignSection::Objects::iterator::operator++() {
  if (block_ >= section_->object_blocks_.size()) {
    ++block_;
    return *this;
  }
  bits_ &= bits_ - 1;
  settle();
  return *this;
}

template <class Visit>
void LumoDesignSection::forEachObject(Visit visit) const {
  // The marks read word by word, as the iterator reads them, without its steps out of line.
  for (std::size_t block = 0; block < object_blocks_.size(); ++block) {
    for (std::size_t word = 0; word < kMarkWords; ++word) {
      std::uint64_t bits = marks_of(object_blocks_[block])[word];
      while (bits) {
        const std::size_t place = word * 64 + static_cast<std::size_t>(std::countr_zero(bits));
        bits &= bits - 1;
        visit(reinterpret_cast<LumoObject*>(reinterpret_cast<char*>(object_blocks_[block]) +
                                            place * 8));
      }
    }
  }
  for (std::size_t i = 0; i < far_objects_.size(); ++i) visit(far_objects_[i]);
}

char* LumoDesignSection::copy(const char* text) {
  if (!text) return nullptr;
  std::size_t n = std::strlen(text) + 1;
  auto* out = static_cast<char*>(allocate(n));
  if (out) std::memcpy(out, text, n);
  return out;
}

// --- designs -------------------------------------------------------------------

LumoDesign::LumoDesign(const char* name) : name_(name ? name : "") {
  sections_.push_back(new LumoDesignSection(this, "default"));
}

// Releases every object of the design at once, with no destructor run: the
// objects own nothing outside the design's sections. A compiled class that
// had its domain here forgets it, and an object its identifier.
LumoDesign::~LumoDesign() {
  if (!shutting_down()) {
    for (LumoDesignSection* s : sections_)
      for (LumoObject* o : s->objects()) {
        if (o->flags_ & kHasOid) forget_oid(o);
        if (&o->classType() == &lumotype_LumoDomain) {
          auto* d = static_cast<LumoDomain*>(o);
          if (d->type() && d->type()->domain == d) d->type()->domain = nullptr;
        }
      }
    LUMO.forget(this);
  }
  for (LumoDesignSection* s : sections_) delete s;
  forgetShared();
}

LumoTypePtr& LumoDesign::classType() { return lumotype_LumoDesign; }

LumoDesignSection* LumoDesign::section(const char* name) {
  for (LumoDesignSection* s : sections_)
    if (std::strcmp(s->name(), name ? name : "") == 0) return s;
  sections_.push_back(new LumoDesignSection(this, name));
  return sections_.back();
}

LumoObject* LumoDesign::pnewInstance(LumoDomain* domain, unsigned capacity) {
  if (!domain || domain->isAbstract()) return nullptr;
  LumoType* type = type_of(domain);
  if (type) {
    if (type->kind != LumoKind::object || !type->creator) return nullptr;
    return type->creator(defaultSection(), domain, capacity);
  }
  return LumoGenericStructure::make(defaultSection(), domain);
}

void LumoDesign::addName(const char* name, LumoObject* object) {
  if (name) names_[name] = object;
}

LumoObject* LumoDesign::findName(const char* name) const {
  if (!name) return nullptr;
  auto it = names_.find(name);
  return it == names_.end() ? nullptr : it->second;
}

unsigned long long LumoDesign::sharedKey(const void* kind, long long key) {
  return static_cast<unsigned long long>(key) ^
         (reinterpret_cast<std::uintptr_t>(kind) * 0x9e3779b97f4a7c15u);
}

namespace {
std::size_t shared_place(unsigned long long key, std::size_t mask) {
  return static_cast<std::size_t>((key * 0x9e3779b97f4a7c15u) >> 32) & mask;
}
}  // namespace

LumoObject* LumoDesign::sharedObject(const void* kind, long long key) const {
  if (!shared_) return nullptr;
  const unsigned long long mixed = sharedKey(kind, key);
  for (std::size_t i = shared_place(mixed, shared_mask_);; i = (i + 1) & shared_mask_) {
    const SharedSlot& slot = shared_[i];
    if (!slot.object) return nullptr;
    // The same mixed key of another kind would be another key: the class tells them apart.
    if (slot.key == mixed && &slot.object->classType() == kind) return slot.object;
  }
}

void LumoDesign::forgetShared() {
  lumo_scratch_release(shared_, (shared_mask_ + 1) * sizeof(SharedSlot));
  shared_ = nullptr;
  shared_mask_ = 0;
  shared_count_ = 0;
}

void LumoDesign::shareObject(const void* kind, long long key, LumoObject* object) {
  if (!object) return;
  if ((shared_count_ + 1) * 4 > (shared_mask_ + 1) * 3 || !shared_) {
    const std::size_t size = shared_ ? (shared_mask_ + 1) * 2 : 64;
    auto* grown = static_cast<SharedSlot*>(lumo_scratch_allocate(size * sizeof(SharedSlot)));
    if (!grown) return;  // short of memory the value stays the owner's own
    for (std::size_t i = 0; shared_ && i <= shared_mask_; ++i)
      if (shared_[i].object) {
        std::size_t j = shared_place(shared_[i].key, size - 1);
        while (grown[j].object) j = (j + 1) & (size - 1);
        grown[j] = shared_[i];
      }
    lumo_scratch_release(shared_, (shared_mask_ + 1) * sizeof(SharedSlot));
    shared_ = grown;
    shared_mask_ = size - 1;
  }
  object->markShared();
  const unsigned long long mixed = sharedKey(kind, key);
  std::size_t i = shared_place(mixed, shared_mask_);
  for (; shared_[i].object; i = (i + 1) & shared_mask_)
    if (shared_[i].key == mixed && &shared_[i].object->classType() == kind) {
      shared_[i].object = object;
      return;
    }
  shared_[i] = {mixed, object};
  ++shared_count_;
}

std::size_t LumoDesign::objectCount() const {
  std::size_t n = 0;
  for (LumoDesignSection* s : sections_) n += s->objects().size();
  return n;
}

void LumoDesign::_findObjects(LumoDomain* target, LumoAggregate* out, unsigned, char, char) {
  // Objects of a compiled class answer by their class alone, and a design holds objects of a
  // few dozen classes: the answers are kept by class in a small table (the walk of a whole
  // model's objects spent most of its time going up class trees).
  // With the answer goes what addObject would store for an object of the class: a list of
  // pointers that keeps doubles takes the same place in every object of a class, so the checks
  // and the cast are made once for the class.
  struct Answer {
    const LumoType* type = nullptr;
    bool is = false;
    bool direct = false;  // stored as the object's address moved by delta
    std::ptrdiff_t delta = 0;
  };
  Answer answers[64];
  const bool plain = out->elementKind() == LumoAggregate::Elements::pointer && !out->unique();
  for (LumoDesignSection* s : sections_)
    s->forEachObject([&](LumoObject* o) {
      if (o == out) return;
      if (o->isGeneric()) {
        if (o->isa(target)) out->addObject(o);
        return;
      }
      const LumoType* type = &*o->classType();
      Answer& kept = answers[(reinterpret_cast<std::uintptr_t>(type) >> 4) % 64];
      if (kept.type != type) {
        kept = {type, o->isa(target) != 0};
        if (kept.is && plain) {
          void* value = lumo_cast(o, out->slotType(nullptr, 0));
          kept.direct = value != nullptr;
          kept.delta = static_cast<char*>(value) - reinterpret_cast<char*>(o);
        }
      }
      if (!kept.is) return;
      if (kept.direct) {
        void* value = reinterpret_cast<char*>(o) + kept.delta;
        out->insertAt(out->size(), &value);
      } else {
        out->addObject(o);
      }
    });
}

// Matches each domain of the design to the compiled class of the same name:
// the class takes the domain if it has none yet, and the attributes learn
// their fields from the binding. Then the marker lists take effect.
void LumoDesign::activate() {
  for (LumoDesignSection* s : sections_) {
    for (LumoObject* o : s->objects()) {
      if (&o->classType() != &lumotype_LumoDomain) continue;
      auto* d = static_cast<LumoDomain*>(o);
      ListOfLumoAttribute* own = d->listOfAttribute;
      LumoType* type = d->name() ? LumoType::find(d->name()) : nullptr;
      if (type) {
        d->setType(type);
        type->bind();
        if (!type->domain) type->domain = d;
      }
      for (unsigned i = 0, n = own ? own->size() : 0; i < n; ++i) {
        LumoAttribute* a = (*own)[i];
        if (!a) continue;
        a->setOwner(d);
        a->setPosition(static_cast<int>(i));
        if (!type || !a->name) continue;
        for (const LumoType::Variable& v : type->variables())
          if (std::strcmp(v.name, a->name) == 0) a->bindField(v);
      }
    }
  }
  if (auto* abstract = dynamic_cast<ListOfLumoDomain*>(findName("_____LUMO_ABSTRACT"))) {
    for (unsigned i = 0, n = abstract->size(); i < n; ++i) {
      LumoDomain* d = (*abstract)[i];
      if (!d) continue;
      d->setAbstract(true);
      if (d->type() && d->type()->domain) d->type()->domain->setAbstract(true);
    }
  }
  if (auto* optional = dynamic_cast<ListOfLumoAttribute*>(findName("_____LUMO_OPTIONALS"))) {
    for (unsigned i = 0, n = optional->size(); i < n; ++i)
      if (LumoAttribute* a = (*optional)[i]) a->setOptional(true);
  }
  active_ = true;
}

// --- the prefix table ------------------------------------------------------------

LumoOIDPrefix* LumoDesignIndex::findPrefix(LumoOIDPrefix* prefix) {
  if (!prefix) return nullptr;
  for (LumoOIDPrefix* p : prefixes_)
    if (std::memcmp(p->words, prefix->words, 4 * sizeof(unsigned)) == 0) return p;
  return nullptr;
}

LumoOIDPrefix* LumoDesignIndex::addPrefix(LumoOIDPrefix* prefix) {
  if (!prefix || prefixes_.size() >= 0xFFFF) return nullptr;
  auto* stored = new LumoOIDPrefix(*prefix);
  stored->words[4] = static_cast<unsigned>(prefixes_.size() + 1) << 16;
  prefixes_.push_back(stored);
  return stored;
}

LumoDesignIndex::~LumoDesignIndex() {
  for (LumoOIDPrefix* p : prefixes_) delete p;
}

// --- LUMO ------------------------------------------------------------------------

LumoInterface LUMO;

LumoInterface::LumoInterface() = default;

LumoInterface::~LumoInterface() {
  exiting = true;
  std::vector<LumoDesign*> all;
  all.swap(designs_);
  for (LumoDesign* d : all) delete d;
}

LumoDesign* LumoInterface::useDesign(LumoDesign* design) {
  LumoDesign* before = current_;
  current_ = design;
  return before;
}

LumoDesign* LumoInterface::newDesign(const char* name, LumoDesign*) {
  auto* design = new LumoDesign(name);
  designs_.push_back(design);
  return design;
}

LumoDesign* LumoInterface::findDesign(const char* name) const {
  if (!name) return nullptr;
  for (LumoDesign* d : designs_)
    if (std::strcmp(d->name(), name) == 0) return d;
  return nullptr;
}

LumoDesign* LumoInterface::dictionary() {
  if (!dictionary_) dictionary_ = newDesign("lumo_dictionary");
  return dictionary_;
}

void LumoInterface::forget(LumoDesign* design) {
  if (current_ == design) current_ = nullptr;
  if (dictionary_ == design) dictionary_ = nullptr;
  for (auto it = designs_.begin(); it != designs_.end(); ++it) {
    if (*it == design) {
      designs_.erase(it);
      break;
    }
  }
}

void LumoInterface::message(const char* format, ...) {
  if (quiet_) return;
  char line[1024];
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  if (message_sink_)
    message_sink_(line, message_user_);
  else
    std::fprintf(stderr, "%s\n", line);
}

// --- free functions ----------------------------------------------------------------

void* lumo_new(std::size_t size, LumoDesignSection* section, LumoDomain*, LumoTypePtr&) {
  if (!section) return nullptr;
  void* place = section->allocateObject(size);
  if (place) pending = {static_cast<char*>(place), size, section};
  return place;
}

void* lumo_new_in_default_section(std::size_t size, LumoDesign* design, LumoDomain* domain,
                                  LumoTypePtr& type) {
  return design ? lumo_new(size, design->defaultSection(), domain, type) : nullptr;
}

void lumo_delete(void* p) {
  if (p && !in_arena(p)) ::operator delete(p);
}

void* lumo_cast(LumoObject* object, LumoTypePtr& type) {
  if (!object) return nullptr;
  if (!object->isa(type)) return nullptr;
  long offset = object->classType()->offsetOf(&*type);
  // A generic object is only ever seen as one of the runtime's root classes.
  if (offset < 0) return object;
  return static_cast<char*>(object->_address()) + offset;
}

void* lumo_access_object(LumoObject* owner, void* field) {
  if (!field) return nullptr;
  void** slot = static_cast<void**>(field);
  if (!lumo_is_delayed(*slot)) return *slot;
  void* loaded = LUMO.load(owner, slot);
  if (loaded) *slot = loaded;
  return loaded;
}

void lumo_update_prim(LumoObject* owner, char* field, char value) {
  if (owner) owner->modified();
  *field = value;
}

void lumo_update_prim(LumoObject* owner, int* field, int value) {
  if (owner) owner->modified();
  *field = value;
}

void lumo_update_prim(LumoObject* owner, double* field, double value) {
  if (owner) owner->modified();
  *field = value;
}

void* lumo_allocate_for(LumoObject* owner, std::size_t bytes) {
  LumoDesignSection* section =
      owner && owner->design_section() ? owner->design_section() : unowned_section();
  return section->allocate(bytes);
}

void lumo_update_prim(LumoObject* owner, char** field, const char* value) {
  if (owner) owner->modified();
  LumoDesignSection* section =
      owner && owner->design_section() ? owner->design_section() : unowned_section();
  *field = value ? section->copy(value) : nullptr;
}

const char* lumo_build_aggname(const char* schema_name, const char* class_name) {
  static auto* names = new std::set<std::string>();  // lives to the end
  (void)class_name;
  if (!schema_name) return nullptr;
  return names->insert(schema_name).first->c_str();
}

FILE* lumo_fopen(const char* name, const char* mode) {
  if (!name || !mode) return nullptr;
  return std::fopen(name, mode);
}

namespace {
std::map<const LumoObject*, LumoDesignSection*>& far_objects() {
  static auto* map = new std::map<const LumoObject*, LumoDesignSection*>();  // lives to the end
  return *map;
}
}  // namespace

LumoDesignSection* lumo_detail::far_section(const LumoObject* object) {
  auto& map = far_objects();
  auto it = map.find(object);
  return it == map.end() ? nullptr : it->second;
}

void lumo_detail::remember_far(const LumoObject* object, LumoDesignSection* section) {
  if (section)
    far_objects()[object] = section;
  else
    far_objects().erase(object);
}
