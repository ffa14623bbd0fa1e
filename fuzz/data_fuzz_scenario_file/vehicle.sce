<Scenario name="a" description="b">
  <Vehicle id="1" driverId="2" name="car"/>
  <Parameter name="v" type="vector" unit="m">1 2 3</Parameter>
</Scenario>
