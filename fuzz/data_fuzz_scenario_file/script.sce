<Scenario>
  <ScenarioScript name="s" scriptType="nuro"><![CDATA[
TYPEOF SCENARIO (s)
{
	LABEL="x"
}
]]></ScenarioScript>
</Scenario>
