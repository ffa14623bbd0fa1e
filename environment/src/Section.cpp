#include <environment/SheetSection/Section.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <unordered_map>

namespace cfg {

namespace {

// The state below is process-wide and, like the rest of the library's shared
// state, unsynchronised: the library is called from one thread at a time.

// Parameter entries and sections are many (a large scenario holds hundreds of
// thousands) and of a few sizes: they come from slabs of blocks of one size
// rather than one by one from the general heap, which makes building and
// destroying a tree several times cheaper. Each slab counts its blocks in use
// and goes back to the heap when the last one is freed, so a destroyed tree
// gives its memory back; one empty slab is kept, so that a section made and
// destroyed over and over doesn't take and return a slab each time.
class EntryPool {
public:
    explicit EntryPool(size_t size)
        : blockSize(roundUp(std::max(size, sizeof(Block)))),
          blocksPerSlab((slabBytes - headerBytes) / blockSize) {}

    void* allocate() {
        if (!open)
            link(takeSlab());
        Slab* slab = open;
        void* block;
        if (slab->freeList) {
            block = slab->freeList;
            slab->freeList = slab->freeList->next;
        } else // a fresh slab is handed out in order, without a free list to walk
            block = slab->blocks() + slab->handedOut++ * blockSize;
        if (++slab->used == blocksPerSlab)
            unlink(slab); // full: no longer offered
        return block;
    }

    void release(void* memory) {
        Slab* slab = slabOf(memory);
        if (slab->used == blocksPerSlab)
            link(slab); // has room again
        Block* block = static_cast<Block*>(memory);
        block->next = slab->freeList;
        slab->freeList = block;
        if (--slab->used == 0) {
            unlink(slab);
            if (spare)
                ::operator delete(slab, std::align_val_t(slabBytes));
            else
                spare = slab;
        }
    }

private:
    struct Block {
        Block* next;
    };
    // The head of a slab; its blocks follow. Slabs are aligned to their size,
    // so that a block finds its slab from its own address.
    struct Slab {
        Block* freeList = nullptr; // blocks freed since the slab was taken
        Slab* previous = nullptr;  // among the slabs with room
        Slab* next = nullptr;
        size_t used = 0;
        size_t handedOut = 0; // blocks ever handed out, from the start of the slab
        unsigned char* blocks() { return reinterpret_cast<unsigned char*>(this) + headerBytes; }
    };
    // Blocks start on a cache line: an entry of 64 bytes then takes one line.
    static constexpr size_t headerBytes = 64;
    static_assert(sizeof(Slab) <= headerBytes, "the head of a slab fits before its blocks");

    // 32 KB: a slab and its alignment stay below the size at which the C
    // library maps memory of its own for each request.
    static constexpr size_t slabBytes = 32 * 1024;

    static constexpr size_t roundUp(size_t size) {
        return (size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
    }
    static Slab* slabOf(void* block) {
        return reinterpret_cast<Slab*>(reinterpret_cast<uintptr_t>(block) & ~(uintptr_t(slabBytes) - 1));
    }

    Slab* takeSlab() {
        Slab* slab = spare;
        spare = nullptr;
        if (!slab)
            slab = static_cast<Slab*>(::operator new(slabBytes, std::align_val_t(slabBytes)));
        return new (slab) Slab;
    }
    // The slabs with room form a list; allocation takes from its head.
    void link(Slab* slab) {
        slab->previous = nullptr;
        slab->next = open;
        if (open)
            open->previous = slab;
        open = slab;
    }
    void unlink(Slab* slab) {
        if (slab->previous)
            slab->previous->next = slab->next;
        else
            open = slab->next;
        if (slab->next)
            slab->next->previous = slab->previous;
        slab->previous = slab->next = nullptr;
    }

    const size_t blockSize;
    const size_t blocksPerSlab;
    Slab* open = nullptr;
    Slab* spare = nullptr;
};

EntryPool& entryPool(size_t size) {
    // Never destroyed: entries of static sections may be freed after the end of main.
    static EntryPool* pool = new EntryPool(size);
    return *pool;
}

// Sections come from pools too, one per size class of 16 bytes; larger ones
// (no class of this library is) from the general heap.
constexpr size_t sectionSizeStep = 16;
constexpr size_t sectionPoolCount = 32;

EntryPool* sectionPool(size_t size) {
    const size_t index = (size + sectionSizeStep - 1) / sectionSizeStep;
    if (index >= sectionPoolCount)
        return nullptr;
    static EntryPool* pools[sectionPoolCount] = {};
    if (!pools[index])
        pools[index] = new EntryPool(index * sectionSizeStep); // never destroyed, as above
    return pools[index];
}

// Long names repeat across the sections of a file ("Initial speed" on every
// vehicle): each distinct text is kept once, for the life of the process. The
// table is bounded; beyond it an entry keeps its own copy.
class NameTable {
public:
    /// The kept copy of `text`, or null when the table is full.
    const std::string* find(std::string_view text) {
        // A small cache in front of the map: a file repeats a handful of names.
        const std::string*& cached = recent[slotOf(text)];
        if (cached && *cached == text)
            return cached;
        auto found = names.find(text);
        if (found != names.end())
            return cached = found->second.get();
        if (names.size() >= capacity)
            return nullptr;
        auto kept = std::make_unique<std::string>(text);
        const std::string* result = kept.get();
        names.emplace(std::string_view(*kept), std::move(kept));
        return cached = result;
    }

