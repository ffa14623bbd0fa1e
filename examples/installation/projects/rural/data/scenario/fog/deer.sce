<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Deer" description="A deer jumps out of the fog"/>
