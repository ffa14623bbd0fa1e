
TYPEOF SCENARIO (MAIN)
{
	LABEL="Includes that include themselves"
	TYPEOF INCLUDE (FIRST)
	{
		ISA_INDEX="1"
		FILE="1.inc"
	}
}
%%

TYPEOF INCLUDE (FIRST)
{
	LABEL="First"
	FILE="1.inc"
	TYPEOF SCENARIO (INNER)
	{
		TYPEOF INCLUDE (AGAIN)
		{
			ISA_INDEX="1"
			FILE="1.inc"
		}
		TYPEOF INCLUDE (TWICE)
		{
			ISA_INDEX="1"
			FILE="1.inc"
		}
		TYPEOF INCLUDE (SECOND)
		{
			ISA_INDEX="1"
			FILE="2.inc"
		}
	}
}
%%

TYPEOF INCLUDE (SECOND)
{
	LABEL="Second"
	FILE="2.inc"
	TYPEOF SCENARIO (BACK)
	{
		TYPEOF INCLUDE (FIRST)
		{
			ISA_INDEX="1"
			FILE="1.inc"
		}
	}
}
