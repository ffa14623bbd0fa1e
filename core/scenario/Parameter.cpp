#include <scenario/Parameter.h>

#include <scenario/EnumTab.h>
#include <scenario/Evaluation.h>
#include <scenario/Function.h>
#include <scenario/Scenario.h>
#include <scenario/Variable.h>

#include "ModelIndex.h"
#include "ValidityRules.h"

#include <environment/lmkUtils/EnvConfig.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <memory>
#include <ostream>
#include <sstream>
#include <string_view>

namespace {

const char* const kSource = "Parameter";

// The words of KIND and KINDLIST. What VALUE holds, and how it is shown, checked
// and handed to a run-time entry, depends on this word alone.
enum class Word {
    Unknown,
    Enum,
    File,
    Function,
    Task,
    User,
    Variable,
    Vehicle,
    Pick,
    TrafficLight,
    Barrier,
    RoadSign,
    Object,
    VhcInput,
    VhcOutput,
    ExportChannel,
    ExportChannelCategory,
    ExportChannelName,
    Trigger,
    Source,
    Sink,
    Trajectory,
    Driver,
    Image,
    Sound,
};

struct WordEntry {
    std::string_view text;
    Word word;
};

constexpr WordEntry kWords[] = {
    {"ENUM", Word::Enum},
    {"FILE", Word::File},
    {"FUNCTION", Word::Function},
    {"TASK", Word::Task},
    {"USER", Word::User},
    {"VARIABLE", Word::Variable},
    {"VEHICLE", Word::Vehicle},
    {"PICK", Word::Pick},
    {"TRAFFIC_LIGHT", Word::TrafficLight},
    {"BARRIER", Word::Barrier},
    {"ROADSIGN", Word::RoadSign},
    {"OBJECT", Word::Object},
    {"VHC_INPUT", Word::VhcInput},
    {"VHC_OUTPUT", Word::VhcOutput},
    {"EXPORT_CHANNEL", Word::ExportChannel},
    {"EXPORT_CHANNEL_CATEGORY", Word::ExportChannelCategory},
    {"EXPORT_CHANNEL_NAME", Word::ExportChannelName},
    {"TRIGGER", Word::Trigger},
    {"SOURCE", Word::Source},
    {"SINK", Word::Sink},
    {"TRAJECTORY", Word::Trajectory},
    {"DRIVER", Word::Driver},
    {"IMAGE", Word::Image},
    {"SOUND", Word::Sound},
};

// A run-time loop asks for the word of every parameter of every call it makes:
// the comparisons are made only among the words of the same length and first
// letter.
// Whether two texts of the same length are equal. The texts are words of a few
// letters, compared on every run-time call: a loop the compiler sees whole does
// better than a call of memcmp.
inline bool SameBytes(const char* a, const char* b, size_t length) {
    for (size_t i = 0; i < length; ++i)
        if (a[i] != b[i])
            return false;
    return true;
}

inline bool IsText(const std::string& text, std::string_view literal) {
    return text.size() == literal.size() && SameBytes(text.data(), literal.data(), literal.size());
}

Word WordOf(std::string_view text) {
    if (text.empty())
        return Word::Unknown;
    for (const WordEntry& entry : kWords)
        if (entry.text.size() == text.size() && entry.text[0] == text[0] &&
            SameBytes(entry.text.data(), text.data(), text.size()))
            return entry.word;
    return Word::Unknown;
}

// The types of a definition, by the same rule: a fresh record's tag for the rest.
enum class Type { Bool, Float, Integer, String, Other };

Type TypeOf(const std::string& type) {
    switch (type.size()) {
    case 4:
        return IsText(type, "BOOL") ? Type::Bool : Type::Other;
    case 5:
        return IsText(type, "FLOAT") ? Type::Float : Type::Other;
    case 6:
        return IsText(type, "STRING") ? Type::String : Type::Other;
    case 7:
        return IsText(type, "INTEGER") ? Type::Integer : Type::Other;
    default:
        return Type::Other;
    }
}

bool IsNumeric(Type type) {
    return type == Type::Bool || type == Type::Float || type == Type::Integer;
}

bool IsTypeWord(const std::string& text) {
    return TypeOf(text) != Type::Other || text == "VOID";
}

bool Contains(const std::vector<std::string>& words, const char* word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

// A type that a value of type `given` may stand for: the same, FLOAT and
// INTEGER for one another, and anything for a STRING.
bool TypeFits(const std::string& wanted, const std::string& given) {
    if (wanted == given || wanted == "STRING")
        return true;
    return (wanted == "FLOAT" && given == "INTEGER") || (wanted == "INTEGER" && given == "FLOAT");
}

// The definition of a parameter, which must be a parameter itself.
Parameter* DefinitionOf(Token* model, int nullLine, int kindLine) {
    if (model == nullptr)
        AssertAbort(kSource, nullLine);
    if (model->kind != ITEM_PARAMETER)
        AssertAbort(kSource, kindLine);
    Parameter* definition = dynamic_cast<Parameter*>(model);
    if (definition == nullptr)
        AssertAbort(kSource, kindLine);
    return definition;
}

// The scenario whose tables a parameter's text reads: the root of its tree
// when that is a scenario, the scenario an evaluation names when the root is an
// evaluation read on its own; none otherwise.
const ScenarioLib::Scenario* ScenarioOf(const Parameter& parameter) {
    const ScenarioItem* root =
        GetTreeRoot(parameter.parent != nullptr ? parameter.parent : const_cast<Parameter*>(&parameter));
    if (root == nullptr)
        return nullptr;
    if (root->kind == ITEM_EVALUATION)
        if (const Evaluation* evaluation = dynamic_cast<const Evaluation*>(root))
            return evaluation->owner;
    return root->kind == ITEM_SCENARIO ? dynamic_cast<const ScenarioLib::Scenario*>(root) : nullptr;
}

// Whether the scenario at `root` includes the file.
bool ScenarioHasInclude(const ScenarioItem* root, const std::string& file) {
    const auto* scenario = dynamic_cast<const ScenarioLib::Scenario*>(root);
    return scenario != nullptr && scenario->FindIncludeByFile(file) != nullptr;
}

// The name of export channel `number`, asked of the root itself when it is a
// scenario or an include (an include knows no channel), else of the scenario.
std::string ExportChannelName(const Parameter& parameter, int32_t number) {
    const ScenarioItem* root =
        GetTreeRoot(parameter.parent != nullptr ? parameter.parent : const_cast<Parameter*>(&parameter));
    if (root != nullptr && root->kind == ITEM_INCLUDE)
        return std::string();
    const ScenarioLib::Scenario* scenario = ScenarioOf(parameter);
    return scenario != nullptr ? scenario->ChannelName(number) : std::string();
}

// The table of the scenario that a sign, barrier or light is read from.
ScenarioLib::Scenario::EntityTable TableOf(Word word) {
    switch (word) {
    case Word::RoadSign:
        return ScenarioLib::Scenario::ROAD_SIGNS;
    case Word::Barrier:
        return ScenarioLib::Scenario::BARRIERS;
    default:
        return ScenarioLib::Scenario::TRAFFIC_LIGHTS;
    }
}

// Whether the scenario knows what a TRIGGER, DRIVER, IMAGE or SOUND names.
bool ScenarioKnows(const ScenarioLib::Scenario& scenario, Word word, const std::string& value) {
    switch (word) {
    case Word::Trigger:
        return scenario.EntityNumber(ScenarioLib::Scenario::TRIGGERS, value) != -1;
    case Word::Driver:
        return scenario.EntityNumber(ScenarioLib::Scenario::DRIVERS, value) != -1;
    default:
        return scenario.EntityNumber(ScenarioLib::Scenario::MEDIA, value) != -1;
    }
}

// The vehicle number of the first parameter of `call` whose definition allows
// KIND VEHICLE; null when there is none.
const Parameter* VehicleParameterOf(const Function& call) {
    for (const Parameter* parameter : call.parameters) {
        const Parameter* itsDefinition = dynamic_cast<const Parameter*>(parameter->model);
        if (itsDefinition != nullptr && Contains(itsDefinition->kindList, "VEHICLE"))
            return parameter;
    }
    return nullptr;
}

// What "%f"-style and "%d"-style scans accept: optional blanks and sign, then a
// number; whatever follows is left alone, as a scan leaves it.
bool ScansAsFloat(const std::string& text) {
    const char* start = text.c_str();
    char* end = nullptr;
    std::strtof(start, &end);
    return end != start;
}

bool ScansAsInteger(const std::string& text) {
    const char* start = text.c_str();
    char* end = nullptr;
    std::strtoll(start, &end, 10);
    return end != start;
}

} // namespace

bool IsParameterKindWord(const std::string& word) {
    return WordOf(word) != Word::Unknown;
}

Parameter::Parameter() {
    ResetMarks(this);
}

Parameter::~Parameter() {
    delete functionValue;
}

void Parameter::GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter) const {
    if ((kindFilter == ITEM_NONE || kindFilter == ITEM_FUNCTION) && functionValue != nullptr)
        out.push_back(functionValue);
}

