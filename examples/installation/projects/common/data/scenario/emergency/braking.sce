<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Emergency braking" description="A car stops hard ahead"/>
