<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Roundabout" description="Two-lane roundabout with heavy traffic"/>
