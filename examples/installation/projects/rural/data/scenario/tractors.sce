<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Tractors" description="Overtaking slow farm traffic"/>
