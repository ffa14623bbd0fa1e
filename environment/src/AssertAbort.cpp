#include <environment/lmkUtils/AssertAbort.h>

#include <cstdio>
#include <cstdlib>

namespace {
AssertAbortHandler currentHandler = nullptr;
} // namespace

AssertAbortHandler SetAssertAbortHandler(AssertAbortHandler handler) {
    AssertAbortHandler former = currentHandler;
    currentHandler = handler;
    return former;
}

void AssertAbort(const char* source, int line) {
    // The message goes out before the handler runs, so that it is seen even when
    // a handler leaves by an exception.
    std::fprintf(stderr, "%s:%d: internal assertion failed\n", source ? source : "?", line);
    std::fflush(stderr);
    if (currentHandler)
        currentHandler(source, line);
    std::abort();
}
