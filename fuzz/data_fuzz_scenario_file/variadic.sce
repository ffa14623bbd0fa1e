<Scenario>
  <VariadicParameter name="p" parameterId="/sce/Scenario/x" parameterUnit="km/h">
    <LiteralParameter default="a"><LiteralRange value="b"/></LiteralParameter>
  </VariadicParameter>
  <Parameter name="c" type="choice" options="a|b">a</Parameter>
</Scenario>
