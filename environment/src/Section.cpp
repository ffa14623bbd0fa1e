#include <environment/SheetSection/Section.h>

#include <algorithm>
#include <cstring>

namespace cfg {

// One entry of a parameter list. A declared parameter points at a field of its
// section object; a parameter read from the file keeps its value in the entry.
// Every entry also has one slot per type, so that a getter of another type than
// the parameter's hands out a harmless scratch slot instead of reinterpreting
// the field.
struct Section::Parameter {
    std::string cname;
    std::string verbose;
    t_ParameterType type = ParameterString;
    lmk::t_unit unit = lmk::U_NONE;
    void* field = nullptr; // set for declared parameters only

    int intValue = 0;
    double doubleValue = 0.0;
    bool boolValue = false;
    float floatValue = 0.0f;
    lmk::Vector3 vectorValue;
    std::string stringValue;
    std::string options;
};

namespace {

bool holdsString(t_ParameterType type) {
    return type == ParameterString || type == ParameterChoice;
}

} // namespace

Section::Parameter& Section::ParameterIterator::entry() const {
    return *section->parameters[index];
}

const std::string& Section::ParameterIterator::getCName() const {
    return entry().cname;
}

const std::string& Section::ParameterIterator::getVerboseName() const {
    return entry().verbose;
}

Section::t_ParameterType Section::ParameterIterator::getType() const {
    return entry().type;
}

lmk::t_unit Section::ParameterIterator::getUnit() const {
    return entry().unit;
}

int& Section::ParameterIterator::getInt() const {
    Parameter& p = entry();
    return (p.field && p.type == ParameterInt) ? *static_cast<int*>(p.field) : p.intValue;
}

double& Section::ParameterIterator::getDouble() const {
    Parameter& p = entry();
    return (p.field && p.type == ParameterReal) ? *static_cast<double*>(p.field) : p.doubleValue;
}

bool& Section::ParameterIterator::getBool() const {
    Parameter& p = entry();
    return (p.field && p.type == ParameterBool) ? *static_cast<bool*>(p.field) : p.boolValue;
}

std::string& Section::ParameterIterator::getString() const {
    Parameter& p = entry();
    return (p.field && holdsString(p.type)) ? *static_cast<std::string*>(p.field) : p.stringValue;
}

float& Section::ParameterIterator::getFloat() const {
    Parameter& p = entry();
    return (p.field && p.type == ParameterFloat) ? *static_cast<float*>(p.field) : p.floatValue;
}

lmk::Vector3& Section::ParameterIterator::getVector() const {
    Parameter& p = entry();
    return (p.field && p.type == ParameterVector) ? *static_cast<lmk::Vector3*>(p.field) : p.vectorValue;
}

std::string& Section::ParameterIterator::getOptions() const {
    return entry().options;
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
    auto entry = std::make_unique<Parameter>();
    entry->cname = cname;
    entry->verbose = verbose;
    entry->type = type;
    entry->unit = unit;
    parameters.push_back(std::move(entry));
    return ParameterIterator(this, parameters.size() - 1);
}

bool Section::isDeclared(const ParameterIterator& it) const {
    // The iterator's position is private to it; parameter lists are short.
    for (size_t i = 0; i < parameters.size(); ++i)
        if (it == ParameterIterator(this, i))
            return parameters[i]->field != nullptr;
    return false;
}

void Section::declare(const char* cname, const char* verbose, t_ParameterType type, lmk::t_unit unit,
                      void* field) {
    auto entry = std::make_unique<Parameter>();
    entry->cname = cname;
    entry->verbose = verbose ? verbose : "";
    entry->type = type;
    entry->unit = unit;
    entry->field = field;
    parameters.push_back(std::move(entry));
}

} // namespace cfg
