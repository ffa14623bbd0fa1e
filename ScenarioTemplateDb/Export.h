#pragma once

// The interface classes and the exception cross the boundary of every driver
// library. Their type information must be visible to the host even when a
// driver hides its own symbols, otherwise a host could not catch an Exception
// thrown inside the driver nor dynamic_cast an interface pointer.
#if defined(_WIN32)
#define SCENARIOTEMPLATEDB_INTERFACE
#else
#define SCENARIOTEMPLATEDB_INTERFACE __attribute__((visibility("default")))
#endif
