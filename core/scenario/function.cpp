#include <scenario/Function.h>

#include <scenario/RuntimeTables.h>

#include "ModelIndex.h"
#include "ValidityRules.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <ostream>

namespace {

const char* const kSource = "function";

bool IsParameterKind(uint32_t kind) {
    return kind == ITEM_PARAMETER || kind == ITEM_RETURN;
}

Parameter* AsParameter(ScenarioItem* item) {
    return item != nullptr && IsParameterKind(item->kind) ? dynamic_cast<Parameter*>(item) : nullptr;
}

// Whether a call returning `returned` may fill a parameter of type `wanted`:
// the same type, or FLOAT and INTEGER for one another.
bool ReturnFits(const std::string& wanted, const std::string& returned) {
    return wanted == returned || (wanted == "FLOAT" && returned == "INTEGER") ||
           (wanted == "INTEGER" && returned == "FLOAT");
}

// The operator of the five arithmetic calls, which show as "a + b"; null for
// any other name.
const char* ArithmeticOperator(const std::string& name) {
    if (name == "DIVIDE")
        return "/";
    if (name == "MINUS")
        return "-";
    if (name == "MODULO")
        return "%";
    if (name == "MULTIPLY")
        return "x";
    if (name == "PLUS")
        return "+";
    return nullptr;
}

template <typename Item, typename Out> void CollectKindBelow(Item* item, uint32_t kind, Out& out) {
    std::vector<ScenarioItem*> children;
    item->GetChildren(children);
    for (Item* child : children) {
        if (child == nullptr)
            AssertAbort(kSource, 131);
        if (child->kind == kind)
            out.push_back(child);
        CollectKindBelow(child, kind, out);
    }
}

// A copy of a definition's parameter for an upgraded call: an instance of the
// same definition, with the definition's default KIND and VALUE.
Parameter* CloneParameter(const Parameter* source) {
    std::unique_ptr<ScenarioItem> copy(const_cast<Parameter*>(source)->Clone());
    Parameter* parameter = dynamic_cast<Parameter*>(copy.get());
    if (parameter != nullptr)
        copy.release();
    return parameter;
}

// The definition's parameter at `index`; an upgrade that needs one the
// definition lacks ends the process.
const Parameter* DefinitionParameter(const Function& definition, size_t index) {
    if (index >= definition.parameters.size() || definition.parameters[index] == nullptr)
        AssertAbort(kSource, 161);
    return definition.parameters[index];
}

} // namespace

Function* AsFunction(ScenarioItem* item) {
    return item != nullptr && IsCallableKind(item->kind) ? dynamic_cast<Function*>(item) : nullptr;
}

Function::Function() {
    ResetMarks(this);
}

Function::~Function() {
    for (Parameter* parameter : parameters)
        delete parameter;
    delete returnParameter;
}

void Function::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if (kindFilter == ITEM_NONE || kindFilter == ITEM_PARAMETER)
        out.insert(out.end(), parameters.begin(), parameters.end());
}

void Function::DetachChildren() {
    ModelIndex::NoteChange(this);
    parameters.clear();
}

void Function::AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) {
    Parameter* parameter = AsParameter(child);
    if (parameter == nullptr)
        return;
    ModelIndex::NoteChange(this);
    ScenarioItemStore::Place(parameters, parameter, reference, after);
    parameter->parent = this;
}

void Function::RemoveChild(ScenarioItem* child) {
    if (child == nullptr)
        return;
    ModelIndex::NoteChange(this);
    if (child->kind == ITEM_RETURN && child == returnParameter) {
        delete returnParameter;
        returnParameter = nullptr;
        return;
    }
    auto it = std::find(parameters.begin(), parameters.end(), child);
    if (it == parameters.end())
        return;
    parameters.erase(it);
    if (child->parent == this)
        delete child;
}

void Function::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    Parameter* parameter = AsParameter(newChild);
    if (parameter == nullptr)
        return;
    ModelIndex::NoteChange(this);
    std::replace(parameters.begin(), parameters.end(), static_cast<Parameter*>(oldChild), parameter);
    parameter->parent = this;
}

