<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Broken script" description="Its script is cut short: the template fails to open">
  <Environment>
    <Parameter name="speedLimit" type="real" unit="km/h" verbose="Speed limit">22.22222222222222</Parameter>
  </Environment>
  <ScenarioScript name="cut" scriptType="nuro"><![CDATA[
TYPEOF SCENARIO (cut)
{
	TYPEOF VARIABLE (1)
	{
		LABEL="Never closed"
]]></ScenarioScript>
</Scenario>