void Parameter::DetachChildren() {
    ModelIndex::NoteChange(this);
    functionValue = nullptr;
}

void Parameter::AddChild(ScenarioItem* child, ScenarioItem*, bool) {
    if (child == nullptr || child->kind != ITEM_FUNCTION)
        return;
    Function* call = dynamic_cast<Function*>(child);
    if (call == nullptr)
        return;
    ModelIndex::NoteChange(this);
    // The call this parameter held and owned would be lost otherwise.
    if (functionValue != nullptr && functionValue != call && functionValue->parent == this)
        delete functionValue;
    functionValue = call;
    call->parent = this;
}

void Parameter::RemoveChild(ScenarioItem* child) {
    if (child != nullptr && child->kind == ITEM_FUNCTION && child == functionValue) {
        ModelIndex::NoteChange(this);
        functionValue = nullptr;
    }
}

void Parameter::ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) {
    if (newChild == nullptr || newChild->kind != ITEM_FUNCTION || oldChild != functionValue)
        return;
    if (Function* call = dynamic_cast<Function*>(newChild)) {
        ModelIndex::NoteChange(this);
        functionValue = call;
        call->parent = this;
    }
}

void Parameter::SwapChildren(ScenarioItem*, ScenarioItem*) {}

void Parameter::SaveChildren(std::ostream&) {}

