<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Nested" description="scripts under a vehicle, an overflowing variable, a driver of two vehicles">
  <Vehicle id="1" driverId="5" name="first"/>
  <Vehicle id="2" driverId="5" name="second">
    <Lights><Parameter name="on" type="bool">true</Parameter></Lights>
    <ScenarioScript name="own"><![CDATA[
TYPEOF TASK (own)
{
	TYPEOF VARIABLE (7)
	{
		LABEL="Too large"
		INTERACTIVE_TYPE="INTEGER"
		VALUE="99999999999999999999"
	}
}
]]></ScenarioScript>
  </Vehicle>
  <Driver id="5" name="Shared" label="both"/>
  <ScenarioScript name="main" scriptType="nuro"><![CDATA[
TYPEOF SCENARIO (main)
{
	TYPEOF VARIABLE (-3)
	{
		LABEL="Negative"
		INTERACTIVE_TYPE="FLOAT"
		VALUE="1e400"
	}
	TYPEOF INCLUDE (absent)
	{
		ISA_INDEX="1"
		FILE="absent.inc"
	}
}
]]></ScenarioScript>
  <VariadicParameter name="on" parameterId="/sce/Scenario/Vehicle[id/@ScenarioTreeValue=2]/Lights/on">
    <BooleanParameter default="true"/>
  </VariadicParameter>
  <VariadicParameter name="words" parameterId="/elsewhere/x">
    <LiteralParameter default="a"><LiteralRange value="b"/></LiteralParameter>
  </VariadicParameter>
</Scenario>
