<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Fog in the hills" description="Dense fog on a winding road"/>
