#pragma once

/// Called by AssertAbort before the process ends. A test may install a handler
/// that throws or longjmps to observe the assertion; if it returns, the process
/// still ends.
using AssertAbortHandler = void (*)(const char* source, int line);

/// Installs a handler (null restores the default) and returns the former one.
AssertAbortHandler SetAssertAbortHandler(AssertAbortHandler handler);

/// Reports a failed internal expectation: prints "source:line: internal assertion
/// failed" to stderr and ends the process with std::abort().
[[noreturn]] void AssertAbort(const char* source, int line);
