#pragma once

#include <ScenarioTemplateDb/ScenarioNode.h>
#include <ScenarioTemplateDb/ScenarioParameter.h>
#include <environment/SheetCfg/Sections.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class ScenarioItem;

namespace TavrelScenarioTemplateDb {

/// The node of a script of a scenario. The script is parsed once, here, against
/// the root model in force; its variables are copied out as text and the parsed
/// items dropped, so the node is a read-only view of the text as it was when
/// the tree was built. It has no children: every child operation but the count
/// fails. Failures are Exception by value in the constructor, Exception*
/// elsewhere (code -1).
class ScriptNode : public ScenarioTemplateDb::ScenarioNode {
public:
    /// Parses the script's text. Fails (by value, code -1) when the text doesn't
    /// read or a variable's name holds no number; an overflowing number leaves
    /// as the std::out_of_range of the conversion.
    ScriptNode(cfg::ScenarioScript* script, ScenarioTemplateDb::ScenarioNode* parent);
    ~ScriptNode() override;

    /// Reads a script's text against the root model in force, as the node does,
    /// and appends the script's own variables to `variables` (not those an
    /// include brought along). Fails as the constructor does.
    static std::unique_ptr<ScenarioItem> Parse(const cfg::ScenarioScript& script,
                                               std::vector<ScenarioItem*>& variables);

    /// Whether a script gets a node: it has text, and its language is the
    /// model's ("nuro", which an empty scriptType means too).
    static bool IsShown(const cfg::ScenarioScript& script) {
        return !script.text.empty() && (script.scriptType.empty() || script.scriptType == "nuro");
    }

    /// "ScenarioScript[scriptName=\"NAME\"]".
    std::string getId() const override;
    /// "ScenarioScript - NAME".
    std::string getName() const override;
    /// Empty.
    std::string getDescription() const override;
    ScenarioTemplateDb::ScenarioNode* getParent() const override;
    size_t getIndex() const override;
    /// 0.
    size_t getChildNumber() const override;
    /// These three fail although the count is 0: test getChildNumber first.
    ScenarioTemplateDb::ScenarioNode* getChild(const std::string& id) const override;
    ScenarioTemplateDb::ScenarioNode* getChild(size_t index) const override;
    void getChildren(std::vector<ScenarioTemplateDb::ScenarioNode*>& children) const override;
    /// Always fails.
    size_t getChildIndex(const ScenarioTemplateDb::ScenarioNode* child) const override;
    /// The number of variables.
    size_t getParameterNumber() const override;
    ScenarioTemplateDb::ScenarioParameter* getParameter(const std::string& id) const override;
    ScenarioTemplateDb::ScenarioParameter* getParameter(size_t index) const override;
    void getParameters(std::vector<ScenarioTemplateDb::ScenarioParameter*>& parameters) const override;
    size_t getParameterIndex(const ScenarioTemplateDb::ScenarioParameter* parameter) const override;
    /// The parent's node id + "/" + getId(); getId() alone without a parent.
    std::string getNodeId() const override;
    /// The script section the node shows.
    cfg::ScenarioScript* getScript() const { return script; }

private:
    ScenarioTemplateDb::ScenarioNode* parent;
    std::vector<std::unique_ptr<ScenarioTemplateDb::ScenarioParameter>> parameters;
    cfg::ScenarioScript* script;
};

/// One variable of a script, as text: its number, label, value and interactive
/// type. The predicates compare the type exactly ("INTEGER", "FLOAT" or
/// "VOID", "STRING", "BOOL"); the value is the script's own text.
class ScriptVariableParameter : public ScenarioTemplateDb::ScenarioParameter {
public:
    ScriptVariableParameter(int64_t id, const std::string& name, const std::string& value,
                            const std::string& type, ScenarioTemplateDb::ScenarioNode* parent);
    ~ScriptVariableParameter() override;

    size_t getIndex() const override;
    ScenarioTemplateDb::ScenarioNode* getParentNode() const override;
    /// "Variable[name=ID]/value", the id printed unsigned.
    std::string getId() const override;
    /// The variable's label.
    std::string getName() const override;
    /// Empty.
    std::string getDescription() const override;
    std::string getParameterId() const override;
    /// The text of "no unit".
    std::string getParameterUnit() const override;
    /// false.
    bool hasParameterUnit() const override;
    /// The value as the script wrote it.
    std::string getValueAsString() const override;
    bool isInteger() const override;
    bool isReal() const override;
    bool isLiteral() const override;
    bool isBoolean() const override;
    /// Each fails with Exception* (code 32) when the value isn't of its kind:
    /// the literal and boolean readers by the type, the integer and real readers
    /// when no number starts the value (whatever the type).
    std::string getLiteralValue() const override;
    int64_t getIntegerValue() const override;
    double getRealValue() const override;
    bool getBooleanValue() const override;
    /// The variable's number (its item name).
    int64_t getNumber() const { return id; }

private:
    int64_t id;
    std::string name;
    std::string value;
    std::string type;
    ScenarioTemplateDb::ScenarioNode* parent;
};

} // namespace TavrelScenarioTemplateDb
