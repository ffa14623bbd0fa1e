<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Pedestrians" description="Pedestrians crossing without looking"/>
