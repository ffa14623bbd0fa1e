<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Tunnel" description="Entering a lit tunnel at night"/>
