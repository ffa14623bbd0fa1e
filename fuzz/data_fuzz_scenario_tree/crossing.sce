<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Crossing" description="A signalled crossing in town">
  <Parameter name="duration" type="real" unit="min" verbose="Planned duration">600</Parameter>
  <Environment>
    <Parameter name="speedLimit" type="real" unit="km/h" verbose="Speed limit">13.88888888888889</Parameter>
    <Parameter name="sunAzimuth" type="real" unit="deg" verbose="Sun azimuth">1.5707963267948966</Parameter>
    <Parameter name="laneCount" type="int" verbose="Number of lanes">2</Parameter>
    <Parameter name="rain" type="bool" verbose="Rain">false</Parameter>
    <Parameter name="roadLabel" type="string" verbose="Road label">Main street</Parameter>
  </Environment>
  <Vehicle id="1" driverId="7" name="ego">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">13.88888888888889</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">1</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">1.5707963267948966</Parameter>
  </Vehicle>
  <Vehicle id="2" driverId="7" name="lead">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">12.5</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">1</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">1.5707963267948966</Parameter>
  </Vehicle>
  <Vehicle id="3" driverId="8" name="truck">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">11.11111111111111</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">2</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">1.5707963267948966</Parameter>
  </Vehicle>
  <Driver id="7" name="Average" label="normal driver">
    <Parameter name="reactionTime" type="real" unit="ms" verbose="Reaction time">0.9</Parameter>
  </Driver>
  <Driver id="8" name="Cautious" label="keeps distance">
    <Parameter name="reactionTime" type="real" unit="ms" verbose="Reaction time">0.9</Parameter>
  </Driver>
  <ScenarioTemplate>
    <Parameter name="author" type="string">Driving lab</Parameter>
    <Parameter name="revision" type="int">3</Parameter>
  </ScenarioTemplate>
  <ScenarioScript name="main" scriptType="nuro"><![CDATA[
TYPEOF SCENARIO (main)
{

	TYPEOF VARIABLE (1)
	{
		LABEL="Target speed"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="FLOAT"
		VALUE="90"
	}

	TYPEOF VARIABLE (2)
	{
		LABEL="Overtaking allowed"
		TYPE="BOOL"
		INTERACTIVE_TYPE="BOOL"
		VALUE="1"
	}

	TYPEOF VARIABLE (3)
	{
		LABEL="Gap"
		TYPE="INTEGER"
		INTERACTIVE_TYPE="INTEGER"
		VALUE="25"
	}

	TYPEOF VARIABLE (4)
	{
		LABEL="Message"
		TYPE="STRING"
		INTERACTIVE_TYPE="STRING"
		VALUE="Keep right"
	}
}
]]></ScenarioScript>
  <VariadicParameter name="Speed limit" description="Speed limit of the road" parameterId="/sce/Scenario/Environment/speedLimit" parameterUnit="km/h">
    <RealParameter default="50">
      <RealRange minimum="30" maximum="70" />
      <RealRange minimum="90" maximum="130" />
    </RealParameter>
  </VariadicParameter>
  <VariadicParameter name="Rain" description="Whether it rains" parameterId="/sce/Scenario/Environment/rain" parameterUnit="">
    <BooleanParameter default="false" />
  </VariadicParameter>
</Scenario>