void Function::SwapChildren(ScenarioItem* a, ScenarioItem* b) {
    if (AsParameter(a) == nullptr || AsParameter(b) == nullptr)
        return;
    if (ScenarioItemStore::Swap(parameters, a, b))
        ModelIndex::NoteChange(this);
}

void Function::SaveChildren(std::ostream& out) {
    for (Parameter* parameter : parameters)
        parameter->Save(out);
    if (returnParameter != nullptr)
        returnParameter->Save(out);
}

bool Function::AcceptsChildKind(uint32_t childKind) {
    return childKind == ITEM_PARAMETER || childKind == ITEM_FUNCTION;
}

bool Function::LinkToDefinition(const char* listName, const char* definitionReturnType) {
    if (!ScenarioItem::OnLoadBegin())
        return false;
    LinkModel(this, listName);
    if (model == this)
        returnType = definitionReturnType;
    // The parameters are read next and then compared with the definition's: in a
    // large model those lie far away, and are fetched while the reading goes on.
    if (const Function* definition = model != this ? AsFunction(model) : nullptr)
        for (const Parameter* parameter : definition->parameters)
            __builtin_prefetch(parameter);
    return model != nullptr;
}

bool Function::OnLoadBegin() {
    return LinkToDefinition("FUNCTION_LIST", "FLOAT");
}

bool Function::OnLoadEnd() {
    if (model == nullptr)
        AssertAbort(kSource, 101);
    Function* definition = AsFunction(model);
    if (definition == nullptr)
        AssertAbort(kSource, 102);
    SetFunctionModel(model);
    if (!Token::OnLoadEnd())
        return false;

    // The first parameter read as RETURN is the return parameter; a second one
    // refuses the call (and stays with its parameters, to be destroyed with it).
    bool result = true;
    for (auto it = parameters.begin(); it != parameters.end();) {
        Parameter* parameter = *it;
        if (!parameter->isReturn) {
            ++it;
        } else if (returnParameter == nullptr) {
            ModelIndex::NoteChange(this);
            returnParameter = parameter;
            returnType = parameter->GetType();
            it = parameters.erase(it);
        } else {
            result = false;
            ++it;
        }
    }
    if (!result || parameters.size() != definition->parameters.size())
        return false;
    if (definition == this)
        return true;
    // The definition's parameters lie far apart in a large model: all of them are
    // asked for at once, so that their reads overlap.
    for (const Parameter* parameter : definition->parameters)
        __builtin_prefetch(parameter);
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i]->name == definition->parameters[i]->name)
            continue;
        // An overloadable definition takes other parameters in its places; they
        // are marked, with the flag that has no other use in a call.
        if (definition->overloadable != "1")
            return false;
        parameters[i]->isReturn = true;
    }
    return true;
}

