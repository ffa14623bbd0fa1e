<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Highway" description="Merging onto a three-lane highway">
  <Parameter name="duration" type="real" unit="min" verbose="Planned duration">600</Parameter>
  <Environment>
    <Parameter name="speedLimit" type="real" unit="km/h" verbose="Speed limit">36.111111111111114</Parameter>
    <Parameter name="sunAzimuth" type="real" unit="deg" verbose="Sun azimuth">0.2617993877991494</Parameter>
    <Parameter name="laneCount" type="int" verbose="Number of lanes">3</Parameter>
    <Parameter name="rain" type="bool" verbose="Rain">false</Parameter>
    <Parameter name="roadLabel" type="string" verbose="Road label">A7</Parameter>
    <Parameter name="friction" type="float" verbose="Road friction">0.8</Parameter>
    <Parameter name="windVelocity" type="vector" unit="m/s" verbose="Wind">2.5 -1 0</Parameter>
    <Parameter name="surface" type="choice" options="asphalt|concrete|gravel" verbose="Surface">asphalt</Parameter>
  </Environment>
  <Vehicle id="1" driverId="7" name="ego">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">36.111111111111114</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">1</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">0.2617993877991494</Parameter>
  </Vehicle>
  <Vehicle id="2" driverId="7" name="lead">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">32.5</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">1</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">0.2617993877991494</Parameter>
  </Vehicle>
  <Vehicle id="3" driverId="8" name="truck">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">28.88888888888889</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">2</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">0.2617993877991494</Parameter>
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
  <ScenarioScript name="events" scriptType=""><![CDATA[
TYPEOF SCENARIO (events)
{

	TYPEOF VARIABLE (10)
	{
		LABEL="Brake delay"
		TYPE="FLOAT"
		VALUE="1.5"
	}
}
]]></ScenarioScript>
  <ScenarioScript name="logger" scriptType="python"><![CDATA[import log
	log.start()
]]></ScenarioScript>
  <ScenarioScript name="unused" scriptType="nuro" />
  <ScenarioScript name="telemetry" scriptType="python"><![CDATA[print("speed", vehicle.speed)
]]></ScenarioScript>
  <VariadicParameter name="Speed limit" description="Speed limit of the road" parameterId="/sce/Scenario/Environment/speedLimit" parameterUnit="km/h">
    <RealParameter default="130">
      <RealRange minimum="30" maximum="70" />
      <RealRange minimum="90" maximum="130" />
    </RealParameter>
  </VariadicParameter>
  <VariadicParameter name="Rain" description="Whether it rains" parameterId="/sce/Scenario/Environment/rain" parameterUnit="">
    <BooleanParameter default="false" />
  </VariadicParameter>
  <VariadicParameter name="Start lane" description="Lane of the first vehicle" parameterId="/sce/Scenario/Vehicle[id/@ScenarioTreeValue=1]/lane" parameterUnit="">
    <IntegerParameter default="1">
      <IntegerRange minimum="1" maximum="3" />
    </IntegerParameter>
  </VariadicParameter>
  <VariadicParameter name="Road label" description="Sign text" parameterId="/sce/Scenario/Environment/roadLabel" parameterUnit="">
    <LiteralParameter default="A7">
      <LiteralRange value="A7" />
      <LiteralRange value="B12" />
    </LiteralParameter>
  </VariadicParameter>
</Scenario>
