<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Left turn" description="Unprotected left turn"/>
