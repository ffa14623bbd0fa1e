<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Downtown" description="Rush hour downtown"/>
