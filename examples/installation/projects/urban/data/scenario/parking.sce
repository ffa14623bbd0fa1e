<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Parking" description="Parallel parking between two cars"/>