bool Parameter::AcceptsChildKind(uint32_t childKind) {
    return childKind == ITEM_FUNCTION;
}

bool Parameter::OnLoadBegin() {
    // In memory there are only parameters; a RETURN is remembered as a mark.
    if (kind == ITEM_RETURN) {
        ModelIndex::NoteChange(this);
        kind = ITEM_PARAMETER;
        isReturn = true;
    }
    if (!ScenarioItem::OnLoadBegin())
        return false;
    LinkModel(this, "PARAMETER_LIST");
    return model != nullptr;
}

bool Parameter::OnLoadEnd() {
    if (model == this)
        return !kindList.empty() && !type.empty();
    return !valueKind.empty();
}

ScenarioItem* Parameter::Clone() {
    ScenarioItem* copy = Token::Clone();
    if (Parameter* parameter = dynamic_cast<Parameter*>(copy)) {
        // KIND came with the user attributes, so the owner file stays only on a
        // variable.
        parameter->SetOwnerFile(ownerFile);
        parameter->type = GetType();
    }
    return copy;
}

bool Parameter::Save(std::ostream& out) {
    if (parent == nullptr)
        AssertAbort(kSource, 120);
    // Written as RETURN only as the return parameter of its own function's
    // definition, which a function never is: a RETURN read is written back as
    // PARAMETER.
    const Token* owner = parent->kind == ITEM_FUNCTION ? dynamic_cast<const Token*>(parent) : nullptr;
    const bool asReturn = isReturn && owner != nullptr && owner->model == this;
    if (asReturn)
        kind = ITEM_RETURN;
    const bool result = Token::Save(out);
    if (asReturn)
        kind = ITEM_PARAMETER;
    return result;
}

void Parameter::UpdateDisplayTextTree() {
    if (functionValue != nullptr)
        functionValue->UpdateDisplayTextTree();
    UpdateValidity();
    UpdateDisplayText();
}

