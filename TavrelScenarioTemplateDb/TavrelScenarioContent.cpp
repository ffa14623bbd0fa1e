// What a template shows of its file: the node tree, parameter ids and the
// variadic parameters. (Filled in with the node tree.)
#include <TavrelScenarioTemplateDb/TavrelScenario.h>

#include <ScenarioTemplateDb/Exception.h>

namespace TavrelScenarioTemplateDb {

ScenarioTemplateDb::ScenarioNode* TavrelScenario::getRootScenarioNode() const { return nullptr; }
ScenarioTemplateDb::ScenarioParameter* TavrelScenario::getParameterFromId(std::string) const { return nullptr; }
size_t TavrelScenario::getVariadicParameterNumber() const { return 0; }
ScenarioTemplateDb::VariadicParameter* TavrelScenario::getVariadicParameter(size_t) const {
    throw ScenarioTemplateDb::Exception("Invalid variadic parameter index", ScenarioTemplateDb::ExceptionCodeInvalidIndex);
}
void TavrelScenario::getVariadicParameters(std::vector<ScenarioTemplateDb::VariadicParameter*>& parameters) const {
    parameters.clear();
}
void TavrelScenario::getTavrelVariadicParameters(std::vector<TavrelVariadicParameter*>& parameters) const {
    parameters.clear();
}
TavrelVariadicParameter* TavrelScenario::addNewVariadicParameter() { return nullptr; }
void TavrelScenario::removeVariadicParameter(size_t) {}
void TavrelScenario::clear() {}
void TavrelScenario::splitId(const std::string&, std::queue<std::string>&) {}
void TavrelScenario::readVariadicSections() const {}

} // namespace TavrelScenarioTemplateDb
