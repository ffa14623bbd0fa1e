#pragma once

#include <environment/lmk/Units.h>
#include <environment/lmk/Vector3.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cfg {

/// The type of a section parameter. The numeric values are fixed.
enum t_ParameterType {
    ParameterBool = 0,
    ParameterInt = 1,
    ParameterReal = 2,
    ParameterFloat = 3,
    ParameterVector = 4,
    ParameterChoice = 5,
    ParameterString = 6
};

/// A named node of a tree of sections, with ordered sub-sections (several may
/// share a name) and an ordered list of named, typed parameters. Concrete classes
/// bind their declared parameters to their own fields; any section may hold
/// further parameters read from the file. Sections are neither copied nor assigned.
/// Like the rest of the library, sections are used from one thread at a time:
/// all of them share allocation pools and a table of names.
class Section {
public:
    using t_ParameterType = cfg::t_ParameterType;

    struct Parameter; // one entry of the parameter list

    /// A position in the parameter list of a section. Copyable; a copy stays on
    /// its parameter even when the section gains further parameters.
    class ParameterIterator {
    public:
        ParameterIterator() = default;
        ParameterIterator(const Section* section, size_t index) : section(section), index(index) {}
        bool operator!=(const ParameterIterator& other) const {
            return section != other.section || index != other.index;
        }
        bool operator==(const ParameterIterator& other) const { return !(*this != other); }
        ParameterIterator& operator++() {
            ++index;
            return *this;
        }
        /// Short name of the parameter.
        const std::string& getCName() const;
        /// Long name; may be empty.
        const std::string& getVerboseName() const;
        t_ParameterType getType() const;
        lmk::t_unit getUnit() const;
        /// The stored values, by reference, in the stored unit system. A getter of
        /// another type than the parameter's gives a scratch slot of the entry.
        int& getInt() const;
        double& getDouble() const;
        bool& getBool() const;
        std::string& getString() const;
        float& getFloat() const;
        lmk::Vector3& getVector() const;
        /// The options of a choice parameter ("a|b|c"); empty for other types.
        std::string& getOptions() const;
        /// The section whose list this position is in.
        const Section* getSection() const { return section; }

    private:
        friend class Section;
        Parameter& entry() const;
        const Section* section = nullptr;
        size_t index = 0;
    };

    explicit Section(const std::string& name);
    /// Sections of every class are allocated from pools of their size: a large
    /// file holds tens of thousands.
    static void* operator new(size_t size);
    static void operator delete(void* memory, size_t size);
    virtual ~Section();
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

    /// The name under which a plain section stands in its parent (none: "").
    static const char* sectionName() { return ""; }

    /// The section's name.
    const char* getName() const { return name.c_str(); }
    /// Number of sub-sections.
    size_t getSubSectionCount() const { return subSections.size(); }
    /// Sub-section by position; null beyond the end.
    Section* getSubSection(size_t index);
    /// First sub-section of that name, null if there is none.
    Section* getSubSection(const char* name);
    /// All sub-sections of that name, in order (appended to `out`, emptied first).
    void getSubSections(const char* name, std::vector<Section*>& out);
    /// The sub-section of that name, made at the end of the list if missing.
    Section* getOrCreateSubsection(const char* name);
    /// Null at the root.
    Section* getParentSection() const { return parent; }

    ParameterIterator beginParameter() const { return ParameterIterator(this, 0); }
    ParameterIterator endParameter() const { return ParameterIterator(this, parameters.size()); }
    /// Number of parameters.
    size_t getParameterCount() const { return parameters.size(); }
    /// The parameter of that short name, or endParameter().
    ParameterIterator findParameter(const std::string& cname) const;
    /// The same for a text (null finds nothing), without making a string of it.
    ParameterIterator findParameter(const char* cname) const;

    /// Adds a new sub-section of the class registered for `name` at the end of
    /// the list and returns it.
    virtual Section* createSubSection(const char* name);
    /// Removes and destroys that sub-section; nothing if it isn't a sub-section.
    virtual void removeSubSection(Section* section);
    /// Removes and destroys all sub-sections of that name.
    virtual void removeSubSections(const char* name);

    /// Adds a parameter with storage of its own (one read from the file); returns
    /// its position.
    ParameterIterator addParameter(const std::string& cname, t_ParameterType type, lmk::t_unit unit,
                                   const std::string& verbose = std::string());
    /// The same, from texts that may be null (taken as empty); saves copies when
    /// reading a file.
    ParameterIterator addParameter(const char* cname, t_ParameterType type, lmk::t_unit unit,
                                   const char* verbose);
    /// Whether the parameter at that position is declared by the section's class.
    bool isDeclared(const ParameterIterator& it) const;

    /// A new section of the class registered for `name` (a plain Section for any
    /// other name), without parent.
    static std::unique_ptr<Section> create(const std::string& name);

protected:
    /// Declares a parameter of the class, bound to a field of the object.
    void declare(const char* cname, const char* verbose, t_ParameterType type, lmk::t_unit unit, void* field);
    /// The same with names that outlive every section (the class's own constant
    /// strings): they are used where they stand, without a copy.
    void declare(const std::string& cname, const std::string& verbose, t_ParameterType type, lmk::t_unit unit,
                 void* field);

private:
    friend class ParameterIterator;
    void append(std::string_view cname, std::string_view verbose, t_ParameterType type, lmk::t_unit unit,
                void* field);
    std::string name;
    Section* parent = nullptr;
    std::vector<std::unique_ptr<Section>> subSections;
    std::vector<std::unique_ptr<Parameter>> parameters;
};

} // namespace cfg
