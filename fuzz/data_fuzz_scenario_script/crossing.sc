
TYPEOF SCENARIO (CROSSING)
{
	LABEL="Crossing at the traffic light"
	FILE=""
	TASK_KIND="0"

	TYPEOF INCLUDE (WATCH)
	{
		ISA_INDEX="1"
		TASK_KIND="0"
		FILE="1.inc"
	}

	TYPEOF VARIABLE (0)
	{
		LABEL="red_light_runs"
		TYPE="FLOAT"
		VALUE="0"
		INTERACTIVE_TYPE="VOID"
		IS_INITIALIZATION_NEEDED_AT_START="0"
		INTERACTIVE_MIN_VALUE="0"
		INTERACTIVE_MAX_VALUE="9999"
		INTERACTIVE_STEP_VALUE="1"
		CATEGORY="INTERNAL"
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

				TYPEOF CONDITION (IS_VEHICLE_STOPPED)
				{
					MODIFIER="IS_FALSE"

					TYPEOF PARAMETER (VHL_NUMBER)
					{
						KIND="VEHICLE"
						VALUE="0"
						OWNER_FILE=""
					}
				}
			}

			TYPEOF ACTION (SET_VARIABLE)
			{

				TYPEOF PARAMETER (TARGET_VARIABLE)
				{
					KIND="VARIABLE"
					VALUE="0"
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
							VALUE="0"
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
		LABEL="Cross"
		TASK_KIND="0"

		TYPEOF RULE (3)
		{
			LABEL="Driving for two seconds"

			TYPEOF CONDITION (IS_VEHICLE_STOPPED)
			{
				MODIFIER="HAS_BEEN_FALSE_FOR"
				DURATION="2.000000"

				TYPEOF PARAMETER (VHL_NUMBER)
				{
					KIND="VEHICLE"
					VALUE="0"
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
						VALUE="60"
						OWNER_FILE=""
					}
				}
			}

			TYPEOF ACTION (END_TASK)
			{
			}
		}
	}

	TYPEOF EVALUATION (CROSSING_EVALUATION)
	{
		LABEL="Crossing evaluation"
		TASK_KIND="0"
		SCORE="0 0.000000"
		SCORE="1 100.000000"

		TYPEOF CRITERIA (1)
		{
			LABEL="Red light"
			TASK_KIND="0"
			CATEGORY="Traffic lights"
			CRITICITY="1"
			ATTRIBUTE_CRITERIA_TYPE="Error"
			TEXT=""
			SOUND=""

			TYPEOF RULE (20)
			{
				LABEL="Crossed against the red light"

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

					TYPEOF CONDITION (IS_VEHICLE_STOPPED)
					{
						MODIFIER="IS_FALSE"

						TYPEOF PARAMETER (VHL_NUMBER)
						{
							KIND="VEHICLE"
							VALUE="0"
							OWNER_FILE=""
						}
					}
				}

				TYPEOF ACTION (SHOW_MESSAGE)
				{

					TYPEOF PARAMETER (MESSAGE)
					{
						KIND="USER"
						VALUE="Red light crossed"
						OWNER_FILE=""
					}
				}
			}
		}
	}

	TYPEOF GENERAL_PARAMETERS (0)
	{
	}
}
%%

TYPEOF INCLUDE (WATCH)
{
	LABEL="Watch the vehicle"
	TASK_KIND="0"
	FILE="1.inc"

	TYPEOF RULE (10)
	{
		LABEL="The vehicle stops"

		TYPEOF CONDITION (IS_VEHICLE_STOPPED)
		{
			MODIFIER="BECOMES_TRUE"

			TYPEOF PARAMETER (VHL_NUMBER)
			{
				KIND="VEHICLE"
				VALUE="0"
				OWNER_FILE=""
			}
		}

		TYPEOF ACTION (SHOW_MESSAGE)
		{

			TYPEOF PARAMETER (MESSAGE)
			{
				KIND="USER"
				VALUE="Vehicle stopped"
				OWNER_FILE=""
			}
		}
	}
}
