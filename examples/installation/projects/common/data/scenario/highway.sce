<?xml version="1.0" encoding="UTF-8"?>
<Scenario name="Highway" description="Merging onto a three-lane highway"/>