void Parameter::UpdateDisplayText() {
    if (model == this) {
        displayText = name + "    (" + label + ")";
        return;
    }
    Parameter* definition = DefinitionOf(model, 876, 877);
    const ScenarioLib::Scenario* scenario = ScenarioOf(*this);
    std::string text;
    switch (WordOf(valueKind)) {
    case Word::Enum: {
        ScenarioItem* entry = FindEnumEntry(definition->enumTab, value);
        if (entry == nullptr)
            AssertAbort(kSource, 885);
        if (entry->kind != ITEM_ENUM)
            AssertAbort(kSource, 886);
        text = entry->label;
        break;
    }
    case Word::File:
    case Word::User:
    case Word::Trigger:
    case Word::Source:
    case Word::Sink:
    case Word::Trajectory:
    case Word::Image:
    case Word::Sound:
    case Word::ExportChannelCategory:
    case Word::ExportChannelName:
        text = value;
        break;
    case Word::Function:
        if (functionValue != nullptr)
            text = functionValue->displayText;
        break;
    case Word::RoadSign:
    case Word::Barrier:
    case Word::TrafficLight:
        // The scenario's text of the sign, barrier or light; without one, the
        // number.
        if (scenario != nullptr)
            text = scenario->EntityText(TableOf(WordOf(valueKind)), std::atoi(value.c_str()));
        if (text.empty())
            text = value;
        break;
    case Word::ExportChannel:
        text = ExportChannelName(*this, std::atoi(value.c_str()));
        if (text.empty())
            text = value;
        break;
    case Word::Object:
        if (scenario != nullptr)
            text = scenario->PointText(value);
        break;
    case Word::Driver: {
        const int32_t number =
            scenario != nullptr ? scenario->EntityNumber(ScenarioLib::Scenario::DRIVERS, value) : -1;
        if (number != -1)
            text = "[" + std::to_string(number) + "] " + value;
        break;
    }
    case Word::Vehicle: {
        const int32_t number = std::atoi(value.c_str());
        if (scenario != nullptr && scenario->HasVehicle(number))
            text = "[" + value + "] " + scenario->vehicles.at(number).name;
        else if (number == -1)
            text = "environment";
        break;
    }
    case Word::VhcInput:
    case Word::VhcOutput: {
        if (parent == nullptr) {
            text = "(no parent node)";
            break;
        }
        Function* call = dynamic_cast<Function*>(parent);
        if (call == nullptr) {
            text = "(parent node is not a function)";
            break;
        }
        const Parameter* vehicle = VehicleParameterOf(*call);
        const int32_t number = vehicle != nullptr ? std::atoi(vehicle->value.c_str()) : -1;
        if (number == -1) {
            text = "(no vehicle parameter in parent function)";
        } else if (scenario == nullptr) {
            text = "(no parent scenario)";
        } else if (!scenario->HasVehicle(number)) {
            text = "(vehicle not found in scenario)";
        } else {
            const VEHICLE& found = scenario->vehicles.at(number);
            const auto& list = WordOf(valueKind) == Word::VhcInput ? found.inputs : found.outputs;
            // Unsigned, so that a negative index is out of range too.
            const auto index = static_cast<uint32_t>(std::atoi(value.c_str()));
            text = index < list.size() ? list[index].name : "(invalid index)";
        }
        break;
    }
    case Word::Task:
    case Word::Variable:
    case Word::Pick:
    case Word::Unknown: {
        const uint32_t itemKind = KindFromKeyword(valueKind.c_str());
        if (itemKind == ITEM_NONE) {
            text = "?";
            break;
        }
        ScenarioItem* root = GetTreeRoot(this);
        if (root == nullptr)
            AssertAbort(kSource, 1104);
        std::string scope = ownerFile;
        if (scope.empty()) {
            const ScenarioItem* fileScope = FindFileScope(this);
            scope = fileScope != nullptr ? fileScope->fileName : std::string();
        }
        if (const ScenarioItem* found = root->FindItem(itemKind, value, scope)) {
            text = found->label;
            if (itemKind == ITEM_VARIABLE && !ownerFile.empty())
                text += " [" + ownerFile + "]";
        }
        break;
    }
    }
    if (!IsValid())
        text += "?";
    if (text.empty())
        text = "\"\"";
    displayText = text;
}

bool Parameter::LoadModelAttribute(ScenarioTextStream& stream) {
    // Each key only while its field is empty; the first key that matches decides.
    switch (stream.Peek()) {
    case 'L':
        return Token::LoadModelAttribute(stream);
    case 'U':
        if (unit.empty() && ReadStringAttribute(stream, "UNIT", unit))
            return true;
        if (usage.empty() && ReadStringAttribute(stream, "USAGE", usage))
            return usage == "BY_VALUE" || usage == "BY_ADDRESS";
        return false;
    case 'T':
        if (GetType().empty() && ReadStringAttribute(stream, "TYPE", type))
            return IsTypeWord(type);
        return false;
    case 'E':
        if (enumTab.empty() && ReadStringAttribute(stream, "ENUMTAB", enumTab))
            return FindEnumTab(enumTab) != nullptr;
        return false;
    case 'F':
        if (fileDir.empty() && ReadStringAttribute(stream, "FILEDIR", fileDir))
            return true;
        if (fileExt.empty() && ReadStringAttribute(stream, "FILEEXT", fileExt))
            return true;
        return false;
    case 'K': {
        std::string words;
        if (!kindList.empty() || !ReadStringAttribute(stream, "KINDLIST", words))
            return false;
        SplitWords(words, kindList);
        for (const std::string& word : kindList)
            if (!IsParameterKindWord(word))
                return false;
        // Only the attributes read so far count: FILEDIR, ENUMTAB and USAGE come
        // before KINDLIST.
        if (Contains(kindList, "FILE") && fileDir.empty())
            return false;
        if (Contains(kindList, "ENUM") && enumTab.empty())
            return false;
        if (usage == "BY_ADDRESS" && !(kindList.size() == 1 && kindList[0] == "VARIABLE"))
            return false;
        return true;
    }
    case 'M':
        if (minValue.empty() && ReadStringAttribute(stream, "MINVALUE", minValue))
            return true;
        if (maxValue.empty() && ReadStringAttribute(stream, "MAXVALUE", maxValue))
            return minValue.empty() || std::atof(maxValue.c_str()) > std::atof(minValue.c_str());
        return false;
    default:
        return false;
    }
}