void Function::SetFunctionModel(Token* definitionToken) {
    if (definitionToken == this)
        return;
    Function* definition = AsFunction(definitionToken);
    if (definition == nullptr)
        return;
    const std::string noScope;
    auto find = [&](ScenarioItem* where, const char* parameterName) {
        return AsParameter(where->FindItem(ITEM_PARAMETER, parameterName, noScope));
    };

    if (name == "GET_EXPORTED_CHANNEL") {
        Parameter* old = find(this, "USER_DATA_ID");
        Parameter* channel = find(definition, "CHANNEL_ID");
        Function* owner = old != nullptr ? AsFunction(old->parent) : nullptr;
        if (owner != nullptr && channel != nullptr) {
            if (Parameter* replacement = CloneParameter(channel)) {
                replacement->value = old->value;
                owner->ReplaceChild(replacement, old);
                delete old;
            }
        }
    }
    if (name == "IS_VHL_AT_POSITION" && find(this, "MAP_RADIUS") == nullptr) {
        Parameter* radius = find(definition, "MAP_RADIUS");
        if (radius == nullptr)
            AssertAbort(kSource, 160);
        AddChild(CloneParameter(radius), radius, true);
    }
    if (name == "SET_IMAGE" && find(this, "DISPLAY_TIME") == nullptr &&
        find(definition, "CHANNEL_NAME") != nullptr) {
        const Parameter* displayTime = DefinitionParameter(*definition, 6);
        AddChild(CloneParameter(displayTime), const_cast<Parameter*>(displayTime), true);
    }
    if (name == "INIT_ANIMATION") {
        if (Parameter* vehicle = find(this, "VHL_NUMBER_PLUS")) {
            if (parameters.size() < 4)
                AssertAbort(kSource, 162);
            const Parameter* objectName = DefinitionParameter(*definition, 1);
            const Parameter* objectType = DefinitionParameter(*definition, 3);
            const Parameter* objectNumber = DefinitionParameter(*definition, 4);
            // Read now: the parameter may stand among those removed next.
            const std::string vehicleNumber = vehicle->value;
            RemoveChild(parameters[1]);
            RemoveChild(parameters[1]);
            const std::string kept = parameters[1]->value;
            RemoveChild(parameters[1]);
            Parameter* first = CloneParameter(objectName);
            Parameter* second = CloneParameter(objectType);
            Parameter* third = CloneParameter(objectNumber);
            first->value = kept;
            if (vehicleNumber == "-1") {
                second->value = "ANIMATED_OBJECT_TYPE_DATABASE";
                third->value = "0";
            } else {
                second->value = "ANIMATED_OBJECT_TYPE_VEHICLE";
                third->value = vehicleNumber;
            }
            if (Parameter* stillThere = find(this, "VHL_NUMBER_PLUS"))
                if (Function* owner = AsFunction(stillThere->parent))
                    owner->RemoveChild(stillThere);
            AddChild(first, parameters.empty() ? nullptr : parameters[0], true);
            AddChild(second, nullptr, true);
            AddChild(third, nullptr, true);
        }
    }
    if (name == "SNAPSHOT" && find(this, "SUFFIX") == nullptr &&
        find(definition, "CHANNEL_NAME") != nullptr) {
        const Parameter* suffix = DefinitionParameter(*definition, 1);
        AddChild(CloneParameter(suffix), const_cast<Parameter*>(suffix), true);
    }
    if (name == "ADD_TIME_MARKER" && find(this, "MARKER_KEYWORDS") == nullptr &&
        find(definition, "MARKER_NOTE") != nullptr) {
        const Parameter* keywords = DefinitionParameter(*definition, 1);
        Parameter* copy = CloneParameter(keywords);
        copy->SetName("MARKER_KEYWORDS");
        AddChild(copy, const_cast<Parameter*>(keywords), true);
    }
}

void Function::UpdateDisplayTextTree() {
    std::vector<ScenarioItem*> children;
    GetChildren(children);
    std::vector<Function*> calls;
    for (ScenarioItem* child : children) {
        if (child == nullptr)
            AssertAbort(kSource, 131);
        if (IsCallableKind(child->kind)) {
            Function* call = AsFunction(child);
            if (call == nullptr)
                AssertAbort(kSource, 132);
            call->boundParameter = nullptr;
            calls.push_back(call);
        } else if (child->kind != ITEM_PARAMETER) {
            AssertAbort(kSource, 132);
        }
    }

    // A call placed beside the parameters goes into a parameter that waits for
    // one: first those whose KIND already says so, then those whose definition
    // allows a call returning that type. The parameter owns it from then on.
    // A parameter holds calls of kind FUNCTION only; what it doesn't take stays.
    auto bind = [this](Function* call, Parameter* parameter) {
        parameter->SetFunction(call);
        if (parameter->functionValue != call)
            return false;
        call->boundParameter = parameter;
        RemoveChild(call);
        return true;
    };
    for (Function* call : calls) {
        for (Parameter* parameter : parameters) {
            if (parameter->valueKind == "FUNCTION" && parameter->functionValue == nullptr &&
                bind(call, parameter))
                break;
        }
    }
    for (Function* call : calls) {
        if (call->boundParameter != nullptr)
            continue;
        const Function* callDefinition = AsFunction(call->model);
        if (callDefinition == nullptr)
            continue;
        for (Parameter* parameter : parameters) {
            const Parameter* definition = dynamic_cast<const Parameter*>(parameter->model);
            if (parameter->functionValue != nullptr || definition == nullptr)
                continue;
            const bool takesCalls = std::find(definition->kindList.begin(), definition->kindList.end(),
                                              "FUNCTION") != definition->kindList.end();
            if (takesCalls && ReturnFits(definition->GetType(), callDefinition->returnType) &&
                bind(call, parameter)) {
                parameter->SetKind("FUNCTION");
                break;
            }
        }
    }

    for (Function* call : calls)
        call->UpdateDisplayTextTree();
    for (Parameter* parameter : parameters)
        parameter->UpdateDisplayTextTree();
    UpdateValidity();
    UpdateDisplayText();
}

