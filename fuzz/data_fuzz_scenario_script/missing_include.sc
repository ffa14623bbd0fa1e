
TYPEOF SCENARIO (S)
{
	LABEL="s"

	TYPEOF INCLUDE (I)
	{
		ISA_INDEX="1"
		FILE="7.inc"
	}
}
