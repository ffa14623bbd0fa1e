<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Crossing" description="A signalled crossing in town"/>