bool Parameter::LoadUserAttribute(ScenarioTextStream& stream) {
    if (model == nullptr)
        AssertAbort(kSource, 302);
    if (model->kind != ITEM_PARAMETER)
        AssertAbort(kSource, 303);
    if (Token::LoadUserAttribute(stream))
        return true;
    Parameter* definition = DefinitionOf(model, 302, 303);
    switch (stream.Peek()) {
    case 'K': {
        std::string word;
        if (!valueKind.empty() || !ReadStringAttribute(stream, "KIND", word))
            return false;
        SetKind(word);
        return std::find(definition->kindList.begin(), definition->kindList.end(), valueKind) !=
               definition->kindList.end();
    }
    case 'V':
        if (!value.empty() || !ReadStringAttribute(stream, "VALUE", value))
            return false;
        switch (WordOf(valueKind)) {
        case Word::Enum:
            return FindEnumEntry(definition->enumTab, value) != nullptr;
        case Word::User: {
            if (!CheckValueFormat())
                return false;
            // A default in the model must lie within its limits; a script's value
            // is checked only when validity is asked for.
            const Token* owner = dynamic_cast<const Token*>(parent);
            if (owner == nullptr || !IsCallableKind(owner->kind) || owner->model != owner)
                return true;
            const double number = std::atof(value.c_str());
            if (!definition->minValue.empty() && !(number >= std::atof(definition->minValue.c_str())))
                return false;
            if (!definition->maxValue.empty() && !(std::atof(definition->maxValue.c_str()) >= number))
                return false;
            return true;
        }
        default:
            return true;
        }
    case 'O': {
        std::string file;
        if (!ownerFile.empty() || !ReadStringAttribute(stream, "OWNER_FILE", file))
            return false;
        SetOwnerFile(file);
        return true;
    }
    default:
        return false;
    }
}

void Parameter::SaveModelAttributes(std::ostream& out) {
    Token::SaveModelAttributes(out);
    WriteAttribute(out, "UNIT", unit.c_str());
    WriteAttribute(out, "TYPE", GetType().c_str());
    WriteAttribute(out, "USAGE", usage.c_str());
    WriteAttribute(out, "ENUMTAB", enumTab.c_str());
    WriteAttribute(out, "FILEDIR", fileDir.c_str());
    WriteAttribute(out, "FILEEXT", fileExt.c_str());
    char words[1024];
    JoinWords(kindList, words, sizeof(words));
    WriteAttribute(out, "KINDLIST", words);
    WriteAttribute(out, "MINVALUE", minValue.c_str());
    WriteAttribute(out, "MAXVALUE", maxValue.c_str());
}

void Parameter::SaveUserAttributes(std::ostream& out) {
    Token::SaveUserAttributes(out);
    WriteAttribute(out, "KIND", valueKind.c_str());
    if (valueKind == "FUNCTION") {
        // The call stands among the attributes, in the place of VALUE.
        if (functionValue == nullptr)
            AssertAbort(kSource, 452);
        functionValue->Save(out);
    } else {
        WriteAttribute(out, "VALUE", value.c_str());
    }
    WriteAttribute(out, "OWNER_FILE", ownerFile.c_str());
}

void Parameter::CopyModelAttributes(Token* target) {
    if (target == nullptr)
        AssertAbort(kSource, 481);
    Parameter* copy = target->kind == ITEM_PARAMETER ? dynamic_cast<Parameter*>(target) : nullptr;
    if (copy == nullptr)
        AssertAbort(kSource, 482);
    // UNIT and FILEEXT stay behind: a copy takes what checks a value, not what
    // describes it.
    copy->type = GetType();
    copy->usage = usage;
    copy->enumTab = enumTab;
    copy->fileDir = fileDir;
    copy->minValue = minValue;
    copy->maxValue = maxValue;
    copy->kindList.insert(copy->kindList.end(), kindList.begin(), kindList.end());
}