    /// The same for a text that never changes at that address (the names that
    /// section classes declare), found by address first.
    const std::string* findLiteral(const char* text) {
        auto& cached = literals[(reinterpret_cast<uintptr_t>(text) >> 3) % cacheSize];
        if (cached.first == text && *cached.second == text)
            return cached.second;
        const std::string* result = find(text);
        if (result)
            cached = {text, result};
        return result;
    }

private:
    static constexpr size_t capacity = 4096;
    static constexpr size_t cacheSize = 256;
    // The slot only spreads the few names of a file; a miss costs a map lookup,
    // so a few characters and the length do.
    static size_t slotOf(std::string_view text) {
        if (text.empty())
            return 0;
        const size_t size = text.size();
        const auto at = [&](size_t i) { return static_cast<size_t>(static_cast<unsigned char>(text[i])); };
        return (size * 97 + at(0) * 31 + at(size / 2) * 7 + at(size - 1)) % cacheSize;
    }

    std::unordered_map<std::string_view, std::unique_ptr<std::string>> names;
    std::array<const std::string*, cacheSize> recent{};
    std::array<std::pair<const char*, const std::string*>, cacheSize> literals{};
};

NameTable& nameTable() {
    static NameTable* table = new NameTable; // never destroyed, like the names it hands out
    return *table;
}

const std::string noName;

bool holdsString(t_ParameterType type) {
    return type == ParameterString || type == ParameterChoice;
}

} // namespace

// One entry of a parameter list. A declared parameter points at a field of its
// section object; a parameter read from the file keeps its value in the entry.
// Entries are kept small, since a large file has hundreds of thousands: the
// names are shared through the name table, the value of the entry's own type
// shares its storage with those of the other types, and what is rarely needed
// lives apart, made when first asked for: the scratch slots that a getter of
// another type than the parameter's hands out (so that it never reinterprets
// the value), the options of a choice, and names the table couldn't take.
struct Section::Parameter {
    struct Extras {
        int intValue = 0;
        double doubleValue = 0.0;
        bool boolValue = false;
        float floatValue = 0.0f;
        lmk::Vector3 vectorValue;
        std::string stringValue;
        std::string options;
        std::string cname;
        std::string verbose;
    };
    union Value {
        Value() : vectorValue() {}
        lmk::Vector3 vectorValue;
        int intValue;
        double doubleValue;
        bool boolValue;
        float floatValue;
        alignas(std::string) unsigned char text[sizeof(std::string)];
        void* field; // of a declared parameter
    };

