<Scenario name="Overflow">
  <ScenarioScript name="s"><![CDATA[
TYPEOF SCENARIO (s)
{
	TYPEOF VARIABLE (99999999999999999999)
	{
		LABEL="Too large a number"
	}
}
]]></ScenarioScript>
</Scenario>
