// Designs (containers of objects, with sections that own the storage), the
// process-wide interface LUMO and the table of object-identifier prefixes.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "lumo_error.h"
#include "lumo_object.h"

// A part of a design in which objects are allocated. It owns an arena: the
// storage of its objects, their strings and their element storage, all
// released at once with the design.
class LumoDesignSection {
 public:
  explicit LumoDesignSection(LumoDesign* design, const char* name);
  LumoDesignSection(const LumoDesignSection&) = delete;
  LumoDesignSection& operator=(const LumoDesignSection&) = delete;
  ~LumoDesignSection();

  LumoDesign* design() const { return design_; }
  const char* name() const { return name_.c_str(); }

  // Raw storage, 8-byte aligned, zeroed; null only when memory runs out.
  void* allocate(std::size_t bytes);
  // The same for an object: it always goes after the objects made before it.
  void* allocateObject(std::size_t bytes);
  // A copy of text in this section.
  char* copy(const char* text);

  // The objects made in this section, in creation order: a range to walk (a range-for), with
  // its size. The section keeps no list of them: each block of its arena marks, a bit for
  // every eight bytes, where its objects start, and the walk reads the marks of the blocks in
  // the order they were made. An object made or deleted during a walk may or may not be seen.
  class Objects {
   public:
    class iterator {
     public:
      LumoObject* operator*() const;
      iterator& operator++();
      // Compared with end() only: true until the walk has passed every block and far object,
      // those added during the walk too.
      bool operator!=(const iterator&) const;

     private:
      friend class Objects;
      void settle();  // on the next mark from here, or the end
      const LumoDesignSection* section_ = nullptr;
      std::size_t block_ = 0;  // place in the section's blocks; past them: the objects far in
      std::size_t word_ = 0;
      std::uint64_t bits_ = 0;
    };
    iterator begin() const;
    iterator end() const;
    std::size_t size() const { return section_->live_; }

   private:
    friend class LumoDesignSection;
    explicit Objects(const LumoDesignSection* section) : section_(section) {}
    const LumoDesignSection* section_;
  };
  Objects objects() const { return Objects(this); }
  std::size_t bytesReserved() const { return reserved_; }
  // The part of it that marks where objects start.
  std::size_t markBytes() const;
  // The part of it past the cursor of the open block: reserved, not yet handed out.
  std::size_t bytesOpen() const { return static_cast<std::size_t>(limit_ - cursor_); }

 private:
  friend class LumoObject;
  friend class LumoDesign;
  struct Block;
  // The walk of objects() with visit(object) for each, in the same order, blocks made during
  // the walk included; the design's own walks use it (defined beside them).
  template <class Visit>
  void forEachObject(Visit visit) const;
  void* take(std::size_t bytes, bool object);
  // An object of the section made, or deleted.
  void listObject(LumoObject* object, bool far);
  void unlistObject(LumoObject* object, bool far);
  LumoDesign* design_;
  std::string name_;
  Block* blocks_ = nullptr;
  char* cursor_ = nullptr;
  char* limit_ = nullptr;
  std::size_t reserved_ = 0;
  std::size_t live_ = 0;
  std::vector<Block*> object_blocks_;  // the blocks that hold objects, in creation order
  // Objects that lie further into a block than its marks reach (larger than a block, which no
  // compiled class is), in creation order, after all the others in a walk.
  std::vector<LumoObject*> far_objects_;
};

// A container of persistent objects, with a root object, named objects and
// sections.
class LumoDesign : public LumoObject {
 public:
  LumoDesign(const char* name);
  ~LumoDesign() override;
  // A design is a heap object, never in an arena.
  static void* operator new(std::size_t size) { return ::operator new(size); }
  static void operator delete(void* p) { ::operator delete(p); }
  LumoTypePtr& classType() override;
  void* _address() override { return this; }
  void _findObjects(LumoDomain* domain, LumoAggregate* out, unsigned depth, char deep,
                    char seen) override;
  // Completes a freshly filled design: its domains are matched to the
  // compiled classes of the same name and the abstract domains are marked.
  void activate() override;

  const char* name() const { return name_.c_str(); }
  LumoObject* rootObject() const { return root_; }
  void rootObject(LumoObject* root) { root_ = root; }

  LumoDesignSection* defaultSection() { return sections_.front(); }
  LumoDesignSection* section(const char* name);  // found or made
  const std::vector<LumoDesignSection*>& sections() const { return sections_; }

  // Creates an object of that domain in the default section, by the
  // domain's registered creator. Null for an abstract domain.
  LumoObject* pnewInstance(LumoDomain* domain, unsigned capacity = 0);