    // `literal`: the names are texts that stay at their address (a class's declarations).
    Parameter(std::string_view cname, std::string_view verbose, bool literal, t_ParameterType type,
              lmk::t_unit unit, void* field)
        : typeCode(static_cast<std::uint8_t>(type)), declared(field != nullptr),
          unitCode(static_cast<std::uint16_t>(unit)) {
        // Start the life of the member that this entry uses.
        if (declared)
            value.field = field;
        else if (ownsText())
            new (value.text) std::string();
        else if (type == ParameterBool)
            value.boolValue = false;
        else if (type == ParameterInt)
            value.intValue = 0;
        else if (type == ParameterReal)
            value.doubleValue = 0.0;
        else if (type == ParameterFloat)
            value.floatValue = 0.0f;
        this->cname = share(cname, literal, &Extras::cname);
        this->verbose = share(verbose, literal, &Extras::verbose);
    }
    // With names that outlive the entry.
    Parameter(const std::string* cname, const std::string* verbose, t_ParameterType type, lmk::t_unit unit,
              void* field)
        : Parameter(std::string_view(), std::string_view(), false, type, unit, field) {
        this->cname = cname;
        this->verbose = verbose;
    }
    ~Parameter() {
        if (ownsText())
            text().~basic_string();
    }
    Parameter(const Parameter&) = delete;
    Parameter& operator=(const Parameter&) = delete;

    t_ParameterType type() const { return static_cast<t_ParameterType>(typeCode); }
    lmk::t_unit unit() const { return static_cast<lmk::t_unit>(unitCode); }
    bool ownsText() const { return !declared && holdsString(type()); }
    std::string& text() { return *std::launder(reinterpret_cast<std::string*>(value.text)); }

    Extras& extra() {
        if (!extras)
            extras = std::make_unique<Extras>();
        return *extras;
    }

    static void* operator new(size_t size) { return entryPool(size).allocate(); }
    static void operator delete(void* memory) { entryPool(sizeof(Parameter)).release(memory); }

