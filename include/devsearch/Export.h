#pragma once

// Marks the classes that libdevsearch.so exports; everything else stays hidden.
#if defined(DEVSEARCH_BUILDING_LIBRARY)
#define DEVSEARCH_EXPORT __attribute__((visibility("default")))
#else
#define DEVSEARCH_EXPORT
#endif
