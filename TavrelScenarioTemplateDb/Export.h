#pragma once

// The driver is built with hidden symbols by default; only its public classes
// carry this mark.
#if defined(_WIN32)
#define TAVREL_DRIVER_API
#else
#define TAVREL_DRIVER_API __attribute__((visibility("default")))
#endif
