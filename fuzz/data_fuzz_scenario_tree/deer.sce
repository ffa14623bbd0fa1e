<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Deer" description="A deer jumps out of the fog">
  <Parameter name="duration" type="real" unit="min" verbose="Planned duration">600</Parameter>
  <Environment>
    <Parameter name="speedLimit" type="real" unit="km/h" verbose="Speed limit">22.22222222222222</Parameter>
    <Parameter name="sunAzimuth" type="real" unit="deg" verbose="Sun azimuth">0.5235987755982988</Parameter>
    <Parameter name="laneCount" type="int" verbose="Number of lanes">1</Parameter>
    <Parameter name="rain" type="bool" verbose="Rain">false</Parameter>
    <Parameter name="roadLabel" type="string" verbose="Road label">Forest road</Parameter>
    <Parameter name="friction" type="float" verbose="Road friction">0.8</Parameter>
    <Parameter name="windVelocity" type="vector" unit="m/s" verbose="Wind">2.5 -1 0</Parameter>
    <Parameter name="surface" type="choice" options="asphalt|concrete|gravel" verbose="Surface">asphalt</Parameter>
  </Environment>
  <Vehicle id="1" driverId="7" name="ego">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">22.22222222222222</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">1</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">0.5235987755982988</Parameter>
  </Vehicle>
  <Vehicle id="2" driverId="7" name="lead">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">20.0</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">1</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">0.5235987755982988</Parameter>
  </Vehicle>
  <Vehicle id="3" driverId="8" name="truck">
    <Parameter name="initialSpeed" type="real" unit="km/h" verbose="Initial speed">17.77777777777778</Parameter>
    <Parameter name="lane" type="int" verbose="Start lane">1</Parameter>
    <Parameter name="heading" type="real" unit="deg" verbose="Heading">0.5235987755982988</Parameter>
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
  <VariadicParameter name="Speed limit" description="Speed limit of the road" parameterId="/sce/Scenario/Environment/speedLimit" parameterUnit="km/h">
    <RealParameter default="80">
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
    <LiteralParameter default="Forest road">
      <LiteralRange value="Forest road" />
      <LiteralRange value="B12" />
    </LiteralParameter>
  </VariadicParameter>
</Scenario>