void Function::UpdateDisplayText() {
    if (model == this) {
        displayText = name + "    (" + label + ")    (" + code + ")";
        return;
    }
    displayText = CallText();
}

std::string Function::CallText() const {
    const Function* definition = AsFunction(model);
    if (definition == nullptr)
        definition = this;
    auto textOf = [this](size_t index) {
        return index < parameters.size() ? parameters[index]->displayText : std::string();
    };
    if (ArithmeticOperator(name) != nullptr) {
        const char* sign = ArithmeticOperator(definition->name);
        return textOf(0) + " " + (sign != nullptr ? sign : "") + " " + textOf(1);
    }
    std::string text = definition->label + "  (";
    for (size_t i = 0; i < parameters.size(); ++i) {
        if (i > 0)
            text += ",  ";
        text += parameters[i]->displayText;
    }
    return text + ")";
}

ScenarioItem* Function::FindItem(uint32_t wantedKind, const std::string& wantedName,
                                 const std::string& scope) {
    if (!scope.empty()) {
        const ScenarioItem* fileScope = IsFileScopeKind(kind) ? this : FindFileScope(parent);
        if (fileScope == nullptr || (fileScope->fileName != scope && fileScope->kind != ITEM_SCENARIO))
            return nullptr;
    }
    if (kind == wantedKind && name == wantedName)
        return this;
    const std::string noScope;
    std::vector<ScenarioItem*> children;
    GetChildren(children);
    for (ScenarioItem* child : children) {
        if (child == nullptr)
            AssertAbort(kSource, 131);
        if (ScenarioItem* hit = child->FindItem(wantedKind, wantedName, noScope))
            return hit;
    }
    for (Parameter* parameter : parameters)
        if (ScenarioItem* hit = parameter->FindItem(wantedKind, wantedName, noScope))
            return hit;
    return nullptr;
}

const ScenarioItem* Function::FindItem(uint32_t wantedKind, const std::string& wantedName,
                                       const std::string& scope) const {
    if (!scope.empty()) {
        const ScenarioItem* fileScope = IsFileScopeKind(kind) ? this : FindFileScope(parent);
        if (fileScope == nullptr || (fileScope->fileName != scope && fileScope->kind != ITEM_SCENARIO))
            return nullptr;
    }
    if (kind == wantedKind && name == wantedName)
        return this;
    const std::string noScope;
    std::vector<ScenarioItem*> children;
    GetChildren(children);
    for (const ScenarioItem* child : children) {
        if (child == nullptr)
            AssertAbort(kSource, 131);
        if (const ScenarioItem* hit = child->FindItem(wantedKind, wantedName, noScope))
            return hit;
    }
    // This twin hands the scope on to the parameters as it came.
    for (const Parameter* parameter : parameters)
        if (const ScenarioItem* hit = parameter->FindItem(wantedKind, wantedName, scope))
            return hit;
    return nullptr;
}

bool Function::ContainsItem(const ScenarioItem* item) const {
    if (item == this)
        return true;
    std::vector<ScenarioItem*> children;
    GetChildren(children);
    for (const ScenarioItem* child : children) {
        if (child == nullptr)
            AssertAbort(kSource, 131);
        if (child->ContainsItem(item))
            return true;
    }
    for (const Parameter* parameter : parameters)
        if (parameter->ContainsItem(item))
            return true;
    return false;
}

