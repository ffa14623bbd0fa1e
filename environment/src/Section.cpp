#include <environment/SheetSection/Section.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <string_view>
#include <unordered_map>

namespace cfg {

namespace {

// The state below is process-wide and, like the rest of the library's shared
// state, unsynchronised: the library is called from one thread at a time.

// Parameter entries are many (a large scenario holds hundreds of thousands)
// and all of one size: they come from slabs with a free list rather than from
// the general heap, which makes building and destroying a tree several times
// cheaper. Free slabs are kept for the next tree, up to a bound.
class EntryPool {
public:
    explicit EntryPool(size_t size)
        : blockSize((size + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1)) {}

    void* allocate() {
        if (!freeList) {
            slabs.emplace_back(new unsigned char[blockSize * blocksPerSlab]); // left uninitialised
            unsigned char* slab = slabs.back().get();
            for (size_t i = blocksPerSlab; i-- > 0;)
                push(slab + i * blockSize);
        }
        Block* block = freeList;
        freeList = block->next;
        ++live;
        return block;
    }

    void release(void* memory) {
        push(memory);
        if (--live == 0 && slabs.size() > slabsKept) {
            freeList = nullptr;
            slabs.clear();
        }
    }

private:
    struct Block {
        Block* next;
    };
    void push(void* memory) {
        Block* block = static_cast<Block*>(memory);
        block->next = freeList;
        freeList = block;
    }

    static constexpr size_t blocksPerSlab = 1024;
    static constexpr size_t slabsKept = 256; // about 32 MB, some 250,000 parameters
    const size_t blockSize;
    Block* freeList = nullptr;
    size_t live = 0;
    std::vector<std::unique_ptr<unsigned char[]>> slabs;
};

EntryPool& entryPool(size_t size) {
    // Never destroyed: entries of static sections may be freed after the end of main.
    static EntryPool* pool = new EntryPool(size);
    return *pool;
}

// Long names repeat across the sections of a file ("Initial speed" on every
// vehicle): each distinct text is kept once, for the life of the process. The
// table is bounded; beyond it an entry keeps its own copy.
class NameTable {
public:
    /// The kept copy of `text`, or null when the table is full.
    const std::string* find(std::string_view text) {
        auto found = names.find(text);
        if (found != names.end())
            return found->second.get();
        if (names.size() >= capacity)
            return nullptr;
        auto kept = std::make_unique<std::string>(text);
        const std::string* result = kept.get();
        names.emplace(std::string_view(*kept), std::move(kept));
        return result;
    }

    /// The same for a text that never changes at that address (the names that
    /// section classes declare), found by address first.
    const std::string* findLiteral(const char* text) {
        auto found = literals.find(text);
        if (found != literals.end() && *found->second == text)
            return found->second;
        const std::string* result = find(text);
        if (result)
            literals[text] = result;
        return result;
    }

private:
    static constexpr size_t capacity = 4096;
    std::unordered_map<std::string_view, std::unique_ptr<std::string>> names;
    std::unordered_map<const char*, const std::string*> literals;
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
// A getter of another type than the parameter's hands out a scratch slot, so
// that it never reinterprets the value; the scratch slots, the options of a
// choice and an unshared long name live apart, made when first needed, which
// keeps the entries small.
struct Section::Parameter {
    struct Extras {
        int intValue = 0;
        double doubleValue = 0.0;
        bool boolValue = false;
        float floatValue = 0.0f;
        lmk::Vector3 vectorValue;
        std::string stringValue;
        std::string options;
        std::string verbose;
    };
    union Value {
        Value() : vectorValue() {}
        lmk::Vector3 vectorValue;
        int intValue;
        double doubleValue;
        bool boolValue;
        float floatValue;
    };

    Parameter(std::string_view cname, t_ParameterType type, lmk::t_unit unit, void* field)
        : cname(cname), type(type), unit(unit), field(field) {
        // Start the life of the member that this type uses.
        switch (type) {
        case ParameterBool:
            value.boolValue = false;
            break;
        case ParameterInt:
            value.intValue = 0;
            break;
        case ParameterReal:
            value.doubleValue = 0.0;
            break;
        case ParameterFloat:
            value.floatValue = 0.0f;
            break;
        default:
            break;
        }
    }

