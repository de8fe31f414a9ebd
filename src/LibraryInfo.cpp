#include "devsearch/Export.h"

// The library's version, readable with dlsym by an application that loads it.
extern "C" DEVSEARCH_EXPORT const char* devsearch_version() { return "0.1.0"; }