bool Function::LoadModelAttribute(ScenarioTextStream& stream) {
    std::string words;
    switch (stream.Peek()) {
    case 'L':
        return Token::LoadModelAttribute(stream);
    case 'I':
        return overloadable.empty() && ReadStringAttribute(stream, "IS_OVERLOADABLE", overloadable);
    case 'C':
        if (!code.empty() || !ReadStringAttribute(stream, "CODE", code))
            return false;
        codeNumber = std::atoi(code.c_str());
        return true;
    case 'W':
        // Any wizard is kept; only the two map tools count as known.
        if (!wizard.empty() || !ReadStringAttribute(stream, "WIZARD", wizard))
            return false;
        return wizard == "MAPTOOL" || wizard == "MAPTOOLRECT";
    case 'S':
        if (!seeAlso.empty() || !ReadStringAttribute(stream, "SEE_ALSO", words))
            return false;
        SplitWords(words, seeAlso);
        return true;
    default:
        return false;
    }
}

bool Function::LoadUserAttribute(ScenarioTextStream&) {
    return false;
}

void Function::SaveModelAttributes(std::ostream& out) {
    Token::SaveModelAttributes(out);
    if (overloadable == "1")
        WriteAttribute(out, "IS_OVERLOADABLE", overloadable.c_str());
    WriteAttribute(out, "CODE", code.c_str());
    WriteAttribute(out, "WIZARD", wizard.c_str());
    char words[1024];
    JoinWords(seeAlso, words, sizeof(words));
    WriteAttribute(out, "SEE_ALSO", words);
}

void Function::SaveUserAttributes(std::ostream&) {}

void Function::CopyModelAttributes(Token* target) {
    Function* copy = target != nullptr ? AsFunction(target) : nullptr;
    if (copy == nullptr)
        AssertAbort(kSource, 210);
    copy->code = code;
    copy->codeNumber = codeNumber;
    copy->returnType = returnType;
    copy->wizard = wizard;
    copy->overloadable = overloadable == "1" ? "1" : "0";
    if (returnParameter != nullptr) {
        Parameter* returned = CloneParameter(returnParameter);
        if (copy->returnParameter != nullptr && copy->returnParameter->parent == copy)
            delete copy->returnParameter;
        copy->returnParameter = returned;
        if (returned != nullptr)
            returned->parent = copy;
    }
}

void Function::CopyUserAttributes(Token* target) {
    target->SetModel(model);
    if (Function* copy = AsFunction(target))
        copy->weight = weight;
}

namespace {

// An evaluation call means something only within criteria.
std::string EvaluationFault(const Function& call) {
    if (call.name.compare(0, 10, "EVALUATION") != 0)
        return std::string();
    for (const ScenarioItem* ancestor = call.parent; ancestor != nullptr; ancestor = ancestor->parent)
        if (ancestor->kind == ITEM_CRITERIA)
            return std::string();
    return "EVALUATION call outside criteria";
}

// A call standing directly where parameters stand must fill one of them.
std::string PlacementFault(const Function& call) {
    if (call.parent == nullptr || call.boundParameter != nullptr ||
        !call.parent->AcceptsChildKind(ITEM_PARAMETER))
        return std::string();
    return std::string("call fills no parameter of its parent ") + KindKeyword(call.parent->kind);
}

} // namespace

std::string CallFault(const Function& call) {
    std::string fault = EvaluationFault(call);
    return fault.empty() ? PlacementFault(call) : fault;
}

void Function::UpdateValidity() {
    valid = false;
    if (!EvaluationFault(*this).empty())
        return;
    std::vector<ScenarioItem*> children;
    GetChildren(children);
    for (const ScenarioItem* child : children) {
        if (child == nullptr)
            AssertAbort(kSource, 131);
        if (!child->IsValid())
            return;
    }
    bool parametersValid = true;
    for (Parameter* parameter : parameters) {
        parameter->UpdateValidity();
        parametersValid = parametersValid && parameter->IsValid();
    }
    if (!parametersValid)
        return;
    valid = PlacementFault(*this).empty();
}