  void addName(const char* name, LumoObject* object);
  LumoObject* findName(const char* name) const;
  const std::map<std::string, LumoObject*>& names() const { return names_; }

  // Number of live objects in all sections.
  std::size_t objectCount() const;
  bool active() const { return active_; }

  // Value objects that many owners of the design hold at once (LumoObject::isShared), one for
  // each kind and key; kind is the descriptor of the shared object's class (its classType()).
  // Null until one is stored.
  LumoObject* sharedObject(const void* kind, long long key) const;
  // Stores object under kind and key and marks it shared.
  void shareObject(const void* kind, long long key, LumoObject* object);
  // Lets go of the table of shared values, once a reader is done with it: the objects stay
  // shared (and so copied before any change); a later reader starts a table afresh.
  void forgetShared();

 private:
  // The shared values, in a flat table of open addressing: a read of a large model shares tens
  // of thousands of them, and a slot of two words costs a third of a node of a hashed map. The
  // kind isn't stored: it is mixed into the key, and the object's class tells it again.
  struct SharedSlot {
    unsigned long long key;
    LumoObject* object;  // null: a free slot
  };
  static unsigned long long sharedKey(const void* kind, long long key);
  SharedSlot* shared_ = nullptr;
  std::size_t shared_mask_ = 0;  // the table's size less one; 0 before the first value
  std::size_t shared_count_ = 0;
  std::string name_;
  LumoObject* root_ = nullptr;
  std::vector<LumoDesignSection*> sections_;
  std::map<std::string, LumoObject*> names_;
  bool active_ = false;
};

// A record of the table of object-identifier prefixes. The last word of a
// stored record is the high part that is combined with an object's low
// sixteen bits.
struct LumoOIDPrefix {
  unsigned words[5];
};

class LumoDesignIndex {
 public:
  // The stored record whose first four words equal those given, or null.
  LumoOIDPrefix* findPrefix(LumoOIDPrefix* prefix);
  // Enters the record and returns the stored copy with its high part set;
  // null once the sixteen-bit high part is exhausted.
  LumoOIDPrefix* addPrefix(LumoOIDPrefix* prefix);
  unsigned size() const { return static_cast<unsigned>(prefixes_.size()); }
  ~LumoDesignIndex();

 private:
  std::vector<LumoOIDPrefix*> prefixes_;
};

// Loads the object behind a delayed reference. Called with the owner and the
// address of the slot; answers what to store in the slot (already of the
// slot's class), or null if it cannot be loaded.
using LumoLoader = void* (*)(LumoObject* owner, void* slot, void* user);
using LumoMessageSink = void (*)(const char* line, void* user);

class LumoInterface {
 public:
  LumoInterface();
  ~LumoInterface();
  LumoInterface(const LumoInterface&) = delete;
  LumoInterface& operator=(const LumoInterface&) = delete;

  LumoDesign* design() const { return current_; }
  // Makes design current and answers the one before.
  LumoDesign* useDesign(LumoDesign* design);
  LumoDesign* newDesign(const char* name, LumoDesign* model = nullptr);
  LumoDesign* findDesign(const char* name) const;
  const std::vector<LumoDesign*>& designs() const { return designs_; }

  LumoErrorReporter* error_reporter() { return &reporter_; }

  char quiet() const { return quiet_; }
  void quiet(char on) { quiet_ = on; }
  // Prints a progress line, unless quiet.
  void message(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Progress lines go to standard error unless a sink is set.
  void message_sink(LumoMessageSink sink, void* user) {
    message_sink_ = sink;
    message_user_ = user;
  }

  LumoDesignIndex* designIndex() { return &index_; }

  void loader(LumoLoader loader, void* user) {
    loader_ = loader;
    loader_user_ = user;
  }
  void* load(LumoObject* owner, void* slot) const {
    return loader_ ? loader_(owner, slot, loader_user_) : nullptr;
  }

  // The runtime's own design, where domains made by binding live.
  LumoDesign* dictionary();

 private:
  friend class LumoDesign;
  void forget(LumoDesign* design);
  LumoDesign* current_ = nullptr;
  LumoDesign* dictionary_ = nullptr;
  std::vector<LumoDesign*> designs_;
  LumoErrorReporter reporter_;
  LumoDesignIndex index_;
  char quiet_ = 0;
  LumoMessageSink message_sink_ = nullptr;
  void* message_user_ = nullptr;
  LumoLoader loader_ = nullptr;
  void* loader_user_ = nullptr;
};

extern LumoInterface LUMO;