    const std::string* cname = &noName;
    const std::string* verbose = &noName;
    // Type and unit are kept narrow and the field of a declared parameter
    // shares the storage of the value, so that an entry fits a cache line.
    std::uint8_t typeCode;
    bool declared;
    std::uint16_t unitCode;
    Value value;
    std::unique_ptr<Extras> extras;

private:
    // The shared copy of a name, or one of the entry's own when the table is full.
    const std::string* share(std::string_view name, bool literal, std::string Extras::*own) {
        if (name.empty())
            return &noName;
        if (const std::string* shared =
                literal ? nameTable().findLiteral(name.data()) : nameTable().find(name))
            return shared;
        std::string& kept = extra().*own;
        kept = name;
        return &kept;
    }
};

Section::Parameter& Section::ParameterIterator::entry() const {
    return *section->parameters[index];
}

const std::string& Section::ParameterIterator::getCName() const {
    return *entry().cname;
}

const std::string& Section::ParameterIterator::getVerboseName() const {
    return *entry().verbose;
}

Section::t_ParameterType Section::ParameterIterator::getType() const {
    return entry().type();
}

lmk::t_unit Section::ParameterIterator::getUnit() const {
    return entry().unit();
}

int& Section::ParameterIterator::getInt() const {
    Parameter& p = entry();
    if (p.type() != ParameterInt)
        return p.extra().intValue;
    return p.declared ? *static_cast<int*>(p.value.field) : p.value.intValue;
}

double& Section::ParameterIterator::getDouble() const {
    Parameter& p = entry();
    if (p.type() != ParameterReal)
        return p.extra().doubleValue;
    return p.declared ? *static_cast<double*>(p.value.field) : p.value.doubleValue;
}

bool& Section::ParameterIterator::getBool() const {
    Parameter& p = entry();
    if (p.type() != ParameterBool)
        return p.extra().boolValue;
    return p.declared ? *static_cast<bool*>(p.value.field) : p.value.boolValue;
}

std::string& Section::ParameterIterator::getString() const {
    Parameter& p = entry();
    if (!holdsString(p.type()))
        return p.extra().stringValue;
    return p.declared ? *static_cast<std::string*>(p.value.field) : p.text();
}

float& Section::ParameterIterator::getFloat() const {
    Parameter& p = entry();
    if (p.type() != ParameterFloat)
        return p.extra().floatValue;
    return p.declared ? *static_cast<float*>(p.value.field) : p.value.floatValue;
}

lmk::Vector3& Section::ParameterIterator::getVector() const {
    Parameter& p = entry();
    if (p.type() != ParameterVector)
        return p.extra().vectorValue;
    return p.declared ? *static_cast<lmk::Vector3*>(p.value.field) : p.value.vectorValue;
}

std::string& Section::ParameterIterator::getOptions() const {
    return entry().extra().options;
}

void* Section::operator new(size_t size) {
    EntryPool* pool = sectionPool(size);
    return pool ? pool->allocate() : ::operator new(size);
}

void Section::operator delete(void* memory, size_t size) {
    EntryPool* pool = sectionPool(size);
    if (pool)
        pool->release(memory);
    else
        ::operator delete(memory);
}

Section::Section(const std::string& name) : name(name) {}

Section::~Section() = default;

Section* Section::getSubSection(size_t index) {
    return index < subSections.size() ? subSections[index].get() : nullptr;
}

Section* Section::getSubSection(const char* name) {
    if (!name)
        return nullptr;
    for (const auto& sub : subSections)
        if (sub->name == name)
            return sub.get();
    return nullptr;
}

void Section::getSubSections(const char* name, std::vector<Section*>& out) {
    out.clear();
    if (!name)
        return;
    for (const auto& sub : subSections)
        if (sub->name == name)
            out.push_back(sub.get());
}

Section* Section::getOrCreateSubsection(const char* name) {
    if (Section* existing = getSubSection(name))
        return existing;
    return createSubSection(name);
}

Section::ParameterIterator Section::findParameter(const std::string& cname) const {
    for (size_t i = 0; i < parameters.size(); ++i)
        if (*parameters[i]->cname == cname)
            return ParameterIterator(this, i);
    return endParameter();
}

Section::ParameterIterator Section::findParameter(const char* cname) const {
    if (!cname)
        return endParameter();
    const size_t length = std::strlen(cname);
    for (size_t i = 0; i < parameters.size(); ++i) {
        const std::string& name = *parameters[i]->cname;
        if (name.size() == length && name[0] == cname[0] && std::memcmp(name.data(), cname, length) == 0)
            return ParameterIterator(this, i);
    }
    return endParameter();
}

Section* Section::createSubSection(const char* name) {
    std::unique_ptr<Section> sub = create(name ? name : "");
    sub->parent = this;
    subSections.push_back(std::move(sub));
    return subSections.back().get();
}

void Section::removeSubSection(Section* section) {
    auto it = std::find_if(subSections.begin(), subSections.end(),
                           [section](const std::unique_ptr<Section>& sub) { return sub.get() == section; });
    if (it != subSections.end())
        subSections.erase(it);
}

void Section::removeSubSections(const char* name) {
    if (!name)
        return;
    subSections.erase(
        std::remove_if(subSections.begin(), subSections.end(),
                       [name](const std::unique_ptr<Section>& sub) { return sub->name == name; }),
        subSections.end());
}

Section::ParameterIterator Section::addParameter(const std::string& cname, t_ParameterType type,
                                                 lmk::t_unit unit, const std::string& verbose) {
    append(cname, verbose, type, unit, nullptr);
    return ParameterIterator(this, parameters.size() - 1);
}

Section::ParameterIterator Section::addParameter(const char* cname, t_ParameterType type, lmk::t_unit unit,
                                                 const char* verbose) {
    append(cname ? cname : "", verbose ? verbose : "", type, unit, nullptr);
    return ParameterIterator(this, parameters.size() - 1);
}

bool Section::isDeclared(const ParameterIterator& it) const {
    return it.section == this && it.index < parameters.size() && parameters[it.index]->declared;
}

void Section::declare(const char* cname, const char* verbose, t_ParameterType type, lmk::t_unit unit,
                      void* field) {
    append(cname ? cname : "", verbose ? verbose : "", type, unit, field);
}

void Section::declare(const std::string& cname, const std::string& verbose, t_ParameterType type,
                      lmk::t_unit unit, void* field) {
    if (parameters.empty())
        parameters.reserve(8);
    parameters.emplace_back(new Parameter(&cname, &verbose, type, unit, field));
}

void Section::append(std::string_view cname, std::string_view verbose, t_ParameterType type, lmk::t_unit unit,
                     void* field) {
    if (parameters.empty())
        parameters.reserve(8); // a typical section, declared and file parameters together
    std::unique_ptr<Parameter> entry(new Parameter(cname, verbose, field != nullptr, type, unit, field));
    parameters.push_back(std::move(entry));
}

} // namespace cfg