void Function::CollectAllItems(uint32_t wantedKind, const std::string& wantedName,
                               std::vector<ScenarioItem*>& out) {
    if (kind == wantedKind && name == wantedName)
        out.push_back(this);
    CollectKindBelow<ScenarioItem>(this, wantedKind, out);
}

void Function::CollectAllItems(uint32_t wantedKind, const std::string& wantedName,
                               std::vector<const ScenarioItem*>& out) const {
    if (kind == wantedKind && name == wantedName)
        out.push_back(this);
    CollectKindBelow<const ScenarioItem>(this, wantedKind, out);
}

void Function::CollectAllItemsOfKind(uint32_t wantedKind, std::vector<ScenarioItem*>& out) {
    if (kind == wantedKind)
        out.push_back(this);
    CollectKindBelow<ScenarioItem>(this, wantedKind, out);
}

void Function::CollectAllItemsOfKind(uint32_t wantedKind, std::vector<const ScenarioItem*>& out) const {
    if (kind == wantedKind)
        out.push_back(this);
    CollectKindBelow<const ScenarioItem>(this, wantedKind, out);
}

namespace {

// The records of the calls under way, one set per level of nesting; `used`
// says how many a call filled, which the next call at that level makes fresh.
struct ValueSet {
    ParameterValue values[kRuntimeValueCount];
    size_t used = kRuntimeValueCount;
};

std::vector<std::unique_ptr<ValueSet>>& ValueSets() {
    static std::vector<std::unique_ptr<ValueSet>> sets;
    return sets;
}

size_t valueLevel = 0;

} // namespace

Function::Values::Values() : level_(valueLevel++) {
    std::vector<std::unique_ptr<ValueSet>>& sets = ValueSets();
    if (sets.size() <= level_)
        sets.push_back(std::make_unique<ValueSet>());
    ValueSet& set = *sets[level_];
    for (size_t i = 0; i < set.used; ++i) {
        set.values[i].tag = 4;
        set.values[i].number = 0.0f;
        set.values[i].text.clear();
    }
    set.used = 0;
    data = set.values;
}

void Function::Values::Filled(size_t count) {
    ValueSets()[level_]->used = count;
}

Function::Values::~Values() {
    --valueLevel;
}

const Function* Function::RootDefinition() const {
    // The common chain is one step, to a definition that stands for itself: its
    // class is known from the last time.
    if (model != nullptr && model == rootModel_ && model->model == model && IsCallableKind(model->kind))
        return rootDefinition_;
    const Token* definition = this;
    for (size_t steps = 0; definition->model != definition; ++steps) {
        if (definition->model == nullptr || steps > 1024)
            return nullptr;
        definition = definition->model;
    }
    const Function* function =
        IsCallableKind(definition->kind) ? dynamic_cast<const Function*>(definition) : nullptr;
    if (function != nullptr && definition == model && model->model == model) {
        rootModel_ = model;
        rootDefinition_ = function;
    }
    return function;
}

void Function::FillValues(Values& values, const char* source) {
    if (parameters.size() > kRuntimeValueCount)
        AssertAbort(source, 918);
    // The entries see the records as const: only these can differ from fresh.
    values.Filled(parameters.size());
    for (size_t i = 0; i < parameters.size(); ++i)
        parameters[i]->FillValue(values.data[i]);
}

float Function::Evaluate() {
    const Function* definition = RootDefinition();
    if (definition == nullptr || definition->codeNumber == -1)
        return 0.0f;
    // The entry is looked up first, so that a fault of the model is reported
    // before any nested call runs.
    const FunctionEntry* entry = FindFunctionEntry(definition->codeNumber);
    if (entry == nullptr)
        AssertAbort(kSource, 920);
    Values values;
    FillValues(values, kSource);
    return (*entry)(values.data);
}
