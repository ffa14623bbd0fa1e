<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Tractors" description="Overtaking slow farm traffic">
  <Vehicle id="1" driverId="7" name="tractor">
    <Parameter name="initialSpeed" type="real" unit="km/h">6.94</Parameter>
  </Vehicel>
</Scenario>