void Parameter::CopyUserAttributes(Token* target) {
    target->SetModel(model);
    Parameter* copy = target->kind == ITEM_PARAMETER ? dynamic_cast<Parameter*>(target) : nullptr;
    if (copy == nullptr)
        AssertAbort(kSource, 516);
    copy->isReturn = isReturn;
    copy->value = value;
    copy->SetKind(valueKind);
}

void Parameter::UpdateValidity() {
    valid = ParameterFault(*this).empty();
}

namespace {

// An input or output of the vehicle that the call's VEHICLE parameter names.
std::string VehicleChannelFault(const Parameter& parameter, const ScenarioLib::Scenario* scenario) {
    const Function* call = dynamic_cast<const Function*>(parameter.parent);
    if (call == nullptr)
        return "not the parameter of a call";
    const Parameter* vehicle = VehicleParameterOf(*call);
    if (vehicle == nullptr)
        return "no vehicle parameter in the call";
    const int32_t number = std::atoi(vehicle->value.c_str());
    if (number == -1)
        return "the call names no vehicle";
    if (scenario == nullptr)
        return parameter.valueKind + " " + parameter.value + " without a scenario to know it";
    if (!scenario->HasVehicle(number))
        return "vehicle " + vehicle->value + " not in the scenario";
    const VEHICLE& found = scenario->vehicles.at(number);
    const size_t count =
        WordOf(parameter.valueKind) == Word::VhcInput ? found.inputs.size() : found.outputs.size();
    const int index = std::atoi(parameter.value.c_str());
    if (index < 0 || static_cast<size_t>(index) >= count)
        return "index " + parameter.value + " beyond the " + std::to_string(count) + " " +
               (WordOf(parameter.valueKind) == Word::VhcInput ? "inputs" : "outputs") + " of vehicle " +
               vehicle->value;
    return std::string();
}

} // namespace

