
TYPEOF SCENARIO (EXERCISE)
{
	LABEL="Traffic light exercise"
	TASK_KIND="0"

	TYPEOF INCLUDE (WATCH)
	{
		ISA_INDEX="1"
		TASK_KIND="0"
		FILE="1.inc"
	}

	TYPEOF INCLUDE (LIGHTS)
	{
		ISA_INDEX="1"
		TASK_KIND="0"
		FILE="2.inc"
	}

	TYPEOF VARIABLE (0)
	{
		LABEL="speed"
		TYPE="FLOAT"
		VALUE="0"
		INTERACTIVE_TYPE="FLOAT"
		IS_INITIALIZATION_NEEDED_AT_START="1"
		INTERACTIVE_MIN_VALUE="0"
		INTERACTIVE_MAX_VALUE="60"
		INTERACTIVE_STEP_VALUE="0.5"
		CATEGORY="Vehicle"
	}

	TYPEOF VARIABLE (1)
	{
		LABEL="speed_limit"
		TYPE="FLOAT"
		VALUE="8.5"
		INTERACTIVE_TYPE="FLOAT"
		IS_INITIALIZATION_NEEDED_AT_START="1"
		INTERACTIVE_MIN_VALUE="0"
		INTERACTIVE_MAX_VALUE="60"
		INTERACTIVE_STEP_VALUE="0.5"
		CATEGORY="Exercise"
	}

	TYPEOF VARIABLE (2)
	{
		LABEL="red_light_errors"
		TYPE="INTEGER"
		VALUE="0"
		INTERACTIVE_TYPE="INTEGER"
		IS_INITIALIZATION_NEEDED_AT_START="1"
		INTERACTIVE_MIN_VALUE="0"
		INTERACTIVE_MAX_VALUE="100"
		INTERACTIVE_STEP_VALUE="1"
		CATEGORY="Exercise"
	}

	TYPEOF TASK (0)
	{
		LABEL="Wait for green"
		TASK_KIND="0"

		TYPEOF RULE (1)
		{
			LABEL="The light turns green"

			TYPEOF CONDITION (IS_LIGHT_GREEN)
			{
				MODIFIER="BECOMES_TRUE"

				TYPEOF PARAMETER (TRAFFIC_LIGHT)
				{
					KIND="TRAFFIC_LIGHT"
					VALUE="3"
					OWNER_FILE=""
				}
			}

			TYPEOF ACTION (GOTO_STATE)
			{

				TYPEOF PARAMETER (STATE_NUMBER)
				{
					KIND="USER"
					VALUE="1"
					OWNER_FILE=""
				}
			}
		}

		TYPEOF RULE (2)
		{
			LABEL="Moving off against the red light"
			EVALUATION="WARNING"

			TYPEOF CONDITION (AND)
			{
				MODIFIER="BECOMES_TRUE"

				TYPEOF CONDITION (IS_LIGHT_GREEN)
				{
					MODIFIER="IS_FALSE"

					TYPEOF PARAMETER (TRAFFIC_LIGHT)
					{
						KIND="TRAFFIC_LIGHT"
						VALUE="3"
						OWNER_FILE=""
					}
				}

				TYPEOF CONDITION (SUPERIOR)
				{

					TYPEOF PARAMETER (FIRST_OPERAND)
					{
						KIND="VARIABLE"
						VALUE="0"
						OWNER_FILE=""
					}

					TYPEOF PARAMETER (SECOND_OPERAND)
					{
						KIND="USER"
						VALUE="0.5"
						OWNER_FILE=""
					}
				}
			}

			TYPEOF ACTION (SET_VARIABLE)
			{

				TYPEOF PARAMETER (TARGET_VARIABLE)
				{
					KIND="VARIABLE"
					VALUE="2"
					OWNER_FILE=""
				}

				TYPEOF PARAMETER (NEW_VALUE)
				{
					KIND="FUNCTION"

					TYPEOF FUNCTION (PLUS)
					{

						TYPEOF PARAMETER (FIRST_OPERAND)
						{
							KIND="VARIABLE"
							VALUE="2"
							OWNER_FILE=""
						}

						TYPEOF PARAMETER (SECOND_OPERAND)
						{
							KIND="USER"
							VALUE="1"
							OWNER_FILE=""
						}
					}
					OWNER_FILE=""
				}
			}

			TYPEOF ACTION (SHOW_MESSAGE)
			{

				TYPEOF PARAMETER (MESSAGE)
				{
					KIND="USER"
					VALUE="Wait for the green light"
					OWNER_FILE=""
				}
			}
		}
	}

	TYPEOF TASK (1)
	{
		LABEL="Drive off"
		TASK_KIND="0"

		TYPEOF RULE (3)
		{
			LABEL="Above the speed limit for two seconds"

			TYPEOF CONDITION (SUPERIOR)
			{
				MODIFIER="HAS_BEEN_TRUE_FOR"
				DURATION="2.000000"

				TYPEOF PARAMETER (FIRST_OPERAND)
				{
					KIND="VARIABLE"
					VALUE="0"
					OWNER_FILE=""
				}

				TYPEOF PARAMETER (SECOND_OPERAND)
				{
					KIND="VARIABLE"
					VALUE="1"
					OWNER_FILE=""
				}
			}

			TYPEOF ACTION (GOTO_STATE)
			{

				TYPEOF PARAMETER (STATE_NUMBER)
				{
					KIND="USER"
					VALUE="2"
					OWNER_FILE=""
				}
			}

			TYPEOF ELSE_ACTION (SHOW_MESSAGE)
			{

				TYPEOF PARAMETER (MESSAGE)
				{
					KIND="USER"
					VALUE="Drive off up to the speed limit"
					OWNER_FILE=""
				}
			}
		}
	}

	TYPEOF TASK (2)
	{
		LABEL="Stop"
		TASK_KIND="0"

		TYPEOF RULE (4)
		{
			LABEL="Stopped, or out of time"

			TYPEOF CONDITION (OR)
			{

				TYPEOF CONDITION (IS_VEHICLE_STOPPED)
				{

					TYPEOF PARAMETER (VHL_NUMBER)
					{
						KIND="VEHICLE"
						VALUE="0"
						OWNER_FILE=""
					}
				}

				TYPEOF CONDITION (SUPEQUAL)
				{

					TYPEOF PARAMETER (FIRST_OPERAND)
					{
						KIND="FUNCTION"

						TYPEOF FUNCTION (GET_TIME)
						{
						}
						OWNER_FILE=""
					}

					TYPEOF PARAMETER (SECOND_OPERAND)
					{
						KIND="USER"
						VALUE="300"
						OWNER_FILE=""
					}
				}
			}

			TYPEOF ACTION (END_TASK)
			{
			}
		}
	}
}
%%

