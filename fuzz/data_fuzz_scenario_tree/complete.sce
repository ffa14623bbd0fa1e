<?xml version="1.0"?>
<Scenario name="Motorway merge" description="Two cars merge &amp; one brakes">
  <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">25</Parameter>
  <Parameter name="heading" type="real" unit="deg">0.5</Parameter>
  <Parameter name="lanes" type="int">3</Parameter>
  <Parameter name="night" type="bool">false</Parameter>
  <Parameter name="friction" type="float">0.75</Parameter>
  <Parameter name="start" type="vector" unit="m">10 -2.5 0</Parameter>
  <Parameter name="weather" type="choice" options="dry|wet|snow">wet</Parameter>
  <Parameter name="road" type="string">A7 north</Parameter>
  <Vehicle id="1" driverId="7" name="ego">
    <Parameter name="mass" type="real" unit="kg">1450</Parameter>
  </Vehicle>
  <Vehicle id="2" driverId="7" name="follower" />
  <Driver id="7" name="Average" label="normal driver" />
  <ScenarioTemplate>
    <Parameter name="category" type="string">merge</Parameter>
  </ScenarioTemplate>
  <ScenarioScript name="main" scriptType="nuro"><![CDATA[SCENARIO
	NAME="main"
]]></ScenarioScript>
  <ScenarioScript name="empty" scriptType="" />
  <VariadicParameter name="speed" description="start speed" parameterId="/sce/Scenario/initialSpeed" parameterUnit="km/h">
    <RealParameter default="90">
      <RealRange minimum="50" maximum="130" />
    </RealParameter>
  </VariadicParameter>
</Scenario>