std::string ParameterFault(Parameter& parameter) {
    Parameter* definition = DefinitionOf(parameter.model, 569, 570);
    const ScenarioLib::Scenario* scenario = ScenarioOf(parameter);
    const std::string& value = parameter.value;
    const std::string& ownerFile = parameter.ownerFile;
    std::string fault;
    switch (WordOf(parameter.valueKind)) {
    case Word::Enum:
        // Checked when it was read.
        break;
    case Word::File: {
        if (value.empty()) {
            fault = "no file named";
            break;
        }
        std::string folder = definition->fileDir;
        std::transform(folder.begin(), folder.end(), folder.begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        std::string directory;
        if (folder == "IMAGES")
            directory = "data/images";
        else if (folder == "SOUNDS")
            directory = "data/sound";
        else if (folder == "SCRIPT")
            directory = "data\\script\\python";
        else if (folder == "PROFILE")
            directory = "data/script/profile";
        else
            directory = "data/" + definition->fileDir;
        if (directory.empty())
            AssertAbort(kSource, 610);
        if (lmkUtils::EnvConfig::findInPath(directory, value).empty())
            fault = "file \"" + value + "\" not found under " + directory;
        break;
    }
    case Word::Function: {
        const Function* callValue = parameter.functionValue;
        if (callValue == nullptr) {
            fault = "no call";
            break;
        }
        const Token* callDefinition = callValue->model;
        if (callDefinition == nullptr)
            AssertAbort(kSource, 624);
        const Function* call =
            IsCallableKind(callDefinition->kind) ? dynamic_cast<const Function*>(callDefinition) : nullptr;
        if (call == nullptr)
            AssertAbort(kSource, 625);
        if (!TypeFits(parameter.GetType(), call->returnType))
            fault =
                "call " + callValue->name + " returns " + call->returnType + ", not " + parameter.GetType();
        break;
    }
    case Word::User: {
        if (!parameter.CheckValueFormat()) {
            fault = "VALUE \"" + value + "\" is no " + parameter.GetType();
            break;
        }
        const double number = std::atof(value.c_str());
        if (!definition->minValue.empty() && !(number >= std::atof(definition->minValue.c_str())))
            fault = "VALUE \"" + value + "\" below MINVALUE " + definition->minValue;
        else if (!definition->maxValue.empty() && !(std::atof(definition->maxValue.c_str()) >= number))
            fault = "VALUE \"" + value + "\" above MAXVALUE " + definition->maxValue;
        break;
    }
    case Word::Vehicle: {
        // Only a scenario knows its vehicles; without one any number stands. -1
        // means the environment, for the one parameter that may say so.
        const int32_t number = std::atoi(value.c_str());
        if (scenario != nullptr && !scenario->HasVehicle(number) &&
            !(number == -1 && definition->name == "VHL_NUMBER_PLUS"))
            fault = "vehicle " + value + " not in the scenario";
        break;
    }
    case Word::Variable: {
        ScenarioItem* root = GetTreeRoot(&parameter);
        if (root == nullptr)
            AssertAbort(kSource, 682);
        std::string scope = ownerFile;
        if (scope.empty()) {
            const ScenarioItem* fileScope = FindFileScope(&parameter);
            scope = fileScope != nullptr ? fileScope->fileName : std::string();
        }
        const Variable* variable = dynamic_cast<const Variable*>(root->FindItem(ITEM_VARIABLE, value, scope));
        if (variable == nullptr)
            fault = "variable " + value + " not found" + (scope.empty() ? std::string() : " in " + scope);
        else if (!TypeFits(parameter.GetType(), variable->type))
            fault = "variable " + value + " is " + variable->type + ", not " + parameter.GetType();
        break;
    }
    case Word::VhcInput:
    case Word::VhcOutput:
        fault = VehicleChannelFault(parameter, scenario);
        break;
    case Word::Trigger:
    case Word::Driver:
    case Word::Image:
    case Word::Sound:
        // These name things of the scenario, which must be there to know them.
        if (scenario == nullptr)
            fault = parameter.valueKind + " " + value + " without a scenario to know it";
        else if (!ScenarioKnows(*scenario, WordOf(parameter.valueKind), value))
            fault = parameter.valueKind + " " + value + " not in the scenario";
        break;
    default: {
        const uint32_t itemKind = KindFromKeyword(parameter.valueKind.c_str());
        if (itemKind != ITEM_NONE && itemKind != ITEM_MODIFIER) {
            ScenarioItem* root = GetTreeRoot(&parameter);
            if (root == nullptr)
                AssertAbort(kSource, 833);
            if (root->FindItem(itemKind, value, std::string()) == nullptr)
                fault = parameter.valueKind + " " + value + " not found";
        }
        break;
    }
    }
    if (!fault.empty())
        return fault;
    // In a scenario, a value owned by a file must be owned by the scenario itself
    // or by one of its includes.
    const ScenarioItem* root = GetTreeRoot(&parameter);
    if (root != nullptr && root->kind == ITEM_SCENARIO && !ownerFile.empty() && ownerFile != root->fileName &&
        !ScenarioHasInclude(root, ownerFile))
        return "OWNER_FILE " + ownerFile + " is no file of the scenario";
    return std::string();
}

void Parameter::MakeUniqueName() {}

bool Parameter::CheckValueFormat() {
    Parameter* definition = DefinitionOf(model, 89, 90);
    (void)definition;
    switch (TypeOf(GetType())) {
    case Type::Float:
        return ScansAsFloat(value);
    case Type::Integer:
        return ScansAsInteger(value);
    default:
        return true;
    }
}

const std::string& Parameter::GetType() const {
    // The common chain is one step, to a definition that stands for itself: its
    // class is known from the last time.
    if (model != nullptr && model == typeSourceModel_ && model->model == model &&
        model->kind == ITEM_PARAMETER)
        return typeSource_->type;
    const Token* definition = this;
    // A definition points at itself; an instance may point at another instance.
    for (size_t steps = 0; definition->model != nullptr && definition->model != definition; ++steps) {
        definition = definition->model;
        if (steps > 1024)
            break;
    }
    const Parameter* parameter = dynamic_cast<const Parameter*>(definition);
    if (parameter != nullptr && definition == model && model->model == model) {
        typeSourceModel_ = model;
        typeSource_ = parameter;
    }
    return parameter != nullptr ? parameter->type : type;
}

void Parameter::SetKind(const std::string& word) {
    valueKind = word;
    if (valueKind != "VARIABLE")
        ownerFile.clear();
}

void Parameter::SetOwnerFile(const std::string& file) {
    if (valueKind == "VARIABLE")
        ownerFile = file;
}

void Parameter::SetFunction(Function* function) {
    if (function == nullptr)
        DetachChildren();
    else
        AddChild(function, nullptr, false);
}

ScenarioItem* Parameter::FindEnumTab(const std::string& tabName) {
    ScenarioItem* root = GetModelRoot(this);
    if (root == nullptr)
        AssertAbort(kSource, 1153);
    ScenarioItem* tabs = ModelIndex::FindList(root, "ENUMTAB_LIST", this);
    if (tabs == nullptr)
        AssertAbort(kSource, 1157);
    return ModelIndex::Find(tabs, ITEM_ENUMTAB, tabName, this);
}

ScenarioItem* Parameter::FindEnumEntry(const std::string& tabName, const std::string& entryName) {
    ScenarioItem* tab = FindEnumTab(tabName);
    if (tab == nullptr)
        AssertAbort(kSource, 1176);
    return ModelIndex::Find(tab, ITEM_ENUM, entryName, this);
}

double Parameter::NumberOfValue() {
    if (!numberKnown_ || numberText_.size() != value.size() ||
        !SameBytes(numberText_.data(), value.data(), value.size())) {
        numberText_ = value;
        number_ = std::atof(value.c_str());
        numberKnown_ = true;
    }
    return number_;
}

void Parameter::FillValue(ParameterValue& out) {
    const Word word = WordOf(valueKind);
    switch (word) {
    case Word::Enum: {
        const Parameter* definition = dynamic_cast<const Parameter*>(model);
        ScenarioItem* tab = definition != nullptr ? FindEnumTab(definition->enumTab) : nullptr;
        if (tab == nullptr)
            AssertAbort(kSource, 1396);
        const Variable* entry = nullptr;
        if (const EnumTab* table = dynamic_cast<const EnumTab*>(tab))
            entry = dynamic_cast<const Variable*>(table->FindEntry(value));
        if (entry == nullptr)
            return;
        const Type entryType = TypeOf(entry->type);
        if (IsNumeric(entryType)) {
            out.tag = 1;
            out.number = static_cast<float>(std::atof(entry->value.c_str()));
        } else if (entryType == Type::String) {
            out.tag = 3;
            out.text = entry->value;
        }
        return;
    }
    case Word::Function: {
        const Type type = TypeOf(GetType());
        // A call that lost its function gives nothing.
        if (functionValue == nullptr)
            return;
        if (IsNumeric(type)) {
            out.tag = 1;
            out.number = functionValue->Evaluate();
        } else if (type == Type::String) {
            // The tag stays as it is: the callee is told the text only.
            std::ostringstream text;
            text.imbue(std::locale::classic());
            text.setf(std::ios::fixed);
            text.precision(6);
            text << static_cast<double>(functionValue->Evaluate());
            out.text = text.str();
        }
        return;
    }
    case Word::Variable: {
        const Type type = TypeOf(GetType());
        const int number = std::atoi(value.c_str());
        const Parameter* definition = dynamic_cast<const Parameter*>(model);
        const bool byAddress = definition != nullptr && definition->usage == "BY_ADDRESS";
        bool gather = false;
        if (IsNumeric(type)) {
            if (byAddress) {
                // The callee gets where the variable is, not its value.
                out.tag = 3;
                out.text = value + " " + ownerFile;
                return;
            }
            out.tag = 1;
            gather = true;
        } else if (type == Type::String) {
            out.tag = 3;
            if (byAddress)
                out.number = static_cast<float>(number);
            else
                gather = true;
        }
        if (!gather)
            return;
        char decimal[16];
        std::snprintf(decimal, sizeof(decimal), "%i", number);
        std::vector<ScenarioItem*> visible;
        CollectVisibleItems(ITEM_VARIABLE, visible, decimal, std::string());
        for (ScenarioItem* item : visible) {
            // A variable outside every file stands in a file without name.
            const ScenarioItem* fileScope = FindFileScope(item);
            const std::string& file = fileScope != nullptr ? fileScope->fileName : std::string();
            if (file != ownerFile)
                continue;
            if (const Variable* variable = dynamic_cast<const Variable*>(item))
                variable->FillValue(out);
        }
        return;
    }
    case Word::Pick:
    case Word::Unknown:
        return;
    default: {
        const Type type = TypeOf(GetType());
        // Numbers of every type travel as FLOAT.
        if (IsNumeric(type)) {
            out.tag = 1;
            out.number = static_cast<float>(NumberOfValue());
            out.text = value;
        } else if (type == Type::String) {
            out.tag = 3;
            out.text = value;
        }
        return;
    }
    }
}