    Extras& extra() {
        if (!extras)
            extras = std::make_unique<Extras>();
        return *extras;
    }

    void setVerbose(std::string_view text, bool literal) {
        if (text.empty())
            return;
        verbose = literal ? nameTable().findLiteral(text.data()) : nameTable().find(text);
        if (!verbose) {
            extra().verbose = text;
            verbose = &extras->verbose;
        }
    }

    static void* operator new(size_t size) { return entryPool(size).allocate(); }
    static void operator delete(void* memory) { entryPool(sizeof(Parameter)).release(memory); }

    std::string cname;
    const std::string* verbose = &noName;
    t_ParameterType type;
    lmk::t_unit unit;
    void* field; // set for declared parameters only
    Value value;
    std::string stringValue;
    std::unique_ptr<Extras> extras;
};

Section::Parameter& Section::ParameterIterator::entry() const {
    return *section->parameters[index];
}

const std::string& Section::ParameterIterator::getCName() const {
    return entry().cname;
}

const std::string& Section::ParameterIterator::getVerboseName() const {
    return *entry().verbose;
}

Section::t_ParameterType Section::ParameterIterator::getType() const {
    return entry().type;
}

lmk::t_unit Section::ParameterIterator::getUnit() const {
    return entry().unit;
}

int& Section::ParameterIterator::getInt() const {
    Parameter& p = entry();
    if (p.type != ParameterInt)
        return p.extra().intValue;
    return p.field ? *static_cast<int*>(p.field) : p.value.intValue;
}

double& Section::ParameterIterator::getDouble() const {
    Parameter& p = entry();
    if (p.type != ParameterReal)
        return p.extra().doubleValue;
    return p.field ? *static_cast<double*>(p.field) : p.value.doubleValue;
}

bool& Section::ParameterIterator::getBool() const {
    Parameter& p = entry();
    if (p.type != ParameterBool)
        return p.extra().boolValue;
    return p.field ? *static_cast<bool*>(p.field) : p.value.boolValue;
}

std::string& Section::ParameterIterator::getString() const {
    Parameter& p = entry();
    if (!holdsString(p.type))
        return p.extra().stringValue;
    return p.field ? *static_cast<std::string*>(p.field) : p.stringValue;
}

float& Section::ParameterIterator::getFloat() const {
    Parameter& p = entry();
    if (p.type != ParameterFloat)
        return p.extra().floatValue;
    return p.field ? *static_cast<float*>(p.field) : p.value.floatValue;
}

lmk::Vector3& Section::ParameterIterator::getVector() const {
    Parameter& p = entry();
    if (p.type != ParameterVector)
        return p.extra().vectorValue;
    return p.field ? *static_cast<lmk::Vector3*>(p.field) : p.value.vectorValue;
}

std::string& Section::ParameterIterator::getOptions() const {
    return entry().extra().options;
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
        if (parameters[i]->cname == cname)
            return ParameterIterator(this, i);
    return endParameter();
}

Section::ParameterIterator Section::findParameter(const char* cname) const {
    if (!cname)
        return endParameter();
    const size_t length = std::strlen(cname);
    for (size_t i = 0; i < parameters.size(); ++i) {
        const std::string& name = parameters[i]->cname;
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
    return it.section == this && it.index < parameters.size() && parameters[it.index]->field != nullptr;
}

void Section::declare(const char* cname, const char* verbose, t_ParameterType type, lmk::t_unit unit,
                      void* field) {
    append(cname ? cname : "", verbose ? verbose : "", type, unit, field);
}

void Section::append(std::string_view cname, std::string_view verbose, t_ParameterType type, lmk::t_unit unit,
                     void* field) {
    if (parameters.empty())
        parameters.reserve(8); // a typical section, declared and file parameters together
    std::unique_ptr<Parameter> entry(new Parameter(cname, type, unit, field));
    entry->setVerbose(verbose, field != nullptr);
    parameters.push_back(std::move(entry));
}

} // namespace cfg
