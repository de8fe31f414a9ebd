#include "devsearch/LibraryVersion.h"

// The library's version, readable with dlsym by an application that loads it.
extern "C" DEVSEARCH_EXPORT const char* devsearch_version() {
    return DEVSEARCH_VERSION_STRING;
}
