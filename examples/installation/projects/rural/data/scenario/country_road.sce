<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Country road" description="A narrow road between fields"/>