TYPEOF INCLUDE (WATCH)
{
	LABEL="Watch the time"
	TASK_KIND="0"
	FILE="1.inc"

	TYPEOF RULE (30)
	{
		LABEL="Late"

		TYPEOF CONDITION (SUPEQUAL)
		{
			MODIFIER="HAS_BEEN_TRUE_FOR"
			DURATION="1.000000"

			TYPEOF PARAMETER (FIRST_OPERAND)
			{
				KIND="FUNCTION"

				TYPEOF FUNCTION (GET_TIME)
				{
				}
				OWNER_FILE=""
			}

			TYPEOF PARAMETER (SECOND_OPERAND)
			{
				KIND="USER"
				VALUE="2"
				OWNER_FILE=""
			}
		}

		TYPEOF ACTION (SHOW_MESSAGE)
		{

			TYPEOF PARAMETER (MESSAGE)
			{
				KIND="USER"
				VALUE="Late"
				OWNER_FILE=""
			}
		}
	}
}
%%

TYPEOF INCLUDE (LIGHTS)
{
	LABEL="Roundabout lights"
	TASK_KIND="0"
	FILE="2.inc"

	TYPEOF VARIABLE (1)
	{
		LABEL="Green phase"
		TYPE="FLOAT"
		INTERACTIVE_TYPE="FLOAT"
		VALUE="12"
	}
}
